// SPDX-License-Identifier: MIT
// What the rows show, and what the buttons and clicks do to the unit of a row.
#include "managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"
#include "support/logcapture.h"
#include "support/publisher.h"
#include "support/teststore.h"

#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

namespace {
const auto notMonitored = QStringLiteral("Nicht überwacht");
const auto rebuildLine = QStringLiteral("DlgDeviceManager::rebuildList()");
const auto updateLine = QStringLiteral("DlgDeviceManager::updateDevice()");
} // namespace

class TestDeviceManagerRows : public QObject {
    Q_OBJECT

private slots:
    void init();
    void storedUnitsAreListed();
    void rowCarriesItsUnit();
    void rebuildIsLogged();
    void updateOfOneUnit();
    void updateListOnlyLogs();
    void statusFollowsTheUnitsProperties();
    void monitorActsOnTheCurrentRow();
    void doubleClickTogglesMonitoring();
    void clickLoadsTheUnit();
    void removeAsksNothing();
    void removeKeepsTheFieldsAndButtons();
    void refreshLooksUpEveryUnit();

private:
    TestStore m_store;
};

void TestDeviceManagerRows::init()
{
    m_store.clear();
    QSettings().setValue(QStringLiteral("AutoCheckUpdates"), false);
}

void TestDeviceManagerRows::storedUnitsAreListed()
{
    for (int i = 0; i < 3; ++i)
        m_store.writeUnit(i,
                          { { QStringLiteral("Host"), QStringLiteral("127.0.0.%1").arg(9 - i) },
                            { QStringLiteral("ZmqPort"), 7000 + i },
                            { QStringLiteral("WebPort"), 80 + i },
                            { QStringLiteral("WebScheme"), QStringLiteral("https") } });
    const ManagedWindow managed;
    QCOMPARE(managed.tree()->topLevelItemCount(), 3);
    QCOMPARE(managed.row(0), QStringLiteral("127.0.0.9|127.0.0.9|7000|80|https||Nicht überwacht"));
    QCOMPARE(managed.row(1), QStringLiteral("127.0.0.8|127.0.0.8|7001|81|https||Nicht überwacht"));
    QCOMPARE(managed.row(2), QStringLiteral("127.0.0.7|127.0.0.7|7002|82|https||Nicht überwacht"));
    QCOMPARE(managed.enabledButtons(), nothingLoaded);
}

void TestDeviceManagerRows::rowCarriesItsUnit()
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

void TestDeviceManagerRows::rebuildIsLogged()
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

void TestDeviceManagerRows::updateOfOneUnit()
{
    ManagedWindow managed;
    Device* first = managed.add(5566);
    managed.add(5567);
    for (int column = 0; column < 7; ++column)
        managed.tree()->topLevelItem(0)->setText(column, QStringLiteral("old"));
    const QString other = managed.row(1);
    LogCapture log;
    first->setQorName(QStringLiteral("QOR-1"));
    QCOMPARE(managed.row(0), QStringLiteral("old|old|old|old|old|QOR-1|Nicht überwacht"));
    QCOMPARE(managed.row(1), other);
    QCOMPARE(log.count(QtCriticalMsg, updateLine), 1);
}

void TestDeviceManagerRows::updateListOnlyLogs()
{
    ManagedWindow managed;
    managed.add(5566);
    managed.tree()->topLevelItem(0)->setText(5, QStringLiteral("old"));
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

void TestDeviceManagerRows::statusFollowsTheUnitsProperties()
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
    QTRY_COMPARE(status(), QStringLiteral("Verbunden"));
    QCOMPARE(managed.column(5), QStringLiteral("QOR-1"));
    unit->setMonitored(false);
    QCOMPARE(status(), notMonitored);
}

void TestDeviceManagerRows::monitorActsOnTheCurrentRow()
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
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:5566 80 http false|127.0.0.1:5567 80 http true"));
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    managed.click("Monitor");
    QVERIFY(current->monitored());
    managed.click("StopMonitor");
    QVERIFY(!current->monitored());
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:5566 80 http false|127.0.0.1:5567 80 http false"));
    QCOMPARE(managed.column(6), notMonitored + QLatin1Char('|') + notMonitored);
}

void TestDeviceManagerRows::doubleClickTogglesMonitoring()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.doubleClickRow(unit);
    QVERIFY(unit->monitored());
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:5566 80 http true"));
    QVERIFY(managed.column(6) != notMonitored);
    managed.doubleClickRow(unit);
    QVERIFY(!unit->monitored());
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:5566 80 http false"));
    QCOMPARE(managed.column(6), notMonitored);
    // In whatever column.
    for (int column = 0; column < 7; ++column) {
        const bool before = unit->monitored();
        emit managed.tree()->itemDoubleClicked(managed.rowOf(unit), column);
        QCOMPARE(unit->monitored(), !before);
    }
}

void TestDeviceManagerRows::clickLoadsTheUnit()
{
    ManagedWindow managed;
    const Device* first = managed.add(5566, QStringLiteral("8080"));
    const Device* second = managed.add(5567);
    QVERIFY(managed.show());
    managed.clickRow(first);
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5566 8080 http"));
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    managed.clickRow(second);
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5567 80 http"));
    emit managed.tree()->itemClicked(managed.rowOf(first), 6);
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5566 8080 http"));
}

void TestDeviceManagerRows::removeAsksNothing()
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
            [&] { stoppedInTheList = managed.list()->indexOf(QStringLiteral("127.0.0.1"), 5566) == 0; });
    managed.click("Remove");
    QVERIFY(stoppedInTheList);
    QVERIFY(!unit->monitored());
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:5567 80 http false"));
    QCOMPARE(managed.column(2), QStringLiteral("5567"));
    QTRY_VERIFY(!alive);
}

void TestDeviceManagerRows::removeKeepsTheFieldsAndButtons()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    const Device* other = managed.add(5567);
    QVERIFY(managed.show());
    managed.clickRow(other);
    managed.field("WebPort")->setText(QStringLiteral("81"));
    managed.select(unit);
    managed.click("Remove");
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5567 81 http"));
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    managed.click("ChangeHost");
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:5567 81 http false"));
}

void TestDeviceManagerRows::refreshLooksUpEveryUnit()
{
    ManagedWindow managed;
    Device* first = managed.add(5566);
    Device* second = managed.add(5567);
    first->setIpAddress(QStringLiteral("10.0.0.1"));
    second->setIpAddress(QStringLiteral("10.0.0.2"));
    managed.dialog()->rebuildList();
    QList<Device*> order;
    connect(managed.list(), &DeviceList::deviceChanged, this, [&](Device* unit) { order << unit; });
    managed.click("Refresh");
    QCOMPARE(first->ipAddress(), QStringLiteral("127.0.0.1"));
    QCOMPARE(second->ipAddress(), QStringLiteral("127.0.0.1"));
    // Each is emptied and then found.
    QCOMPARE(order, QList<Device*>({ first, first, second, second }));
    QCOMPARE(managed.column(1), QStringLiteral("10.0.0.1|10.0.0.2"));
    QCOMPARE(first->qorInterface()->state(), QorInterface::Disconnected);
    managed.dialog()->rebuildList();
    QCOMPARE(managed.column(1), QStringLiteral("127.0.0.1|127.0.0.1"));
}

QTEST_MAIN(TestDeviceManagerRows)
#include "tst_devicemanagerrows.moc"
