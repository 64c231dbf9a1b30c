// SPDX-License-Identifier: MIT
// Which rows of the message list stay when a unit says something else, and which come and go.
#include "devices/device.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QtTest>

Q_DECLARE_METATYPE(QJsonArray)

class TestKeptRows : public WindowTest {
    Q_OBJECT

private slots:
    void asManyRowsAsCanStay_data()
    {
        QTest::addColumn<QJsonArray>("before");
        QTest::addColumn<QJsonArray>("after");
        // For each row behind the unit's first: its row of before, or -1 for a new one.
        QTest::addColumn<QList<int>>("origins");
        const auto a = warning("a"_s);
        const auto b = warning("b"_s);
        const auto c = warning("c"_s);
        const auto row = [](const char* name, const QJsonArray& before, const QJsonArray& after,
                            const QList<int>& origins) { QTest::newRow(name) << before << after << origins; };
        row("first", {}, { a }, { -1 });
        row("last", { a }, {}, {});
        row("changed", { a, b, c }, { a, warning("x"_s), c }, { 0, 1, 2 });
        row("changed time", { a, b }, { a, warning("b"_s, "09:00:00"_s) }, { 0, 1 });
        row("two for one", { a, c }, { warning("x"_s), b, c }, { 0, -1, 1 });
        row("one for two", { a, b, c }, { warning("x"_s), c }, { 0, 2 });
        row("in front", { b, c }, { a, b, c }, { -1, 0, 1 });
        row("between", { a, c }, { a, b, c }, { 0, -1, 1 });
        row("behind", { a, b }, { a, b, c }, { 0, 1, -1 });
        row("front gone", { a, b, c }, { b, c }, { 1, 2 });
        row("middle gone", { a, b, c }, { a, c }, { 0, 2 });
        row("end gone", { a, b, c }, { a, b }, { 0, 1 });
        row("one of the same gone", { a, a, a }, { a, a }, { 0, 1 });
        row("one of the same more", { a, a }, { a, a, a }, { 0, 1, -1 });
        row("other order", { a, b, c }, { c, b, a }, { 0, 1, 2 });
    }

    void asManyRowsAsCanStay()
    {
        QFETCH(const QJsonArray, before);
        QFETCH(const QJsonArray, after);
        QFETCH(const QList<int>, origins);
        Device* first = addUnlinkedUnit();
        Device* unit = addUnlinkedUnit();
        Device* last = addUnlinkedUnit();
        for (Device* other : { first, last })
            other->setWarnings({ warning("o"_s), warning("p"_s) });
        unit->setWarnings(before);
        const auto old = rows();
        unit->setWarnings(after);

        QCOMPARE(column(2), displayTexts(*first) + displayTexts(*unit) + displayTexts(*last));
        auto expected = old.mid(0, 4);
        for (const int origin : origins)
            expected.append(origin == -1 ? messages()->topLevelItem(expected.size()) : old.at(4 + origin));
        QCOMPARE(rows(), expected + old.mid(4 + before.size()));
        for (int i = 0; i < after.size(); ++i) {
            const QTreeWidgetItem* row = messages()->topLevelItem(4 + i);
            QCOMPARE(old.contains(row), origins.at(i) != -1);
            QVERIFY(row->text(0).endsWith(after.at(i).toObject().value("time"_s).toString()));
            QCOMPARE(row->data(0, Qt::UserRole).value<Device*>(), unit);
        }
    }

    void rowsInFrontOfAUnitThatGoesStay()
    {
        addUnlinkedUnit();
        Device* second = addUnlinkedUnit();
        addUnlinkedUnit();
        const auto old = rows();
        units().removeDevice(second);
        QCOMPARE(messages()->topLevelItemCount(), 2);
        QCOMPARE(messages()->topLevelItem(0), old.first());
    }

    void sameTextInAnotherColourIsAnotherRow()
    {
        Device* unit = addUnlinkedUnit();
        unit->processQorMessage(newerVersionInfo("B"_s));
        QJsonObject same = unit->messages().last().toObject();
        unit->setWarnings({ same });
        const QBrush red = messages()->topLevelItem(2)->background(0);
        QVERIFY(messages()->topLevelItem(1)->background(0) != red);
        unit->processQorMessage(versionInfo("B"_s, "2.2"_s, "02. Mar 2025"_s, "2.2"_s, "02. Mar 2025"_s));
        QCOMPARE(messages()->topLevelItemCount(), 2);
        QCOMPARE(messages()->topLevelItem(1)->background(0), red);
    }

private:
    QList<const QTreeWidgetItem*> rows() const
    {
        QList<const QTreeWidgetItem*> result;
        for (int i = 0; i < messages()->topLevelItemCount(); ++i)
            result.append(messages()->topLevelItem(i));
        return result;
    }
};

QTEST_MAIN(TestKeptRows)
#include "tst_keptrows.moc"
