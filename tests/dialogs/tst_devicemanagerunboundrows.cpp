// SPDX-License-Identifier: MIT
// Clicks that meet no unit.
#include "support/managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/teststore.h"

#include <QSettings>
#include <QtTest>

class TestDeviceManagerUnboundRows : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void withoutCurrentRowNothingHappens_data()
    {
        QTest::addColumn<QByteArray>("button");
        for (const char* button : { "Remove", "Monitor", "StopMonitor" })
            QTest::newRow(button) << QByteArray(button);
    }

    void withoutCurrentRowNothingHappens()
    {
        QFETCH(const QByteArray, button);
        ManagedWindow managed;
        Device* unit = managed.add(5566);
        // Only what the dialog itself saves is to be seen.
        unit->setWebPort(81);
        const bool monitored = button.contains("Stop");
        unit->setMonitored(monitored);
        managed.tree()->setCurrentItem(nullptr);
        const LogCapture log;
        managed.invoke(button.constData());
        QVERIFY(log.lines().isEmpty());
        QCOMPARE(managed.list()->count(), 1);
        QCOMPARE(unit->monitored(), monitored);
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
    }

    void rowWithoutUnitIsLeftAlone_data()
    {
        QTest::addColumn<QVariant>("bound");
        QTest::newRow("nothing") << QVariant();
        QTest::newRow("null") << QVariant::fromValue<Device*>(nullptr);
        QTest::newRow("another object") << QVariant::fromValue<QObject*>(this);
        QTest::newRow("a number") << QVariant(17);
    }

    void rowWithoutUnitIsLeftAlone()
    {
        QFETCH(const QVariant, bound);
        ManagedWindow managed;
        managed.add(5566);
        QTreeWidgetItem* row = managed.tree()->topLevelItem(0);
        row->setData(0, Qt::UserRole, bound);
        managed.tree()->setCurrentItem(row);
        managed.enter("localhost"_s);
        const LogCapture log;
        for (const char* button : { "Monitor", "StopMonitor" })
            managed.invoke(button);
        emit managed.tree()->itemDoubleClicked(row, 0);
        emit managed.tree()->itemClicked(row, 0);
        QVERIFY(log.lines().isEmpty());
        managed.invoke("Remove");
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().first().type, QtCriticalMsg);
        QCOMPARE(log.lines().first().text,
                 "DlgDeviceManager::on_pushButtonRemove_clicked() illegal null pointer"_s);
        QCOMPARE(managed.list()->count(), 1);
        QVERIFY(!managed.list()->at(0)->monitored());
        QCOMPARE(managed.fields(), "localhost 5566 80 http"_s);
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

    void rowWithoutUnitHasTheListSaved_data()
    {
        QTest::addColumn<QByteArray>("button");
        for (const char* button : { "Monitor", "StopMonitor" })
            QTest::newRow(button) << QByteArray(button);
    }

    void rowWithoutUnitHasTheListSaved()
    {
        QFETCH(const QByteArray, button);
        ManagedWindow managed;
        managed.add(5566)->setWebPort(81);
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
        QTreeWidgetItem* row = managed.tree()->topLevelItem(0);
        row->setData(0, Qt::UserRole, QVariant());
        managed.tree()->setCurrentItem(row);
        managed.invoke(button.constData());
        QCOMPARE(storedUnits(), "127.0.0.1:5566 81 http false"_s);
    }

    void noRowAtAllIsLeftAlone()
    {
        ManagedWindow managed;
        const LogCapture log;
        emit managed.tree()->itemDoubleClicked(nullptr, 0);
        emit managed.tree()->itemClicked(nullptr, 0);
        QVERIFY(log.lines().isEmpty());
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
        QCOMPARE(managed.fields(), " 5566 80 http"_s);
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestDeviceManagerUnboundRows)
#include "tst_devicemanagerunboundrows.moc"
