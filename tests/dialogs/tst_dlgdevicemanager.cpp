// SPDX-License-Identifier: MIT
// Adding and changing units by means of the entry fields.
#include "managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/messageboxes.h"
#include "support/teststore.h"

#include <QSettings>
#include <QtTest>

namespace {
const auto emptyFields = QStringLiteral(" 5566 80 http");
const auto duplicateText = QStringLiteral("Dieser Host/Port existiert bereits in der Liste!");
} // namespace

class TestDlgDeviceManager : public QObject {
    Q_OBJECT

private slots:
    void init();
    void entryBecomesAUnit_data();
    void entryBecomesAUnit();
    void emptyHostAddsNothing_data();
    void emptyHostAddsNothing();
    void sameHostAndPortIsRefused();
    void hostOrPortMayDiffer();
    void addingDropsTheSelection();
    void changeIsStored();
    void changeOfTheUnitsOwnEntry();
    void changeToAnotherUnitsEntryIsRefused();
    void changeToAnEmptyHostDoesNothing();
    void changeFollowsTheFieldsInOrder();
    void changeNeedsASelection();
    void changeRefreshesNoConnectionCells();
    void changedUnitMayBeChangedAgain();
    void dialogKeepsItsStateWhenClosed();

private:
    void compareDuplicateWarning(const MessageBoxes& boxes, const ManagedWindow& managed);

    TestStore m_store;
};

void TestDlgDeviceManager::init()
{
    m_store.clear();
    QSettings().setValue(QStringLiteral("AutoCheckUpdates"), false);
}

void TestDlgDeviceManager::compareDuplicateWarning(const MessageBoxes& boxes, const ManagedWindow& managed)
{
    QCOMPARE(boxes.count(), 1);
    const MessageBoxes::Box box = boxes.seen().first();
    QCOMPARE(box.text, duplicateText);
    QCOMPARE(box.title, QStringLiteral("QorMonitor - Geräteverwaltung"));
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.buttons, QMessageBox::Ok);
    QCOMPARE(box.parent, static_cast<const QWidget*>(managed.dialog()));
}

void TestDlgDeviceManager::entryBecomesAUnit_data()
{
    QTest::addColumn<QStringList>("entry");
    QTest::addColumn<QString>("stored");
    const auto row = [](const char* name, const char* entry, const char* stored) {
        QTest::newRow(name) << QString::fromLatin1(entry).split(QLatin1Char('|'))
                            << QString::fromLatin1(stored);
    };
    row("plain", "127.0.0.1|5566|80|http", "127.0.0.1:5566 80 http false");
    row("other values", "127.0.0.1|7000|8443|https", "127.0.0.1:7000 8443 https false");
    row("blanks around", "  127.0.0.1\t| 5567 | 81 | https ", "127.0.0.1:5567 81 https false");
    row("letters as web port", "127.0.0.1|5566|abc|http", "127.0.0.1:5566 0 http false");
    row("letters as port", "127.0.0.1|12x|80|http", "127.0.0.1:0 80 http false");
    row("not base ten", "127.0.0.1|0x10|010|http", "127.0.0.1:0 10 http false");
    row("no ports, no scheme", "127.0.0.1|||", "127.0.0.1:0 0  false");
    row("out of range", "127.0.0.1|-1|70000|gopher", "127.0.0.1:-1 70000 gopher false");
    row("more than an integer", "127.0.0.1|99999999999|80|http", "127.0.0.1:0 80 http false");
}

