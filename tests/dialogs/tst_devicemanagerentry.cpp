// SPDX-License-Identifier: MIT
// The device manager's entry fields: adding and changing units, with the mouse and with the keyboard.
#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/managedwindow.h"
#include "support/markingtranslator.h"
#include "support/teststore.h"
#include "support/units.h"

#include <QApplication>
#include <QSignalSpy>
#include <QtTest>

namespace {

const auto emptyFields = " 5566 80 http"_s;

// Clicks a button of a dialog whose entry fields hold the host and port of another unit.
void compareRefusal(ManagedWindow& managed, const char* button)
{
    const QString entered = managed.fields();
    const QString stored = storedUnits();
    const int count = managed.list()->count();
    managed.click(button);
    QCOMPARE(managed.boxes.count(), 1);
    managed.boxes.compareLast(QMessageBox::Warning, "QorMonitor - Geräteverwaltung"_s,
                              "Dieser Host/Port existiert bereits in der Liste!"_s, managed.dialog());
    QCOMPARE(managed.fields(), entered);
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    QCOMPARE(managed.list()->count(), count);
    QCOMPARE(storedUnits(), stored);
}

} // namespace

class TestDeviceManagerEntry : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }

    void entryBecomesAUnit_data()
    {
        QTest::addColumn<QStringList>("entry");
        QTest::addColumn<QString>("stored");
        const auto row = [](const char* name, const QString& host, const QString& zmqPort,
                            const QString& webPort, const QString& scheme, const QString& stored) {
            QTest::newRow(name) << QStringList { host, zmqPort, webPort, scheme } << stored;
        };
        const auto http = "http"_s;
        row("plain", loopback, "5566"_s, "80"_s, http, "127.0.0.1:5566 80 http false"_s);
        row("other values", loopback, "7000"_s, "8443"_s, "https"_s, "127.0.0.1:7000 8443 https false"_s);
        row("blanks around", "  127.0.0.1\t"_s, " 5567 "_s, " 81 "_s, " x "_s, "127.0.0.1:5567 81 x false"_s);
        row("letters as web port", loopback, "5566"_s, "abc"_s, http, "127.0.0.1:5566 0 http false"_s);
        row("letters as port", loopback, "12x"_s, "80"_s, http, "127.0.0.1:0 80 http false"_s);
        row("not base ten", loopback, "0x10"_s, "010"_s, http, "127.0.0.1:0 10 http false"_s);
        row("no ports, no scheme", loopback, {}, {}, {}, "127.0.0.1:0 0  false"_s);
        row("out of range", loopback, "-1"_s, "70000"_s, http, "127.0.0.1:-1 70000 http false"_s);
        row("any scheme", loopback, "5566"_s, "80"_s, "gopher"_s, "127.0.0.1:5566 80 gopher false"_s);
        row("more than an integer", loopback, "99999999999"_s, "80"_s, http, "127.0.0.1:0 80 http false"_s);
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
                 "%1|127.0.0.1|%2|%3|%4||Nicht überwacht"_s.arg(unit->host())
                     .arg(unit->zmqPort())
                     .arg(unit->webPort())
                     .arg(unit->webScheme()));
    }

    void emptyHostAddsNothing()
    {
        ManagedWindow managed;
        for (const auto& host : { QString(), "  \t "_s }) {
            managed.enter(host, "7000"_s, "81"_s, "https"_s);
            const QString entered = managed.fields();
            managed.click("AddHost");
            QCOMPARE(managed.list()->count(), 0);
            QCOMPARE(managed.fields(), entered);
            QCOMPARE(managed.boxes.count(), 0);
        }
    }

    void sameHostAndPortIsRefused()
    {
        ManagedWindow managed;
        managed.addLoaded();
        managed.enter(" 127.0.0.1 "_s, "5566"_s, "81"_s, "https"_s);
        compareRefusal(managed, "AddHost");
    }

    void refusalCanBeTranslated()
    {
        const MarkingTranslator marker("DlgDeviceManager");
        ManagedWindow managed;
        managed.add();
        managed.enter(loopback);
        managed.click("AddHost");
        QCOMPARE(managed.boxes.lastText(), "#Dieser Host/Port existiert bereits in der Liste!"_s);
    }

    void hostOrPortMayDiffer()
    {
        ManagedWindow managed;
        managed.add(5566);
        managed.add(5567);
        // Exactly as typed: the case of letters counts.
        for (const auto& host : { "localhost"_s, "LOCALHOST"_s }) {
            managed.enter(host);
            managed.click("AddHost");
        }
        QCOMPARE(storedUnits(),
                 "127.0.0.1:5566 80 http false|127.0.0.1:5567 80 http false|"
                 "localhost:5566 80 http false|LOCALHOST:5566 80 http false"_s);
        QCOMPARE(managed.column(0), "127.0.0.1|127.0.0.1|localhost|LOCALHOST"_s);
        // A change may do the same.
        emit managed.tree()->itemClicked(managed.tree()->topLevelItem(0), 0);
        managed.enter("Localhost"_s);
        managed.click("ChangeHost");
        QCOMPARE(managed.list()->at(0)->host(), "Localhost"_s);
    }

    void addingDropsTheSelection()
    {
        ManagedWindow managed;
        managed.addLoaded(5566);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        managed.add(5567);
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

    void changeIsStored()
    {
        ManagedWindow managed;
        managed.add(5567);
        const Device* unit = managed.addLoaded(5566);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 80 http"_s);
        managed.enter(" localhost "_s, "7000"_s, "x"_s, " https"_s);
        managed.click("ChangeHost");
        QCOMPARE(unit->host(), "localhost"_s);
        QCOMPARE(storedUnits(), "127.0.0.1:5567 80 http false|localhost:7000 0 https false"_s);
        QCOMPARE(managed.fields(), emptyFields);
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

    void changeMayKeepHostAndPort()
    {
        ManagedWindow managed;
        const Device* unit = managed.addLoaded();
        // And again and again.
        for (const int port : { 8080, 1, 2 }) {
            managed.clickRow(unit);
            managed.field("WebPort")->setText(QString::number(port));
            managed.click("ChangeHost");
            QCOMPARE(unit->webPort(), port);
            QCOMPARE(storedUnits(), "127.0.0.1:5566 %1 http false"_s.arg(port));
            QCOMPARE(managed.fields(), emptyFields);
        }
    }

    void changeToAnotherUnitsEntryIsRefused()
    {
        ManagedWindow managed;
        managed.add(5566);
        const Device* unit = managed.addLoaded(5567);
        managed.enter(loopback, "5566"_s, "81"_s);
        compareRefusal(managed, "ChangeHost");
        QCOMPARE(unit->webPort(), 80);
        // It is still the one to change.
        managed.field("Port")->setText("5568"_s);
        managed.click("ChangeHost");
        QCOMPARE(unit->zmqPort(), 5568);
    }

    void changeToAnEmptyHostDoesNothing()
    {
        ManagedWindow managed;
        const Device* unit = managed.addLoaded();
        managed.enter("  "_s, "7000"_s);
        managed.click("ChangeHost");
        QCOMPARE(unit->host(), loopback);
        QCOMPARE(unit->zmqPort(), 5566);
        QCOMPARE(managed.fields(), "   7000 80 http"_s);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
    }

    void changeFollowsTheFieldsInOrder()
    {
        ManagedWindow managed;
        const Device* unit = managed.addLoaded();
        managed.enter("localhost"_s, "1"_s, "2"_s, "https"_s);
        QStringList order;
        const auto note = [&](const char* name) { return [&order, name] { order << QLatin1String(name); }; };
        connect(unit, &Device::hostChanged, this, note("host"));
        connect(unit, &Device::zmqPortChanged, this, note("port"));
        connect(unit, &Device::webPortChanged, this, note("web port"));
        connect(unit, &Device::webSchemeChanged, this, note("scheme"));
        managed.click("ChangeHost");
        QCOMPARE(order, QStringList({ "host"_s, "port"_s, "web port"_s, "scheme"_s }));
    }

    void changeNeedsASelection()
    {
        ManagedWindow managed;
        const Device* unit = managed.add();
        managed.select(unit);
        managed.enter("localhost"_s);
        // A current row alone is no selection.
        QVERIFY(!managed.button("ChangeHost")->isEnabled());
        managed.invoke("ChangeHost");
        QCOMPARE(unit->host(), loopback);
        QCOMPARE(managed.fields(), "localhost 5566 80 http"_s);
    }

    void changeRefreshesNoConnectionCells()
    {
        ManagedWindow managed;
        managed.addLoaded();
        const QString before = managed.row(0);
        managed.enter("127.0.0.2"_s, "7000"_s, "81"_s, "https"_s);
        managed.click("ChangeHost");
        QCOMPARE(managed.row(0), before);
        managed.dialog()->rebuildList();
        QCOMPARE(managed.row(0), "127.0.0.2|127.0.0.2|7000|81|https||Nicht überwacht"_s);
    }

    void closedDialogKeepsItsState()
    {
        ManagedWindow managed;
        const Device* unit = managed.addLoaded();
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

    void returnPressesNoButton_data()
    {
        QTest::addColumn<QString>("focus");
        QTest::addColumn<Qt::Key>("key");
        for (const char* field : { "NewHost", "Port", "WebPort", "WebScheme" }) {
            const QString focus = QLatin1String("lineEdit") + QLatin1String(field);
            QTest::addRow("return in %s", field) << focus << Qt::Key_Return;
            QTest::addRow("enter in %s", field) << focus << Qt::Key_Enter;
        }
        for (const char* button : buttonNames)
            QTest::addRow("return on %s", button)
                << QLatin1String("pushButton") + QLatin1String(button) << Qt::Key_Return;
    }

    void returnPressesNoButton()
    {
        QFETCH(const QString, focus);
        QFETCH(const Qt::Key, key);
        ManagedWindow managed;
        const Device* unit = managed.addLoaded();
        managed.enter("localhost"_s, "7000"_s);
        const QString before = managed.fields();
        QStringList clicked;
        for (const char* name : buttonNames)
            connect(managed.button(name), &QPushButton::clicked, this,
                    [&clicked, name] { clicked << QLatin1String(name); });
        auto* widget = managed.dialog()->findChild<QWidget*>(focus);
        widget->setFocus();
        QTest::keyClick(widget, key);
        QCOMPARE(clicked, QStringList());
        QVERIFY(managed.dialog()->isVisible());
        QCOMPARE(managed.fields(), before);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
        QVERIFY(!unit->monitored());
    }

    void spacePressesTheButton()
    {
        ManagedWindow managed;
        QVERIFY(managed.show());
        const auto press = [&](const char* name) {
            managed.button(name)->setFocus();
            QTest::keyClick(managed.button(name), Qt::Key_Space);
        };
        managed.field("NewHost")->setFocus();
        QTest::keyClicks(managed.field("NewHost"), loopback);
        press("AddHost");
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
        press("Close");
        QVERIFY(!managed.dialog()->isVisible());
    }

    void tabVisitsTheFormInOrder()
    {
        ManagedWindow managed;
        managed.addLoaded();
        managed.tree()->setFocus();
        QStringList visited;
        for (int i = 0; i < 12; ++i) {
            QWidget* focus = QApplication::focusWidget();
            QVERIFY(focus);
            visited << focus->objectName();
            QTest::keyClick(focus, Qt::Key_Tab);
        }
        QCOMPARE(visited.join(QLatin1Char(' ')),
                 "treeWidget pushButtonMonitor pushButtonStopMonitor pushButtonRemove pushButtonRefresh "
                 "lineEditNewHost lineEditPort lineEditWebPort lineEditWebScheme pushButtonChangeHost "
                 "pushButtonAddHost pushButtonClose"_s);
        QCOMPARE(QApplication::focusWidget(), managed.tree());
    }

    void escapeHides()
    {
        ManagedWindow managed;
        managed.addLoaded();
        QTest::keyClick(managed.field("NewHost"), Qt::Key_Escape);
        QVERIFY(!managed.dialog()->isVisible());
        QCOMPARE(managed.fields(), "127.0.0.1 5566 80 http"_s);
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestDeviceManagerEntry)
#include "tst_devicemanagerentry.moc"
