// SPDX-License-Identifier: MIT
// What ties the rows of the message list to their units, for as long as both live.
#include "support/browser.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/logcapture.h"
#include "support/publisher.h"
#include "support/teststore.h"

#include <QBrush>
#include <QPointer>
#include <QtTest>

#include <memory>

namespace {
const auto nullDeviceLine = "MainWinQorMonitor::processTreeWidgetItemDoubleClicked() illegal null device"_s;

Device* unitOf(const QTreeWidgetItem* row)
{
    return row->data(0, Qt::UserRole).value<Device*>();
}
} // namespace

class TestMessageRows : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }
    void rowCarriesItsUnit()
    {
        Publisher first;
        Publisher second;
        MainWinQorMonitor window;
        Device* firstUnit = addMonitoredUnit(*window.deviceList(), first.port());
        Device* secondUnit = addMonitoredUnit(*window.deviceList(), second.port());
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 2);
        const QVariant bound = messageList(window)->topLevelItem(0)->data(0, 256);
        QCOMPARE(bound.userType(), qMetaTypeId<Device*>());
        QCOMPARE(QByteArray(bound.typeName()), QByteArray("Device*"));
        QCOMPARE(bound.value<Device*>(), firstUnit);
        QCOMPARE(unitOf(messageList(window)->topLevelItem(1)), secondUnit);
    }

    void renamingChangesTheRowsAtOnce()
    {
        Publisher first;
        Publisher second;
        MainWinQorMonitor window;
        Device* unit = addMonitoredUnit(*window.deviceList(), first.port());
        addMonitoredUnit(*window.deviceList(), second.port());
        QVERIFY(first.waitForSubscriber());
        QVERIFY(second.waitForSubscriber());
        first.send(statusReport("B"_s, { warning("Lüfter steht"_s) }));
        second.send(statusReport("C"_s));
        QTRY_COMPARE(columnTexts(window, 1).join(QString()), "BBC"_s);
        const QStringList times = columnTexts(window, 0);
        const QStringList texts = columnTexts(window, 2);
        QTreeWidgetItem* row = messageList(window)->topLevelItem(0);
        const QBrush background = row->background(1);

        const LogCapture log;
        unit->setQorName("Z"_s);
        QCOMPARE(columnTexts(window, 1).join(QString()), "ZZC"_s);
        QCOMPARE(log.count(QtCriticalMsg, "update device \"Z\""_s), 2);
        QCOMPARE(log.count(QtCriticalMsg, "update device"_s), 2);
        // The same row: renamed, not replaced.
        QCOMPARE(messageList(window)->topLevelItem(0), row);
        QCOMPARE(row->background(1), background);
        QCOMPARE(columnTexts(window, 0), times);
        QCOMPARE(columnTexts(window, 2), texts);

        window.rebuildMessageList();
        QCOMPARE(columnTexts(window, 1).join(QString()), "ZZC"_s);
        QCOMPARE(columnTexts(window, 2), texts);
    }

    void updateOfNoUnitTouchesNoRow()
    {
        MainWinQorMonitor window;
        auto* row = new QTreeWidgetItem({ QString(), "name"_s, QString() });
        messageList(window)->addTopLevelItem(row);
        const LogCapture log;
        window.updateDevice(nullptr);
        QCOMPARE(row->text(1), "name"_s);
        QVERIFY(log.lines().isEmpty());
    }

    void doubleClickOpensTheWebInterface_data()
    {
        QTest::addColumn<QString>("scheme");
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("port");
        QTest::addColumn<QByteArray>("address");
        const auto row
            = [](const char* name, const char* scheme, const char* host, int port, const char* address) {
                  QTest::newRow(name) << QString::fromLatin1(scheme) << QString::fromLatin1(host) << port
                                      << QByteArray(address);
              };
        row("default port", "http", "10.0.0.5", 80, "http://10.0.0.5:80/");
        row("other port", "http", "10.0.0.5", 8080, "http://10.0.0.5:8080/");
        row("secure, default port", "https", "10.0.0.5", 443, "https://10.0.0.5:443/");
        row("host name", "https", "localhost", 4443, "https://localhost:4443/");
    }

    void doubleClickOpensTheWebInterface()
    {
        QFETCH(const QString, scheme);
        QFETCH(const QString, host);
        QFETCH(const int, port);
        QFETCH(const QByteArray, address);
        MainWinQorMonitor window;
        Device* unit = window.deviceList()->addDevice(host, 5566, port, scheme);
        QTreeWidgetItem row;
        row.setData(0, Qt::UserRole, QVariant::fromValue(unit));
        const Browser browser;
        for (int column = 0; column < 3; ++column) {
            window.processTreeWidgetItemDoubleClicked(&row, column);
            QCOMPARE(browser.opened.size(), column + 1);
            QCOMPARE(browser.opened.last().toEncoded(), address);
            QCOMPARE(browser.opened.last().port(), port);
        }
    }

    void realDoubleClickOpensTheWebInterface()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        addMonitoredUnit(*window.deviceList(), publisher.port());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 1);
        const Browser browser;
        const QTreeWidgetItem* row = messageList(window)->topLevelItem(0);
        const QPoint place = messageList(window)->visualItemRect(row).center();
        QWidget* viewport = messageList(window)->viewport();
        QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier, place);
        QVERIFY(browser.opened.isEmpty());
        QTest::mouseDClick(viewport, Qt::LeftButton, Qt::NoModifier, place);
        QCOMPARE(browser.opened, QList<QUrl>({ QUrl("http://127.0.0.1:80/"_s) }));
    }

    void doubleClickOnNothingDoesNothing()
    {
        MainWinQorMonitor window;
        const Browser browser;
        const LogCapture log;
        window.processTreeWidgetItemDoubleClicked(nullptr, 0);
        QVERIFY(log.lines().isEmpty());
        QVERIFY(browser.opened.isEmpty());
    }

    void doubleClickWithoutUnitIsReported_data()
    {
        QTest::addColumn<QVariant>("bound");
        QTest::newRow("nothing") << QVariant();
        QTest::newRow("null") << QVariant::fromValue<Device*>(nullptr);
        QTest::newRow("another object") << QVariant::fromValue<QObject*>(this);
        QTest::newRow("a number") << QVariant(17);
    }

    void doubleClickWithoutUnitIsReported()
    {
        QFETCH(const QVariant, bound);
        MainWinQorMonitor window;
        QTreeWidgetItem row;
        row.setData(0, Qt::UserRole, bound);
        const Browser browser;
        const LogCapture log;
        window.processTreeWidgetItemDoubleClicked(&row, 0);
        QCOMPARE(log.count(QtCriticalMsg, nullDeviceLine), 1);
        QVERIFY(browser.opened.isEmpty());
    }

    void rowDoesNotKeepADestroyedUnit()
    {
        MainWinQorMonitor window;
        // Without an address it never connects, so that its end is no reason to rebuild the list.
        Device* unit = window.deviceList()->addDevice(QString(), 5566, 80, "http"_s);
        unit->setMonitored(true);
        window.rebuildMessageList();
        QCOMPARE(messageList(window)->topLevelItemCount(), 1);
        QTreeWidgetItem* row = messageList(window)->topLevelItem(0);
        QCOMPARE(unitOf(row), unit);

        const QPointer<Device> alive(unit);
        window.deviceList()->removeDevice(unit);
        QCoreApplication::sendPostedEvents(unit, QEvent::DeferredDelete);
        QVERIFY(!alive);
        QCOMPARE(messageList(window)->topLevelItem(0), row);
        QVERIFY(!unitOf(row));
        const Browser browser;
        const LogCapture log;
        window.processTreeWidgetItemDoubleClicked(row, 0);
        QCOMPARE(log.count(QtCriticalMsg, nullDeviceLine), 1);
        QVERIFY(browser.opened.isEmpty());
    }

    void removedUnitLeavesTheList()
    {
        Publisher first;
        Publisher second;
        MainWinQorMonitor window;
        Device* gone = addMonitoredUnit(*window.deviceList(), first.port());
        const Device* other = addMonitoredUnit(*window.deviceList(), second.port());
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 2);
        window.deviceList()->removeDevice(gone);
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 1);
        QCOMPARE(unitOf(messageList(window)->topLevelItem(0)), other);
    }

    void windowEndsWhileUnitsSpeak()
    {
        constexpr int texts = 500;
        for (int round = 0; round < 3; ++round) {
            Publisher first;
            Publisher second;
            auto window = std::make_unique<MainWinQorMonitor>();
            const QPointer<Device> firstUnit(addMonitoredUnit(*window->deviceList(), first.port()));
            const QPointer<Device> secondUnit(addMonitoredUnit(*window->deviceList(), second.port()));
            QVERIFY(first.waitForSubscriber());
            QVERIFY(second.waitForSubscriber());
            window->show();
            first.send(statusReport("B"_s));
            second.send(statusReport("C"_s));
            QTRY_COMPARE(columnTexts(*window, 1).join(QString()), "BC"_s);
            // At one text per millisecond both links are still receiving when the window goes.
            for (int i = 0; i < texts; ++i) {
                const QJsonArray warnings { warning(QString::number(i)) };
                first.send(statusReport("B"_s, warnings));
                second.send(statusReport("C"_s, warnings));
            }
            window.reset();
            QVERIFY(!firstUnit);
            QVERIFY(!secondUnit);
            QVERIFY(first.waitForUnsubscriber());
            QVERIFY(second.waitForUnsubscriber());
            QCoreApplication::processEvents();
        }
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestMessageRows)
#include "tst_messagerows.moc"
