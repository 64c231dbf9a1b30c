// SPDX-License-Identifier: MIT
// Adding and changing units by means of the entry fields.
#include "support/managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/literals.h"
#include "support/messageboxes.h"
#include "support/teststore.h"

#include <QSettings>
#include <QtTest>

namespace {
const auto emptyFields = " 5566 80 http"_s;
const auto duplicateText = "Dieser Host/Port existiert bereits in der Liste!"_s;
} // namespace

class TestDlgDeviceManager : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void entryBecomesAUnit_data()
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

    void entryBecomesAUnit()
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
                 QStringList({ unit->host(), "127.0.0.1"_s, QString::number(unit->zmqPort()),
                               QString::number(unit->webPort()), unit->webScheme(), QString(),
                               "Nicht überwacht"_s })
                     .join(QLatin1Char('|')));
    }

    void emptyHostAddsNothing_data()
    {
        QTest::addColumn<QString>("host");
        QTest::newRow("empty") << QString();
        QTest::newRow("blanks") << "  \t "_s;
    }

    void emptyHostAddsNothing()
    {
        QFETCH(const QString, host);
        ManagedWindow managed;
        managed.enter(host, "7000"_s, "81"_s, "https"_s);
        const QString entered = managed.fields();
        managed.click("AddHost");
        QCOMPARE(managed.list()->count(), 0);
        QCOMPARE(managed.fields(), entered);
        QVERIFY(!QApplication::activeModalWidget());
    }

    void sameHostAndPortIsRefused()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.enter(" 127.0.0.1 "_s, "5566"_s, "81"_s, "https"_s);
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

    void hostOrPortMayDiffer()
    {
        ManagedWindow managed;
        managed.add(5566);
        managed.add(5567);
        managed.enter("localhost"_s);
        managed.click("AddHost");
        // Exactly as typed: the case of letters counts.
        managed.enter("LOCALHOST"_s);
        managed.click("AddHost");
        QCOMPARE(storedUnits(),
                 QStringLiteral("127.0.0.1:5566 80 http false|127.0.0.1:5567 80 http false|"
                                "localhost:5566 80 http false|LOCALHOST:5566 80 http false"));
        QCOMPARE(managed.column(0), "127.0.0.1|127.0.0.1|localhost|LOCALHOST"_s);
    }

    void addingDropsTheSelection()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        managed.add(5567);
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

    void changeIsStored()
    {
        ManagedWindow managed;
        Device* unit = managed.add(5566);
        managed.add(5567);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 80 http"_s);
        managed.enter(" localhost "_s, "7000"_s, "x"_s, " https"_s);
        managed.click("ChangeHost");
        QCOMPARE(unit->host(), "localhost"_s);
        QCOMPARE(storedUnits(), "localhost:7000 0 https false|127.0.0.1:5567 80 http false"_s);
        QCOMPARE(managed.fields(), emptyFields);
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

    void changeOfTheUnitsOwnEntry()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.field("WebPort")->setText("8080"_s);
        managed.click("ChangeHost");
        QCOMPARE(storedUnits(), "127.0.0.1:5566 8080 http false"_s);
        QCOMPARE(managed.fields(), emptyFields);
    }

    void changeToAnotherUnitsEntryIsRefused()
    {
        ManagedWindow managed;
        managed.add(5566);
        const Device* unit = managed.add(5567);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.enter("127.0.0.1"_s, "5566"_s, "81"_s);
        const QString before = storedUnits();
        const MessageBoxes boxes;
        managed.click("ChangeHost");
        compareDuplicateWarning(boxes, managed);
        QCOMPARE(storedUnits(), before);
        QCOMPARE(unit->webPort(), 80);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 81 http"_s);
        // It is still the one to change.
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        managed.field("Port")->setText("5568"_s);
        managed.click("ChangeHost");
        QCOMPARE(unit->zmqPort(), 5568);
    }

    void changeToAnEmptyHostDoesNothing()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.enter("  "_s, "7000"_s);
        managed.click("ChangeHost");
        QCOMPARE(unit->host(), "127.0.0.1"_s);
        QCOMPARE(unit->zmqPort(), 5566);
        QCOMPARE(managed.fields(), "   7000 80 http"_s);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
    }

    void changeFollowsTheFieldsInOrder()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.enter("localhost"_s, "1"_s, "2"_s, "https"_s);
        QStringList order;
        const auto note = [&](const char* name) { return [&order, name] { order << QLatin1String(name); }; };
        connect(unit, &Device::hostChanged, this, note("host"));
        connect(unit, &Device::zmqPortChanged, this, note("port"));
        connect(unit, &Device::webPortChanged, this, note("web port"));
        connect(unit, &Device::webSchemeChanged, this, note("scheme"));
        managed.click("ChangeHost");
        QCOMPARE(order.join(QLatin1Char('|')), "host|port|web port|scheme"_s);
    }

    void changeNeedsASelection()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        managed.select(unit);
        managed.enter("localhost"_s);
        // A current row alone is no selection.
        QVERIFY(!managed.button("ChangeHost")->isEnabled());
        managed.invoke("ChangeHost");
        QCOMPARE(unit->host(), "127.0.0.1"_s);
        QCOMPARE(managed.fields(), "localhost 5566 80 http"_s);
    }

    void changeRefreshesNoConnectionCells()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        const QString before = managed.row(0);
        managed.enter("127.0.0.2"_s, "7000"_s, "81"_s, "https"_s);
        managed.click("ChangeHost");
        QCOMPARE(managed.row(0), before);
        managed.dialog()->rebuildList();
        QCOMPARE(managed.row(0), "127.0.0.2|127.0.0.2|7000|81|https||Nicht überwacht"_s);
    }

    void changedUnitMayBeChangedAgain()
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

    void dialogKeepsItsStateWhenClosed()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.field("WebPort")->setText("8080"_s);
        const DlgDeviceManager* dialog = managed.dialog();
        managed.click("Close");
        QVERIFY(!dialog->isVisible());
        QVERIFY(managed.show());
        QCOMPARE(managed.dialog(), dialog);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 8080 http"_s);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        QCOMPARE(managed.tree()->currentItem(), managed.rowOf(unit));
        managed.click("ChangeHost");
        QCOMPARE(unit->webPort(), 8080);
    }

private:
    void compareDuplicateWarning(const MessageBoxes& boxes, const ManagedWindow& managed)
    {
        QCOMPARE(boxes.count(), 1);
        const MessageBoxes::Box box = boxes.seen().first();
        QCOMPARE(box.text, duplicateText);
        QCOMPARE(box.title, "QorMonitor - Geräteverwaltung"_s);
        QCOMPARE(box.icon, QMessageBox::Warning);
        QCOMPARE(box.buttons, QMessageBox::Ok);
        QCOMPARE(box.parent, static_cast<const QWidget*>(managed.dialog()));
    }

    TestStore m_store;
};

QTEST_MAIN(TestDlgDeviceManager)
#include "tst_dlgdevicemanager.moc"
