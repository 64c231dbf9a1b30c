// SPDX-License-Identifier: MIT
// Units that go while they are worked on, and links that refuse: nothing dangles and nothing is lost.
#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/managedwindow.h"
#include "support/messageboxes.h"
#include "support/platform.h"
#include "support/teststore.h"
#include "support/units.h"

#include <QtTest>

#include <zmq.hpp>

#include <functional>

using UnitAction = std::function<void(ManagedWindow&, Device*)>;
Q_DECLARE_METATYPE(UnitAction)

namespace {

void destroyRemoved()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// Presses a button with the unit's row as the current one.
UnitAction clicking(const char* button)
{
    return [button](ManagedWindow& managed, Device* unit) {
        managed.select(unit);
        managed.invoke(button);
    };
}

void doubleClick(ManagedWindow& managed, Device* unit)
{
    emit managed.tree()->itemDoubleClicked(managed.rowOf(unit), 0);
}

void removeUnit(ManagedWindow& managed, Device* unit)
{
    managed.list()->removeDevice(unit);
}

void clearList(ManagedWindow& managed, Device*)
{
    managed.list()->clear();
}

} // namespace

class TestDeviceManagerSafety : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }

    void changeOfARemovedUnitDoesNothing_data()
    {
        QTest::addColumn<UnitAction>("remove");
        QTest::newRow("removed") << clicking("Remove");
        QTest::newRow("cleared") << UnitAction(clearList);
        QTest::newRow("loaded anew") << UnitAction(
            [](ManagedWindow& managed, Device*) { managed.list()->load(); });
    }

    void changeOfARemovedUnitDoesNothing()
    {
        QFETCH(const UnitAction, remove);
        ManagedWindow managed;
        managed.add(5567);
        const QPointer<Device> unit(managed.addLoaded(5566));
        remove(managed, unit);
        const QString stored = storedUnits();
        managed.field("WebPort")->setText("81"_s);
        // Once while the unit waits for its deletion, once after that.
        for (const bool destroyed : { false, true }) {
            if (destroyed)
                destroyRemoved();
            QCOMPARE(unit.isNull(), destroyed);
            managed.click("ChangeHost");
            QCOMPARE(managed.fields(), "127.0.0.1 5566 81 http"_s);
            QCOMPARE(storedUnits(), stored);
            for (int i = 0; i < managed.list()->count(); ++i)
                QCOMPARE(managed.list()->at(i)->webPort(), 80);
        }
        QCOMPARE(managed.tree()->topLevelItemCount(), managed.list()->count());
    }

    void rowDoesNotKeepADestroyedUnit()
    {
        ManagedWindow managed;
        const QPointer<Device> unit(managed.add());
        {
            // The dialog hears nothing of the removal.
            const QSignalBlocker blocker(managed.list());
            managed.list()->removeDevice(unit);
        }
        destroyRemoved();
        QVERIFY(!unit);
        QCOMPARE(managed.tree()->topLevelItemCount(), 1);
        QTreeWidgetItem* row = managed.tree()->topLevelItem(0);
        QVERIFY(!row->data(0, Qt::UserRole).value<Device*>());
        managed.tree()->setCurrentItem(row);
        emit managed.tree()->itemClicked(row, 0);
        emit managed.tree()->itemDoubleClicked(row, 0);
        for (const char* button : { "Monitor", "StopMonitor", "Remove" })
            managed.invoke(button);
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

    void unitRemovedByItsOwnChange_data()
    {
        QTest::addColumn<bool>("monitored");
        QTest::addColumn<UnitAction>("action");
        QTest::newRow("monitor") << false << clicking("Monitor");
        QTest::newRow("remove") << true << clicking("Remove");
        QTest::newRow("change") << false << clicking("ChangeHost");
        QTest::newRow("double-click") << false << UnitAction(doubleClick);
    }

    void unitRemovedByItsOwnChange()
    {
        QFETCH(const bool, monitored);
        QFETCH(const UnitAction, action);
        ManagedWindow managed;
        managed.add(5567);
        const QPointer<Device> unit(managed.addLoaded(5566));
        unit->setMonitored(monitored);
        managed.field("WebPort")->setText("81"_s);
        connect(managed.list(), &DeviceList::deviceChanged, this, [&](Device* changed) {
            if (changed == unit)
                managed.list()->removeDevice(changed);
        });
        action(managed, unit);
        QTRY_VERIFY(!unit);
        QCOMPARE(managed.list()->count(), 1);
        QCOMPARE(managed.column(2), "5567"_s);
        QCOMPARE(storedUnits(), "127.0.0.1:5567 80 http false"_s);
    }

    void unitRemovedDuringRefresh()
    {
        ManagedWindow managed;
        for (const int port : { 1, 2, 3 })
            managed.add(port);
        const QPointer<Device> second(managed.list()->at(1));
        const auto once = connect(managed.list(), &DeviceList::deviceChanged, this, [&](Device* changed) {
            if (changed == second && managed.list()->contains(changed))
                managed.list()->removeDevice(changed);
        });
        managed.click("Refresh");
        disconnect(once);
        QTRY_VERIFY(!second);
        QCOMPARE(managed.column(2), "1|3"_s);
    }

    void listChangesBehindTheDuplicateWarning_data()
    {
        QTest::addColumn<QByteArray>("button");
        QTest::addColumn<UnitAction>("remove");
        QTest::newRow("add, the unit goes") << QByteArray("AddHost") << UnitAction(removeUnit);
        QTest::newRow("change, the unit goes") << QByteArray("ChangeHost") << UnitAction(removeUnit);
        QTest::newRow("add, all go") << QByteArray("AddHost") << UnitAction(clearList);
        QTest::newRow("change, all go") << QByteArray("ChangeHost") << UnitAction(clearList);
    }

    void listChangesBehindTheDuplicateWarning()
    {
        QFETCH(const QByteArray, button);
        QFETCH(const UnitAction, remove);
        ManagedWindow managed;
        managed.add(5566);
        const QPointer<Device> unit(managed.addLoaded(5567));
        managed.enter(loopback, "5566"_s, "81"_s);
        const QString stored = storedUnits();
        managed.boxes.answer([&](QMessageBox* box) {
            remove(managed, unit);
            QCoreApplication::processEvents();
            MessageBoxes::click(box, QMessageBox::Ok);
        });
        managed.click(button.constData());
        QCOMPARE(managed.boxes.count(), 1);
        QCOMPARE(storedUnits(), stored);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 81 http"_s);
        QCOMPARE(managed.tree()->topLevelItemCount(), managed.list()->count());
        QTRY_VERIFY(!unit);
        managed.click("ChangeHost");
        QCOMPARE(storedUnits(), stored);
    }

    void refusedPortLosesNoStoredUnit_data()
    {
        QTest::addColumn<int>("port");
        QTest::addColumn<bool>("monitored");
        QTest::addColumn<UnitAction>("action");
        QTest::newRow("monitor") << -1 << false << clicking("Monitor");
        QTest::newRow("double-click") << -1 << false << UnitAction(doubleClick);
        QTest::newRow("change") << 5566 << true << clicking("ChangeHost");
    }

    void refusedPortLosesNoStoredUnit()
    {
        QFETCH(const int, port);
        QFETCH(const bool, monitored);
        QFETCH(const UnitAction, action);
        ManagedWindow managed;
        Device* unit = managed.add(port);
        managed.add(5567);
        unit->setMonitored(monitored);
        managed.list()->save();
        const QString stored = storedUnits();
        emit managed.tree()->itemClicked(managed.rowOf(unit), 0);
        managed.field("Port")->setText("-1"_s);
        QVERIFY_EXCEPTION_THROWN(action(managed, unit), zmq::error_t);
        // The next start finds what was stored before, and can connect.
        QCOMPARE(storedUnits(), stored);
        QCOMPARE(managed.tree()->topLevelItemCount(), 2);
    }

    void storeIsWrittenAtOnce()
    {
        ManagedWindow managed;
        managed.add(5566);
        // What a program that dies now leaves behind.
        QFile file(m_store.filePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> lines = Platform::withLineFeeds(file.readAll()).split('\n');
        for (const char* line : { "[Device0]", "Host=127.0.0.1", "ZmqPort=5566" })
            QVERIFY2(lines.contains(line), line);
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestDeviceManagerSafety)
#include "tst_devicemanagersafety.moc"