void TestDlgDeviceManager::entryBecomesAUnit()
{
    QFETCH(const QStringList, entry);
    QFETCH(const QString, stored);
    ManagedWindow managed;
    managed.enter(entry.at(0), entry.at(1), entry.at(2), entry.at(3));
    managed.click("AddHost");
    QCOMPARE(storedUnits(), stored);
    QCOMPARE(managed.fields(), emptyFields);
    QCOMPARE(managed.list()->count(), 1);
    const Device* unit = managed.list()->at(0);
    QVERIFY(!unit->monitored());
    QCOMPARE(managed.row(0),
             QStringList({ unit->host(), QStringLiteral("127.0.0.1"), QString::number(unit->zmqPort()),
                           QString::number(unit->webPort()), unit->webScheme(), QString(),
                           QStringLiteral("Nicht überwacht") })
                 .join(QLatin1Char('|')));
}

void TestDlgDeviceManager::emptyHostAddsNothing_data()
{
    QTest::addColumn<QString>("host");
    QTest::newRow("empty") << QString();
    QTest::newRow("blanks") << QStringLiteral("  \t ");
}

void TestDlgDeviceManager::emptyHostAddsNothing()
{
    QFETCH(const QString, host);
    ManagedWindow managed;
    managed.enter(host, QStringLiteral("7000"), QStringLiteral("81"), QStringLiteral("https"));
    const QString entered = managed.fields();
    managed.click("AddHost");
    QCOMPARE(managed.list()->count(), 0);
    QCOMPARE(managed.fields(), entered);
    QVERIFY(!QApplication::activeModalWidget());
}

void TestDlgDeviceManager::sameHostAndPortIsRefused()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    managed.enter(QStringLiteral(" 127.0.0.1 "), QStringLiteral("5566"), QStringLiteral("81"),
                  QStringLiteral("https"));
    const QString entered = managed.fields();
    const QString before = storedUnits();
    const MessageBoxes boxes;
    managed.click("AddHost");
    compareDuplicateWarning(boxes, managed);
    QCOMPARE(managed.list()->count(), 1);
    QCOMPARE(managed.fields(), entered);
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    QCOMPARE(storedUnits(), before);
}

void TestDlgDeviceManager::hostOrPortMayDiffer()
{
    ManagedWindow managed;
    managed.add(5566);
    managed.add(5567);
    managed.enter(QStringLiteral("localhost"));
    managed.click("AddHost");
    // Exactly as typed: the case of letters counts.
    managed.enter(QStringLiteral("LOCALHOST"));
    managed.click("AddHost");
    QCOMPARE(storedUnits(),
             QStringLiteral("127.0.0.1:5566 80 http false|127.0.0.1:5567 80 http false|"
                            "localhost:5566 80 http false|LOCALHOST:5566 80 http false"));
    QCOMPARE(managed.column(0), QStringLiteral("127.0.0.1|127.0.0.1|localhost|LOCALHOST"));
}

void TestDlgDeviceManager::addingDropsTheSelection()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    managed.add(5567);
    QCOMPARE(managed.enabledButtons(), nothingLoaded);
}

void TestDlgDeviceManager::changeIsStored()
{
    ManagedWindow managed;
    Device* unit = managed.add(5566);
    managed.add(5567);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5566 80 http"));
    managed.enter(QStringLiteral(" localhost "), QStringLiteral("7000"), QStringLiteral("x"),
                  QStringLiteral(" https"));
    managed.click("ChangeHost");
    QCOMPARE(unit->host(), QStringLiteral("localhost"));
    QCOMPARE(storedUnits(), QStringLiteral("localhost:7000 0 https false|127.0.0.1:5567 80 http false"));
    QCOMPARE(managed.fields(), emptyFields);
    QCOMPARE(managed.enabledButtons(), nothingLoaded);
}

void TestDlgDeviceManager::changeOfTheUnitsOwnEntry()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    managed.field("WebPort")->setText(QStringLiteral("8080"));
    managed.click("ChangeHost");
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:5566 8080 http false"));
    QCOMPARE(managed.fields(), emptyFields);
}

