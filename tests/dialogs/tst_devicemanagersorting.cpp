// SPDX-License-Identifier: MIT
// Rows that the user has sorted, and what then happens to them.
#include "managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/teststore.h"

#include <QHeaderView>
#include <QSettings>
#include <QtTest>

class TestDeviceManagerSorting : public QObject {
    Q_OBJECT

private slots:
    void init();
    void headerClickSorts();
    void portsSortAsNumbers_data();
    void portsSortAsNumbers();
    void sortingLeavesTheListAlone();
    void rebuildKeepsTheSorting();
    void refreshNeitherSkipsNorRepeats();
    void bothCellsAreWrittenAlthoughTheRowMoves();
    void buttonsFollowTheMovedRow();

private:
    void addNamed(ManagedWindow& managed, const QStringList& names);

    TestStore m_store;
};

void TestDeviceManagerSorting::init()
{
    m_store.clear();
    QSettings().setValue(QStringLiteral("AutoCheckUpdates"), false);
}

void TestDeviceManagerSorting::addNamed(ManagedWindow& managed, const QStringList& names)
{
    for (int i = 0; i < names.size(); ++i)
        managed.add(7000 + i)->setQorName(names.at(i));
}

void TestDeviceManagerSorting::headerClickSorts()
{
    ManagedWindow managed;
    addNamed(managed, { QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("a") });
    QCOMPARE(managed.column(5), QStringLiteral("b|c|a"));
    QVERIFY(managed.show());
    QHeaderView* header = managed.tree()->header();
    const QPoint place(header->sectionViewportPosition(5) + 20, header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, place);
    QCOMPARE(managed.column(5), QStringLiteral("a|b|c"));
    QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, place);
    QCOMPARE(managed.column(5), QStringLiteral("c|b|a"));
}

void TestDeviceManagerSorting::portsSortAsNumbers_data()
{
    QTest::addColumn<int>("column");
    QTest::newRow("QOR port") << 2;
    QTest::newRow("web port") << 3;
}

void TestDeviceManagerSorting::portsSortAsNumbers()
{
    QFETCH(const int, column);
    ManagedWindow managed;
    for (const int port : { 9, 10000, 80, 443, 0 })
        managed.add(port, QString::number(port));
    managed.tree()->sortItems(column, Qt::AscendingOrder);
    QCOMPARE(managed.column(column), QStringLiteral("0|9|80|443|10000"));
    managed.tree()->sortItems(column, Qt::DescendingOrder);
    QCOMPARE(managed.column(column), QStringLiteral("10000|443|80|9|0"));
    // Shown as plain text all the same.
    QCOMPARE(managed.tree()->topLevelItem(0)->data(column, Qt::DisplayRole),
             QVariant(QStringLiteral("10000")));
}

void TestDeviceManagerSorting::sortingLeavesTheListAlone()
{
    ManagedWindow managed;
    managed.add(9);
    managed.add(8);
    managed.tree()->sortItems(2, Qt::AscendingOrder);
    QCOMPARE(managed.column(2), QStringLiteral("8|9"));
    managed.select(managed.list()->at(0));
    managed.invoke("StopMonitor");
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:9 80 http false|127.0.0.1:8 80 http false"));
}

void TestDeviceManagerSorting::rebuildKeepsTheSorting()
{
    ManagedWindow managed;
    managed.add(9);
    managed.tree()->sortItems(2, Qt::AscendingOrder);
    managed.add(10);
    managed.add(8);
    QCOMPARE(managed.column(2), QStringLiteral("8|9|10"));
    managed.dialog()->rebuildList();
    QCOMPARE(managed.column(2), QStringLiteral("8|9|10"));
}

void TestDeviceManagerSorting::refreshNeitherSkipsNorRepeats()
{
    ManagedWindow managed;
    addNamed(managed, { QStringLiteral("d"), QStringLiteral("c"), QStringLiteral("b"), QStringLiteral("a") });
    managed.tree()->sortItems(5, Qt::AscendingOrder);
    for (int i = 0; i < 4; ++i)
        managed.tree()->topLevelItem(i)->setText(6, QStringLiteral("old"));
    for (int i = 0; i < 4; ++i) {
        Device* unit = managed.list()->at(i);
        unit->setQorName(QStringLiteral("z%1").arg(i));
        QCOMPARE(managed.rowOf(unit)->text(5), unit->qorName());
        QCOMPARE(managed.rowOf(unit)->text(6), QStringLiteral("Nicht überwacht"));
        QCOMPARE(managed.column(6).count(QLatin1String("old")), 3 - i);
    }
    QCOMPARE(managed.column(5), QStringLiteral("z0|z1|z2|z3"));
}

void TestDeviceManagerSorting::bothCellsAreWrittenAlthoughTheRowMoves()
{
    ManagedWindow managed;
    addNamed(managed, { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") });
    Device* unit = managed.list()->at(0);
    // A unit in two rows: the second moves up to the first one's place before it has been looked at.
    auto* copy = new QTreeWidgetItem({ {}, {}, {}, {}, {}, QStringLiteral("aa"), QStringLiteral("old") });
    copy->setData(0, Qt::UserRole, QVariant::fromValue(unit));
    managed.tree()->addTopLevelItem(copy);
    managed.tree()->sortItems(5, Qt::AscendingOrder);
    QCOMPARE(managed.column(5), QStringLiteral("a|aa|b|c"));
    unit->setQorName(QStringLiteral("d"));
    QCOMPARE(managed.column(5), QStringLiteral("b|c|d|d"));
    QVERIFY(!managed.column(6).contains(QLatin1String("old")));
}

void TestDeviceManagerSorting::buttonsFollowTheMovedRow()
{
    ManagedWindow managed;
    addNamed(managed, { QStringLiteral("a"), QStringLiteral("b") });
    Device* unit = managed.list()->at(0);
    managed.tree()->sortItems(5, Qt::AscendingOrder);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    unit->setQorName(QStringLiteral("z"));
    QCOMPARE(managed.column(5), QStringLiteral("b|z"));
    QCOMPARE(managed.tree()->currentItem(), managed.rowOf(unit));
    managed.click("Remove");
    QCOMPARE(managed.column(5), QStringLiteral("b"));
}

QTEST_MAIN(TestDeviceManagerSorting)
#include "tst_devicemanagersorting.moc"
