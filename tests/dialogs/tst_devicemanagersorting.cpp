// SPDX-License-Identifier: MIT
// Rows that the user has sorted, and what then happens to them.
#include "support/managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/literals.h"
#include "support/teststore.h"

#include <QHeaderView>
#include <QSettings>
#include <QtTest>

class TestDeviceManagerSorting : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void headerClickSorts()
    {
        ManagedWindow managed;
        addNamed(managed, { "b"_s, "c"_s, "a"_s });
        QCOMPARE(managed.column(5), "b|c|a"_s);
        QVERIFY(managed.show());
        QHeaderView* header = managed.tree()->header();
        const QPoint place(header->sectionViewportPosition(5) + 20, header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, place);
        QCOMPARE(managed.column(5), "a|b|c"_s);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, place);
        QCOMPARE(managed.column(5), "c|b|a"_s);
    }

    void portsSortAsNumbers_data()
    {
        QTest::addColumn<int>("column");
        QTest::newRow("QOR port") << 2;
        QTest::newRow("web port") << 3;
    }

    void portsSortAsNumbers()
    {
        QFETCH(const int, column);
        ManagedWindow managed;
        for (const int port : { 9, 10000, 80, 443, 0 })
            managed.add(port, QString::number(port));
        managed.tree()->sortItems(column, Qt::AscendingOrder);
        QCOMPARE(managed.column(column), "0|9|80|443|10000"_s);
        managed.tree()->sortItems(column, Qt::DescendingOrder);
        QCOMPARE(managed.column(column), "10000|443|80|9|0"_s);
        // Shown as plain text all the same.
        QCOMPARE(managed.tree()->topLevelItem(0)->data(column, Qt::DisplayRole), QVariant("10000"_s));
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

    void refreshNeitherSkipsNorRepeats()
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
            QCOMPARE(managed.rowOf(unit)->text(6), "Nicht überwacht"_s);
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
    void addNamed(ManagedWindow& managed, const QStringList& names)
    {
        for (int i = 0; i < names.size(); ++i)
            managed.add(7000 + i)->setQorName(names.at(i));
    }

    TestStore m_store;
};

QTEST_MAIN(TestDeviceManagerSorting)
#include "tst_devicemanagersorting.moc"
