// SPDX-License-Identifier: MIT
// "Beenden" while the real program is inside a dialog: the tray's menu offers it at any time.
#include "support/monitorprocess.h"
#include "support/literals.h"

#include <QSettings>
#include <QtTest>

namespace {
// Nobody has to listen there.
constexpr int unitPort = 1;
} // namespace

class TestQuit : public QObject {
    Q_OBJECT

private slots:
    void dialogDoesNotHoldTheProgram_data()
    {
        QTest::addColumn<QList<QByteArray>>("orders");
        QTest::addColumn<QByteArray>("modal");
        QTest::newRow("about box") << QList<QByteArray> { "trigger actionAbout" } << QByteArray("DlgAbout");
        QTest::newRow("update dialog")
            << QList<QByteArray> { "trigger actionUpdates" } << QByteArray("DlgCheckForUpdates");
        const QList<QByteArray> addTwice { "trigger actionDeviceManager", "enter lineEditNewHost 127.0.0.1",
                                           "enter lineEditPort " + QByteArray::number(unitPort),
                                           "click pushButtonAddHost" };
        QTest::newRow("warning of the device manager") << addTwice << QByteArray("QMessageBox");
        QTest::newRow("about box over the update dialog")
            << QList<QByteArray> { "trigger actionUpdates", "trigger actionAbout" } << QByteArray("DlgAbout");
    }

    void dialogDoesNotHoldTheProgram()
    {
        QFETCH(const QList<QByteArray>, orders);
        QFETCH(const QByteArray, modal);
        const MonitorHome home;
        home.writeUnit(0, unitPort);
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        for (const QByteArray& order : orders)
            QCOMPARE(monitor.order(order), QByteArray("done"));
        QTRY_COMPARE(monitor.order("modal"), modal);
        QVERIFY(!QSettings(home.storePath(), QSettings::IniFormat).contains("geometry"_s));

        QCOMPARE(monitor.order("exit"), QByteArray("done"));
        QCOMPARE(monitor.waitForExitCode(), 0);
        QVERIFY(QSettings(home.storePath(), QSettings::IniFormat).contains("geometry"_s));
        const QString log = monitor.log();
        QVERIFY2(log.endsWith(QLatin1String("\nmain: exit 0\n")), qPrintable(log));
    }
};

QTEST_GUILESS_MAIN(TestQuit)
#include "tst_quit.moc"
