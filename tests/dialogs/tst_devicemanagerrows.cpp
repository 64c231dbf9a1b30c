// SPDX-License-Identifier: MIT
// What the rows show, and what the buttons and clicks do to the unit of a row.
#include "support/managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/publisher.h"
#include "support/teststore.h"

#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

namespace {
const auto notMonitored = "Nicht überwacht"_s;
const auto rebuildLine = "DlgDeviceManager::rebuildList()"_s;
const auto updateLine = "DlgDeviceManager::updateDevice()"_s;
} // namespace

class TestDeviceManagerRows : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void storedUnitsAreListed()
    {
        for (int i = 0; i < 3; ++i)
            m_store.writeUnit(i,
                              { { "Host"_s, "127.0.0.%1"_s.arg(9 - i) },
                                { "ZmqPort"_s, 7000 + i },
                                { "WebPort"_s, 80 + i },
                                { "WebScheme"_s, "https"_s } });
        const ManagedWindow managed;
        QCOMPARE(managed.tree()->topLevelItemCount(), 3);
        QCOMPARE(managed.row(0), "127.0.0.9|127.0.0.9|7000|80|https||Nicht überwacht"_s);
        QCOMPARE(managed.row(1), "127.0.0.8|127.0.0.8|7001|81|https||Nicht überwacht"_s);
        QCOMPARE(managed.row(2), "127.0.0.7|127.0.0.7|7002|82|https||Nicht überwacht"_s);
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

    void rowCarriesItsUnit()
    {
        ManagedWindow managed;
        Device* unit = managed.add(5566);
        const QTreeWidgetItem* row = managed.tree()->topLevelItem(0);
        QCOMPARE(row->type(), 0);
        const QVariant bound = row->data(0, 256);
        QCOMPARE(bound.userType(), qMetaTypeId<Device*>());
        QCOMPARE(QByteArray(bound.typeName()), QByteArray("Device*"));
        QCOMPARE(bound.value<Device*>(), unit);
    }

    void rebuildIsLogged()
    {
        ManagedWindow managed;
        managed.add(5566);
        const LogCapture log;
        managed.dialog()->rebuildList();
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().first().type, QtCriticalMsg);
        QCOMPARE(log.lines().first().text, rebuildLine);
        emit managed.list()->listChanged();
        QCOMPARE(log.count(QtCriticalMsg, rebuildLine), 2);
        QCOMPARE(managed.tree()->topLevelItemCount(), 1);
    }

    void updateOfOneUnit()
    {
        ManagedWindow managed;
        Device* first = managed.add(5566);
        managed.add(5567);
        for (int column = 0; column < 7; ++column)
            managed.tree()->topLevelItem(0)->setText(column, "old"_s);
        const QString other = managed.row(1);
        LogCapture log;
        first->setQorName("QOR-1"_s);
        QCOMPARE(managed.row(0), "old|old|old|old|old|QOR-1|Nicht überwacht"_s);
        QCOMPARE(managed.row(1), other);
        QCOMPARE(log.count(QtCriticalMsg, updateLine), 1);
    }

    void updateListOnlyLogs()
    {
        ManagedWindow managed;
        managed.add(5566);
        managed.tree()->topLevelItem(0)->setText(5, "old"_s);
        // Not even a row without a unit matches no unit.
        managed.tree()->topLevelItem(0)->setData(0, Qt::UserRole, QVariant::fromValue<Device*>(nullptr));
        const QString before = managed.row(0);
        const LogCapture log;
        managed.dialog()->updateList();
        QCOMPARE(managed.row(0), before);
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().first().type, QtCriticalMsg);
        QCOMPARE(log.lines().first().text, updateLine);
    }

    void statusFollowsTheUnitsProperties()
    {
        Publisher publisher;
        ManagedWindow managed;
        Device* unit = managed.add(publisher.port());
        const auto status = [&] { return managed.column(6); };
        QCOMPARE(status(), notMonitored);
        managed.select(unit);
        managed.invoke("Monitor");
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(R"({"host":"QOR-1","cmd":"StatusReport","value":{"warnings":[]}})");
        // The cell is written when the unit's name comes in, after the link has become connected.
        QTRY_COMPARE(status(), "Verbunden"_s);
        QCOMPARE(managed.column(5), "QOR-1"_s);
        unit->setMonitored(false);
        QCOMPARE(status(), notMonitored);
    }

    void monitorActsOnTheCurrentRow()
    {
        ManagedWindow managed;
        const Device* loaded = managed.add(5566);
        const Device* current = managed.add(5567);
        QVERIFY(managed.show());
        managed.clickRow(loaded);
        managed.select(current);
        managed.click("Monitor");
        QVERIFY(!loaded->monitored());
        QVERIFY(current->monitored());
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false|127.0.0.1:5567 80 http true"_s);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        managed.click("Monitor");
        QVERIFY(current->monitored());
        managed.click("StopMonitor");
        QVERIFY(!current->monitored());
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false|127.0.0.1:5567 80 http false"_s);
        QCOMPARE(managed.column(6), notMonitored + QLatin1Char('|') + notMonitored);
    }

    void doubleClickTogglesMonitoring()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.doubleClickRow(unit);
        QVERIFY(unit->monitored());
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http true"_s);
        QVERIFY(managed.column(6) != notMonitored);
        managed.doubleClickRow(unit);
        QVERIFY(!unit->monitored());
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
        QCOMPARE(managed.column(6), notMonitored);
        // In whatever column.
        for (int column = 0; column < 7; ++column) {
            const bool before = unit->monitored();
            emit managed.tree()->itemDoubleClicked(managed.rowOf(unit), column);
            QCOMPARE(unit->monitored(), !before);
        }
    }

    void clickLoadsTheUnit()
    {
        ManagedWindow managed;
        const Device* first = managed.add(5566, "8080"_s);
        const Device* second = managed.add(5567);
        QVERIFY(managed.show());
        managed.clickRow(first);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 8080 http"_s);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        managed.clickRow(second);
        QCOMPARE(managed.fields(), "127.0.0.1 5567 80 http"_s);
        emit managed.tree()->itemClicked(managed.rowOf(first), 6);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 8080 http"_s);
    }

    void removeAsksNothing()
    {
        ManagedWindow managed;
        Device* unit = managed.add(5566);
        managed.add(5567);
        unit->setMonitored(true);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        const QPointer<Device> alive(unit);
        bool stoppedInTheList = false;
        connect(unit, &Device::monitoredChanged, this,
                [&] { stoppedInTheList = managed.list()->indexOf("127.0.0.1"_s, 5566) == 0; });
        managed.click("Remove");
        QVERIFY(stoppedInTheList);
        QVERIFY(!unit->monitored());
        QCOMPARE(storedUnits(), "127.0.0.1:5567 80 http false"_s);
        QCOMPARE(managed.column(2), "5567"_s);
        QTRY_VERIFY(!alive);
    }

    void removeKeepsTheFieldsAndButtons()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        const Device* other = managed.add(5567);
        QVERIFY(managed.show());
        managed.clickRow(other);
        managed.field("WebPort")->setText("81"_s);
        managed.select(unit);
        managed.click("Remove");
        QCOMPARE(managed.fields(), "127.0.0.1 5567 81 http"_s);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        managed.click("ChangeHost");
        QCOMPARE(storedUnits(), "127.0.0.1:5567 81 http false"_s);
    }

    void refreshLooksUpEveryUnit()
    {
        ManagedWindow managed;
        Device* first = managed.add(5566);
        Device* second = managed.add(5567);
        first->setIpAddress("10.0.0.1"_s);
        second->setIpAddress("10.0.0.2"_s);
        managed.dialog()->rebuildList();
        QList<Device*> order;
        connect(managed.list(), &DeviceList::deviceChanged, this, [&](Device* unit) { order << unit; });
        managed.click("Refresh");
        QCOMPARE(first->ipAddress(), "127.0.0.1"_s);
        QCOMPARE(second->ipAddress(), "127.0.0.1"_s);
        // Each is emptied and then found.
        QCOMPARE(order, QList<Device*>({ first, first, second, second }));
        QCOMPARE(managed.column(1), "10.0.0.1|10.0.0.2"_s);
        QCOMPARE(first->qorInterface()->state(), QorInterface::Disconnected);
        managed.dialog()->rebuildList();
        QCOMPARE(managed.column(1), "127.0.0.1|127.0.0.1"_s);
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestDeviceManagerRows)
#include "tst_devicemanagerrows.moc"
