// SPDX-License-Identifier: MIT
// What the device manager's buttons, clicks and keys do to the unit of a row, and what to a row without one.
#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"
#include "support/logcapture.h"
#include "support/managedwindow.h"
#include "support/teststore.h"
#include "support/units.h"

#include <QtTest>

#include <functional>

using RowAction = std::function<void(ManagedWindow&, QTreeWidgetItem*)>;
Q_DECLARE_METATYPE(RowAction)

namespace {

const auto notMonitored = "Nicht überwacht"_s;

// Presses a button whether it is enabled or not, with this row as the current one.
RowAction invoking(const char* button)
{
    return [button](ManagedWindow& managed, QTreeWidgetItem* row) {
        managed.tree()->setCurrentItem(row);
        managed.invoke(button);
    };
}

} // namespace

class TestDeviceManagerActions : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }

    void monitorActsOnTheCurrentRow()
    {
        ManagedWindow managed;
        const Device* current = managed.add(5567);
        const Device* loaded = managed.addLoaded(5566);
        managed.select(current);
        managed.click("Monitor");
        QVERIFY(!loaded->monitored());
        QVERIFY(current->monitored());
        QCOMPARE(storedUnits(), "127.0.0.1:5567 80 http true|127.0.0.1:5566 80 http false"_s);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        managed.click("Monitor");
        QVERIFY(current->monitored());
        managed.click("StopMonitor");
        QVERIFY(!current->monitored());
        QCOMPARE(storedUnits(), "127.0.0.1:5567 80 http false|127.0.0.1:5566 80 http false"_s);
        QCOMPARE(managed.column(6), notMonitored + QLatin1Char('|') + notMonitored);
    }

    void statusFollowsTheLink()
    {
        Publisher publisher;
        ManagedWindow managed;
        QVERIFY(managed.show());
        const Device* unit = managed.addLoaded(publisher.port());
        managed.click("Monitor");
        QTRY_COMPARE(managed.column(6), "Warte auf Verbindung ..."_s);
        QVERIFY(publisher.waitForSubscriber());
        const LogCapture log;
        publisher.send("{}");
        QTRY_COMPARE(managed.column(6), "Verbunden"_s);
        QCOMPARE(log.taggedLines().filter("DlgDeviceManager"_s), QStringList());
        // Silence, and nobody looks.
        managed.dialog()->hide();
        QTRY_COMPARE_WITH_TIMEOUT(unit->qorInterface()->state(), QorInterface::Disconnected, 8000);
        managed.dialog()->show();
        QCOMPARE(managed.column(6), "Getrennt"_s);
    }

    void doubleClickTogglesMonitoring()
    {
        ManagedWindow managed;
        const Device* unit = managed.add();
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
        Device* second = managed.add(5567, "8080"_s);
        second->setWebScheme("https"_s);
        const Device* first = managed.addLoaded(5566);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 80 http"_s);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        managed.clickRow(second);
        QCOMPARE(managed.fields(), "127.0.0.1 5567 8080 https"_s);
        emit managed.tree()->itemClicked(managed.rowOf(first), 6);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 80 http"_s);
    }

    void returnOnARowLoadsItsUnit()
    {
        for (const auto key : { Qt::Key_Return, Qt::Key_Enter }) {
            m_store.clear();
            ManagedWindow managed;
            const Device* unit = managed.add(5566, "81"_s);
            QVERIFY(managed.show());
            managed.tree()->setFocus();
            managed.select(unit);
            QTest::keyClick(managed.tree(), key);
            QCOMPARE(managed.fields(), "127.0.0.1 5566 81 http"_s);
            QCOMPARE(managed.enabledButtons(), unitLoaded);
            QVERIFY(!unit->monitored());
        }
    }

    void arrowsMoveTheCurrentRowOnly()
    {
        ManagedWindow managed;
        const Device* upper = managed.add(5567);
        const Device* loaded = managed.addLoaded(5566);
        QTest::keyClick(managed.tree(), Qt::Key_Up);
        QCOMPARE(managed.tree()->currentItem(), managed.rowOf(upper));
        QCOMPARE(managed.fields(), "127.0.0.1 5566 80 http"_s);
        managed.click("Monitor");
        QVERIFY(!loaded->monitored());
        QVERIFY(upper->monitored());
    }

    void removeAsksNothing()
    {
        ManagedWindow managed;
        const QPointer<Device> unit(managed.addLoaded(5566));
        managed.add(5567);
        managed.clickRow(unit);
        unit->setMonitored(true);
        bool stoppedInTheList = false;
        connect(unit, &Device::monitoredChanged, this,
                [&] { stoppedInTheList = managed.list()->contains(unit); });
        managed.click("Remove");
        QCOMPARE(managed.boxes.count(), 0);
        QVERIFY(stoppedInTheList);
        QVERIFY(!unit->monitored());
        QCOMPARE(storedUnits(), "127.0.0.1:5567 80 http false"_s);
        QCOMPARE(managed.column(2), "5567"_s);
        QTRY_VERIFY(!unit);
    }

    void removeKeepsTheFieldsAndButtons()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        managed.addLoaded(5567);
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
        QCOMPARE(first->ipAddress(), loopback);
        QCOMPARE(second->ipAddress(), loopback);
        // Each unit changes twice: its address is cleared and then found.
        QCOMPARE(order, QList<Device*>({ first, first, second, second }));
        QCOMPARE(managed.column(1), "10.0.0.1|10.0.0.2"_s);
        QCOMPARE(first->qorInterface()->state(), QorInterface::Disconnected);
        managed.dialog()->rebuildList();
        QCOMPARE(managed.column(1), "127.0.0.1|127.0.0.1"_s);
    }

    void refreshLeavesTheLinksAlone()
    {
        Publisher publisher;
        ManagedWindow managed;
        const Device* unit = managed.addLoaded(publisher.port());
        managed.click("Monitor");
        QVERIFY(publisher.waitForSubscriber());
        publisher.send("{}");
        QTRY_COMPARE(unit->qorInterface()->state(), QorInterface::Connected);
        managed.click("Refresh");
        QCOMPARE(unit->qorInterface()->state(), QorInterface::Connected);
    }

    void updateActionsEnablesAddingAndLeavesRefresh()
    {
        ManagedWindow managed;
        for (const char* name : { "AddHost", "Refresh" })
            managed.button(name)->setEnabled(false);
        managed.dialog()->updateActions();
        QCOMPARE(managed.enabledButtons(), "AddHost Close"_s);
    }

    void withoutCurrentRowNothingHappens_data()
    {
        QTest::addColumn<bool>("monitored");
        QTest::newRow("Remove") << false;
        QTest::newRow("Monitor") << false;
        QTest::newRow("StopMonitor") << true;
    }

    void withoutCurrentRowNothingHappens()
    {
        QFETCH(const bool, monitored);
        ManagedWindow managed;
        Device* unit = managed.add();
        // Only what the dialog itself saves is to be seen.
        unit->setWebPort(81);
        unit->setMonitored(monitored);
        managed.tree()->setCurrentItem(nullptr);
        const LogCapture log;
        managed.invoke(QTest::currentDataTag());
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
        managed.add()->setWebPort(81);
        QTreeWidgetItem* row = managed.tree()->topLevelItem(0);
        row->setData(0, Qt::UserRole, bound);
        managed.tree()->setCurrentItem(row);
        managed.enter("localhost"_s);
        const LogCapture log;
        emit managed.tree()->itemDoubleClicked(row, 0);
        emit managed.tree()->itemClicked(row, 0);
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
        for (const char* button : { "Monitor", "StopMonitor" })
            managed.invoke(button);
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

    void rowWithoutUnitHasTheListSaved()
    {
        for (const char* button : { "Monitor", "StopMonitor" }) {
            m_store.clear();
            ManagedWindow managed;
            managed.add()->setWebPort(81);
            QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
            QTreeWidgetItem* row = managed.tree()->topLevelItem(0);
            row->setData(0, Qt::UserRole, QVariant());
            invoking(button)(managed, row);
            QCOMPARE(storedUnits(), "127.0.0.1:5566 81 http false"_s);
        }
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

    // The removal of the loaded unit does not update the buttons. The next action does.
    void buttonsLearnOfTheRemovalLater_data()
    {
        QTest::addColumn<RowAction>("action");
        QTest::newRow("rebuild") << RowAction(
            [](ManagedWindow& managed, QTreeWidgetItem*) { managed.dialog()->rebuildList(); });
        QTest::newRow("monitor") << invoking("Monitor");
        QTest::newRow("stop") << invoking("StopMonitor");
        QTest::newRow("double-click") << RowAction([](ManagedWindow& managed, QTreeWidgetItem* row) {
            emit managed.tree()->itemDoubleClicked(row, 0);
        });
        QTest::newRow("update") << RowAction(
            [](ManagedWindow& managed, QTreeWidgetItem*) { managed.dialog()->updateActions(); });
    }

    void buttonsLearnOfTheRemovalLater()
    {
        QFETCH(const RowAction, action);
        ManagedWindow managed;
        managed.add(5567);
        const QPointer<Device> unit(managed.addLoaded(5566));
        managed.click("Remove");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!unit);
        QCOMPARE(managed.tree()->topLevelItemCount(), 1);
        managed.select(managed.list()->at(0));
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        action(managed, managed.tree()->topLevelItem(0));
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestDeviceManagerActions)
#include "tst_devicemanageractions.moc"