void TestDlgDeviceManager::changeToAnotherUnitsEntryIsRefused()
{
    ManagedWindow managed;
    managed.add(5566);
    const Device* unit = managed.add(5567);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    managed.enter(QStringLiteral("127.0.0.1"), QStringLiteral("5566"), QStringLiteral("81"));
    const QString before = storedUnits();
    const MessageBoxes boxes;
    managed.click("ChangeHost");
    compareDuplicateWarning(boxes, managed);
    QCOMPARE(storedUnits(), before);
    QCOMPARE(unit->webPort(), 80);
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5566 81 http"));
    // It is still the one to change.
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    managed.field("Port")->setText(QStringLiteral("5568"));
    managed.click("ChangeHost");
    QCOMPARE(unit->zmqPort(), 5568);
}

void TestDlgDeviceManager::changeToAnEmptyHostDoesNothing()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    managed.enter(QStringLiteral("  "), QStringLiteral("7000"));
    managed.click("ChangeHost");
    QCOMPARE(unit->host(), QStringLiteral("127.0.0.1"));
    QCOMPARE(unit->zmqPort(), 5566);
    QCOMPARE(managed.fields(), QStringLiteral("   7000 80 http"));
    QCOMPARE(managed.enabledButtons(), unitLoaded);
}

void TestDlgDeviceManager::changeFollowsTheFieldsInOrder()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    managed.enter(QStringLiteral("localhost"), QStringLiteral("1"), QStringLiteral("2"),
                  QStringLiteral("https"));
    QStringList order;
    const auto note = [&](const char* name) { return [&order, name] { order << QLatin1String(name); }; };
    connect(unit, &Device::hostChanged, this, note("host"));
    connect(unit, &Device::zmqPortChanged, this, note("port"));
    connect(unit, &Device::webPortChanged, this, note("web port"));
    connect(unit, &Device::webSchemeChanged, this, note("scheme"));
    managed.click("ChangeHost");
    QCOMPARE(order.join(QLatin1Char('|')), QStringLiteral("host|port|web port|scheme"));
}

void TestDlgDeviceManager::changeNeedsASelection()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    managed.select(unit);
    managed.enter(QStringLiteral("localhost"));
    // A current row alone is no selection.
    QVERIFY(!managed.button("ChangeHost")->isEnabled());
    managed.invoke("ChangeHost");
    QCOMPARE(unit->host(), QStringLiteral("127.0.0.1"));
    QCOMPARE(managed.fields(), QStringLiteral("localhost 5566 80 http"));
}

void TestDlgDeviceManager::changeRefreshesNoConnectionCells()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    const QString before = managed.row(0);
    managed.enter(QStringLiteral("127.0.0.2"), QStringLiteral("7000"), QStringLiteral("81"),
                  QStringLiteral("https"));
    managed.click("ChangeHost");
    QCOMPARE(managed.row(0), before);
    managed.dialog()->rebuildList();
    QCOMPARE(managed.row(0), QStringLiteral("127.0.0.2|127.0.0.2|7000|81|https||Nicht überwacht"));
}

void TestDlgDeviceManager::changedUnitMayBeChangedAgain()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    for (const int port : { 1, 2, 3 }) {
        managed.clickRow(unit);
        managed.field("WebPort")->setText(QString::number(port));
        managed.click("ChangeHost");
        QCOMPARE(unit->webPort(), port);
    }
}

void TestDlgDeviceManager::dialogKeepsItsStateWhenClosed()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    managed.field("WebPort")->setText(QStringLiteral("8080"));
    const DlgDeviceManager* dialog = managed.dialog();
    managed.click("Close");
    QVERIFY(!dialog->isVisible());
    QVERIFY(managed.show());
    QCOMPARE(managed.dialog(), dialog);
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5566 8080 http"));
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    QCOMPARE(managed.tree()->currentItem(), managed.rowOf(unit));
    managed.click("ChangeHost");
    QCOMPARE(unit->webPort(), 8080);
}

QTEST_MAIN(TestDlgDeviceManager)
#include "tst_dlgdevicemanager.moc"
