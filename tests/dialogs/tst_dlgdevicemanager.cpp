// SPDX-License-Identifier: MIT
// The device manager's form, and what its rows show, in which order. What the user does with it is tested in
// tst_devicemanagerentry.cpp and tst_devicemanageractions.cpp.
#include "dialogs/dlgdevicemanager.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/formoutline.h"
#include "support/logcapture.h"
#include "support/managedwindow.h"
#include "support/publisher.h"
#include "support/teststore.h"
#include "support/units.h"

#include <QHeaderView>
#include <QLabel>
#include <QStyledItemDelegate>
#include <QtTest>

namespace {

const auto notMonitored = "Nicht überwacht"_s;

// Draws as always, and keeps the texts.
class PaintedTexts : public QStyledItemDelegate {
public:
    mutable QStringList texts;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        texts << option->text;
    }
};

void compareLine(const LogCapture& log, const QString& text)
{
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().first().type, QtCriticalMsg);
    QCOMPARE(log.lines().first().text, text);
}

void addNamed(ManagedWindow& managed, const QStringList& names)
{
    for (int i = 0; i < names.size(); ++i)
        managed.add(7000 + i)->setQorName(names.at(i));
}

} // namespace

class TestDlgDeviceManager : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }

    void formLooksAsDesigned()
    {
        ManagedWindow managed;
        const DlgDeviceManager* dialog = managed.dialog();
        QCOMPARE(formOutline(*dialog),
                 QStringList({
                     "DlgDeviceManager 1080x375 \"QorMonitor - Geräteverwaltung\""_s,
                     "QVBoxLayout verticalLayout_2:"_s,
                     "  QHBoxLayout horizontalLayout_3"_s,
                     "  QGroupBox groupBox \"QORweb hinzufügen\""_s,
                     "  QHBoxLayout horizontalLayout"_s,
                     "QHBoxLayout horizontalLayout_3:"_s,
                     "  QTreeWidget treeWidget"_s,
                     "  QVBoxLayout verticalLayout"_s,
                     "QVBoxLayout verticalLayout:"_s,
                     "  QPushButton pushButtonMonitor \"Überwachung aktivieren\""_s,
                     "  QPushButton pushButtonStopMonitor \"Überwachung deaktivieren\""_s,
                     "  QPushButton pushButtonRemove \"Gerät entfernen\""_s,
                     "  QPushButton pushButtonRefresh \"Status aktualisieren\""_s,
                     "  20x40 Minimum Expanding"_s,
                     "QHBoxLayout horizontalLayout_2:"_s,
                     "  QLabel label \"Hostname / IP Adresse:\""_s,
                     "  QLineEdit lineEditNewHost"_s,
                     "  QLabel label_2 \"QOR Port\""_s,
                     "  QLineEdit lineEditPort \"5566\""_s,
                     "  QLabel label_3 \"Web Port\""_s,
                     "  QLineEdit lineEditWebPort \"80\""_s,
                     "  QLabel label_4 \"Web Scheme\""_s,
                     "  QLineEdit lineEditWebScheme \"http\""_s,
                     "  QPushButton pushButtonChangeHost \"Ändern\""_s,
                     "  QPushButton pushButtonAddHost \"Hinzufügen\""_s,
                     "QHBoxLayout horizontalLayout:"_s,
                     "  40x20 Expanding Minimum"_s,
                     "  QPushButton pushButtonClose \"Schließen\""_s,
                 }));
        QCOMPARE(dialog->parent(), managed.window());
        QCOMPARE(dialog->windowFlags(), QDialog().windowFlags());
        QVERIFY(!dialog->isModal());
        QVERIFY(!dialog->isVisible());
        QCOMPARE(managed.enabledButtons(), nothingLoaded);
    }

    void shortFieldsAreNarrowAndCentred_data()
    {
        QTest::addColumn<QString>("label");
        QTest::addColumn<int>("maximumWidth");
        QTest::addColumn<Qt::Alignment>("alignment");
        QTest::newRow("NewHost") << "label"_s << QWIDGETSIZE_MAX << QLineEdit().alignment();
        QTest::newRow("Port") << "label_2"_s << 60 << Qt::Alignment(Qt::AlignCenter);
        QTest::newRow("WebPort") << "label_3"_s << 60 << Qt::Alignment(Qt::AlignCenter);
        QTest::newRow("WebScheme") << "label_4"_s << 60 << Qt::Alignment(Qt::AlignCenter);
    }

    void shortFieldsAreNarrowAndCentred()
    {
        QFETCH(const QString, label);
        const ManagedWindow managed;
        const QLineEdit* field = managed.field(QTest::currentDataTag());
        QTEST(field->maximumWidth(), "maximumWidth");
        QTEST(field->alignment(), "alignment");
        QCOMPARE(managed.dialog()->findChild<QLabel*>(label)->buddy(), field);
    }

    void columnsHaveHeadersAndWidths()
    {
        const ManagedWindow managed;
        const QTreeWidget* tree = managed.tree();
        QStringList headers;
        for (int column = 0; column < tree->columnCount(); ++column)
            headers << tree->headerItem()->text(column);
        QCOMPARE(headers.join(QLatin1Char('|')),
                 "Host|IP Adresse|QOR Port|Web Port|Web Scheme|QORweb Name|Status"_s);
        QVERIFY(!tree->rootIsDecorated());
        QCOMPARE(tree->columnWidth(0), 150);
        for (const int column : { 1, 2 })
            QCOMPARE(tree->columnWidth(column), 100);
        for (const int column : { 3, 4, 5 })
            QCOMPARE(tree->columnWidth(column), tree->header()->defaultSectionSize());
    }

    void constructionIsLogged()
    {
        ManagedWindow managed;
        const LogCapture log;
        const DlgDeviceManager dialog(managed.window());
        compareLine(log, "DlgDeviceManager::updateDevice()"_s);
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
        Device* unit = managed.add();
        const QTreeWidgetItem* row = managed.tree()->topLevelItem(0);
        QCOMPARE(row->type(), 0);
        const QVariant bound = row->data(0, 256);
        QCOMPARE(QByteArray(bound.typeName()), QByteArray("Device*"));
        QCOMPARE(bound.value<Device*>(), unit);
    }

    void rebuildIsLogged()
    {
        ManagedWindow managed;
        managed.add();
        LogCapture log;
        managed.dialog()->rebuildList();
        compareLine(log, "DlgDeviceManager::rebuildList()"_s);
        log.clear();
        emit managed.list()->listChanged();
        QVERIFY(log.contains(QtCriticalMsg, "DlgDeviceManager::rebuildList()"_s));
        QCOMPARE(managed.tree()->topLevelItemCount(), 1);
    }

    void updateRefreshesNameAndStatusOfOneUnit()
    {
        ManagedWindow managed;
        Device* first = managed.add(5566);
        managed.add(5567);
        for (int column = 0; column < 7; ++column)
            managed.tree()->topLevelItem(0)->setText(column, "old"_s);
        const QString other = managed.row(1);
        const LogCapture log;
        first->setQorName("QOR-1"_s);
        QCOMPARE(managed.row(0), "old|old|old|old|old|QOR-1|Nicht überwacht"_s);
        QCOMPARE(managed.row(1), other);
        QCOMPARE(log.count(QtCriticalMsg, "DlgDeviceManager::updateDevice()"_s), 1);
    }

    void updateListOnlyLogs()
    {
        ManagedWindow managed;
        managed.add();
        managed.tree()->topLevelItem(0)->setText(5, "old"_s);
        // A row without a unit is not refreshed either.
        managed.tree()->topLevelItem(0)->setData(0, Qt::UserRole, QVariant::fromValue<Device*>(nullptr));
        const QString before = managed.row(0);
        const LogCapture log;
        managed.dialog()->updateList();
        QCOMPARE(managed.row(0), before);
        compareLine(log, "DlgDeviceManager::updateDevice()"_s);
    }

    void statusFollowsTheUnit()
    {
        Publisher publisher;
        ManagedWindow managed;
        Device* unit = managed.add(publisher.port());
        QCOMPARE(managed.column(6), notMonitored);
        managed.select(unit);
        managed.invoke("Monitor");
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s));
        // The cell is written when the unit's name comes in, after the link has become connected.
        QTRY_COMPARE(managed.column(6), "Verbunden"_s);
        QCOMPARE(managed.column(5), "QOR-1"_s);
        unit->setMonitored(false);
        QCOMPARE(managed.column(6), notMonitored);
    }

    void rowsAreInListOrderUntilAHeaderIsClicked()
    {
        ManagedWindow managed;
        addNamed(managed, { "b"_s, "c"_s, "a"_s });
        QHeaderView* header = managed.tree()->header();
        QCOMPARE(header->sortIndicatorSection(), -1);
        QCOMPARE(managed.column(5), "b|c|a"_s);
        QVERIFY(managed.show());
        const QPoint place(header->sectionViewportPosition(5) + 20, header->height() / 2);
        for (const auto& order : { "a|b|c"_s, "c|b|a"_s }) {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, place);
            QCOMPARE(managed.column(5), order);
        }
    }

    void portsSortAsNumbers()
    {
        ManagedWindow managed;
        for (const int port : { 9, 10000, 80, 443, 0 })
            managed.add(port, QString::number(port));
        for (const int column : { 2, 3 }) {
            managed.tree()->sortItems(column, Qt::AscendingOrder);
            QCOMPARE(managed.column(column), "0|9|80|443|10000"_s);
            managed.tree()->sortItems(column, Qt::DescendingOrder);
            QCOMPARE(managed.column(column), "10000|443|80|9|0"_s);
        }
    }

    void portsReadTheSameEverywhere_data()
    {
        QTest::addColumn<QLocale>("locale");
        // With another minus, and with other digits.
        for (const char* name : { "sv_SE", "ar_EG" })
            QTest::newRow(name) << QLocale(QLatin1String(name));
    }

    void portsReadTheSameEverywhere()
    {
        QFETCH(const QLocale, locale);
        QLocale::setDefault(locale);
        ManagedWindow managed;
        QLocale::setDefault(QLocale::c());
        managed.add(10000, "-1"_s);
        QVERIFY(managed.show());
        PaintedTexts painted;
        managed.tree()->setItemDelegate(&painted);
        managed.tree()->grab();
        QVERIFY(painted.texts.contains("10000"_s));
        QVERIFY(painted.texts.contains("-1"_s));
    }

    void rowsAreOneLineHigh()
    {
        ManagedWindow managed;
        const QString name = "QOR"_s + QString(300, QLatin1Char('\n')) + "2"_s;
        addNamed(managed, { "QOR-1"_s, name });
        QVERIFY(managed.show());
        const QTreeWidget* tree = managed.tree();
        QCOMPARE(tree->visualItemRect(tree->topLevelItem(1)).height(),
                 tree->visualItemRect(tree->topLevelItem(0)).height());
        QCOMPARE(managed.column(5), "QOR-1|"_s + name);
    }

    void sortingLeavesTheListAlone()
    {
        ManagedWindow managed;
        managed.add(9);
        managed.add(8);
        managed.tree()->sortItems(2, Qt::AscendingOrder);
        QCOMPARE(managed.column(2), "8|9"_s);
        managed.select(managed.list()->at(0));
        managed.invoke("StopMonitor");
        QCOMPARE(storedUnits(), "127.0.0.1:9 80 http false|127.0.0.1:8 80 http false"_s);
    }

    void rebuildKeepsTheSorting()
    {
        ManagedWindow managed;
        managed.add(9);
        managed.tree()->sortItems(2, Qt::AscendingOrder);
        managed.add(10);
        managed.add(8);
        QCOMPARE(managed.column(2), "8|9|10"_s);
        managed.dialog()->rebuildList();
        QCOMPARE(managed.column(2), "8|9|10"_s);
    }

    void updateNeitherSkipsNorRepeatsRowsThatMove()
    {
        ManagedWindow managed;
        addNamed(managed, { "d"_s, "c"_s, "b"_s, "a"_s });
        managed.tree()->sortItems(5, Qt::AscendingOrder);
        for (int i = 0; i < 4; ++i)
            managed.tree()->topLevelItem(i)->setText(6, "old"_s);
        for (int i = 0; i < 4; ++i) {
            Device* unit = managed.list()->at(i);
            unit->setQorName("z%1"_s.arg(i));
            QCOMPARE(managed.rowOf(unit)->text(5), unit->qorName());
            QCOMPARE(managed.rowOf(unit)->text(6), notMonitored);
            QCOMPARE(managed.column(6).count(QLatin1String("old")), 3 - i);
        }
        QCOMPARE(managed.column(5), "z0|z1|z2|z3"_s);
    }

    void bothCellsAreWrittenAlthoughTheRowMoves()
    {
        ManagedWindow managed;
        addNamed(managed, { "a"_s, "b"_s, "c"_s });
        Device* unit = managed.list()->at(0);
        // A unit in two rows: the second moves up to the first one's place before it has been looked at.
        auto* copy = new QTreeWidgetItem({ {}, {}, {}, {}, {}, "aa"_s, "old"_s });
        copy->setData(0, Qt::UserRole, QVariant::fromValue(unit));
        managed.tree()->addTopLevelItem(copy);
        managed.tree()->sortItems(5, Qt::AscendingOrder);
        QCOMPARE(managed.column(5), "a|aa|b|c"_s);
        unit->setQorName("d"_s);
        QCOMPARE(managed.column(5), "b|c|d|d"_s);
        QVERIFY(!managed.column(6).contains(QLatin1String("old")));
    }

    void buttonsFollowTheMovedRow()
    {
        ManagedWindow managed;
        addNamed(managed, { "a"_s, "b"_s });
        Device* unit = managed.list()->at(0);
        managed.tree()->sortItems(5, Qt::AscendingOrder);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        unit->setQorName("z"_s);
        QCOMPARE(managed.column(5), "b|z"_s);
        QCOMPARE(managed.tree()->currentItem(), managed.rowOf(unit));
        managed.click("Remove");
        QCOMPARE(managed.column(5), "b"_s);
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestDlgDeviceManager)
#include "tst_dlgdevicemanager.moc"
