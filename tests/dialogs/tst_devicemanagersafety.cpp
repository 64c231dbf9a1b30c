// SPDX-License-Identifier: MIT
// Units that go while they are worked on, and links that refuse: nothing dangles and nothing is lost.
#include "support/managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/literals.h"
#include "support/messageboxes.h"
#include "support/teststore.h"

#include <QSettings>
#include <QtTest>

#include <zmq.hpp>

namespace {
void destroyRemoved()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
} // namespace

class TestDeviceManagerSafety : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void changeAfterRemoveDoesNothing_data()
    {
        QTest::addColumn<bool>("destroyed");
        QTest::newRow("before the unit is destroyed") << false;
        QTest::newRow("after the unit is destroyed") << true;
    }

    void changeAfterRemoveDoesNothing()
    {
        QFETCH(const bool, destroyed);
        ManagedWindow managed;
        const QPointer<Device> unit(managed.add(5566));
        managed.add(5567);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.click("Remove");
        if (destroyed)
            destroyRemoved();
        QCOMPARE(unit.isNull(), destroyed);
        managed.field("WebPort")->setText("81"_s);
        const QString stored = storedUnits();
        managed.click("ChangeHost");
        QCOMPARE(managed.fields(), "127.0.0.1 5566 81 http"_s);
        QCOMPARE(storedUnits(), stored);
        destroyRemoved();
        managed.dialog()->updateActions();
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

    void changeAfterClearDoesNothing()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.list()->clear();
        const QString stored = storedUnits();
        managed.field("WebPort")->setText("81"_s);
        managed.click("ChangeHost");
        destroyRemoved();
        managed.click("ChangeHost");
        QCOMPARE(storedUnits(), stored);
        QCOMPARE(managed.tree()->topLevelItemCount(), 0);
    }

    void changeAfterLoadDoesNothing()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.list()->load();
        managed.field("WebPort")->setText("81"_s);
        managed.click("ChangeHost");
        destroyRemoved();
        managed.click("ChangeHost");
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
        QCOMPARE(managed.list()->at(0)->webPort(), 80);
    }

    void rowDoesNotKeepADestroyedUnit()
    {
        ManagedWindow managed;
        const QPointer<Device> unit(managed.add(5566));
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
        QTest::addColumn<QByteArray>("button");
        QTest::newRow("monitor") << QByteArray("Monitor");
        QTest::newRow("remove") << QByteArray("Remove");
        QTest::newRow("change") << QByteArray("ChangeHost");
        QTest::newRow("double-click") << QByteArray();
    }

    void unitRemovedByItsOwnChange()
    {
        QFETCH(const QByteArray, button);
        ManagedWindow managed;
        const QPointer<Device> unit(managed.add(5566));
        managed.add(5567);
        if (button == "Remove")
            unit->setMonitored(true);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.field("WebPort")->setText("81"_s);
        connect(managed.list(), &DeviceList::deviceChanged, this, [&](Device* changed) {
            if (changed == unit)
                managed.list()->removeDevice(changed);
        });
        if (button.isEmpty())
            managed.doubleClickRow(unit);
        else
            managed.click(button.constData());
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
            if (changed == second && managed.list()->indexOf("127.0.0.1"_s, 2) != -1)
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
        QTest::addColumn<bool>("all");
        QTest::newRow("add, the unit goes") << QByteArray("AddHost") << false;
        QTest::newRow("change, the unit goes") << QByteArray("ChangeHost") << false;
        QTest::newRow("add, all go") << QByteArray("AddHost") << true;
        QTest::newRow("change, all go") << QByteArray("ChangeHost") << true;
    }

    void listChangesBehindTheDuplicateWarning()
    {
        QFETCH(const QByteArray, button);
        QFETCH(const bool, all);
        ManagedWindow managed;
        managed.add(5566);
        const QPointer<Device> unit(managed.add(5567));
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.enter("127.0.0.1"_s, "5566"_s, "81"_s);
        const QString stored = storedUnits();
        MessageBoxes boxes;
        boxes.answer([&](QMessageBox* box) {
            if (all)
                managed.list()->clear();
            else
                managed.list()->removeDevice(unit);
            QCoreApplication::processEvents();
            MessageBoxes::click(box, QMessageBox::Ok);
        });
        managed.click(button.constData());
        QCOMPARE(boxes.count(), 1);
        QCOMPARE(storedUnits(), stored);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 81 http"_s);
        QCOMPARE(managed.tree()->topLevelItemCount(), all ? 0 : 1);
        QTRY_VERIFY(!unit);
        managed.click("ChangeHost");
        QCOMPARE(storedUnits(), stored);
    }

    void refusedPortLosesNoStoredUnit_data()
    {
        QTest::addColumn<QByteArray>("button");
        QTest::newRow("monitor") << QByteArray("Monitor");
        QTest::newRow("double-click") << QByteArray();
        QTest::newRow("change") << QByteArray("ChangeHost");
    }

    void refusedPortLosesNoStoredUnit()
    {
        QFETCH(const QByteArray, button);
        ManagedWindow managed;
        Device* unit = managed.add(button.contains("Change") ? 5566 : -1);
        managed.add(5567);
        if (button.contains("Change"))
            unit->setMonitored(true);
        managed.list()->save();
        const QString stored = storedUnits();
        managed.select(unit);
        emit managed.tree()->itemClicked(managed.rowOf(unit), 0);
        managed.field("Port")->setText("-1"_s);
        if (button.isEmpty())
            QVERIFY_EXCEPTION_THROWN(emit managed.tree()->itemDoubleClicked(managed.rowOf(unit), 0),
                                     zmq::error_t);
        else
            QVERIFY_EXCEPTION_THROWN(managed.invoke(button.constData()), zmq::error_t);
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
        const QList<QByteArray> lines = file.readAll().split('\n');
        QVERIFY(lines.contains("[Device0]"));
        QVERIFY(lines.contains("Host=127.0.0.1"));
        QVERIFY(lines.contains("ZmqPort=5566"));
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestDeviceManagerSafety)
#include "tst_devicemanagersafety.moc"
