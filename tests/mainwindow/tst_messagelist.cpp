// SPDX-License-Identifier: MIT
// Which rows the message list shows, in which order and colour.
#include "devices/device.h"
#include "mainwindow/messagecolour.h"
#include "support/publisher.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QBrush>
#include <QHeaderView>
#include <QRegularExpression>
#include <QtTest>

namespace {
// How a unit comes into a state; the publisher is its own.
using Lead = std::function<void(Publisher& publisher)>;
// Longer than a unit may be silent.
constexpr int silenceMs = 8000;
const auto fan = "Lüfter steht"_s;
} // namespace

Q_DECLARE_METATYPE(Lead)
Q_DECLARE_METATYPE(std::optional<Qt::GlobalColor>)

class TestMessageList : public WindowTest {
    Q_OBJECT

private slots:
    void listHasThreeColumns()
    {
        const QTreeWidget* list = messages();
        QCOMPARE(list->columnCount(), 3);
        QCOMPARE(list->headerItem()->text(0), "Zeit"_s);
        QCOMPARE(list->headerItem()->text(1), "QOR Name"_s);
        QCOMPARE(list->headerItem()->text(2), "Meldung"_s);
        QCOMPARE(list->columnWidth(0), 150);
        QCOMPARE(list->columnWidth(1), 200);
        QVERIFY(list->header()->stretchLastSection());
        QVERIFY(!list->isSortingEnabled());
    }

    void timeHasTheWholeColumn()
    {
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        messages()->addTopLevelItem(new QTreeWidgetItem({ "2025-03-01 07:08:09"_s }));
        // No place for branches: the rows have none, and the time would not fit beside it.
        QVERIFY(!messages()->rootIsDecorated());
        QCOMPARE(messages()->visualRect(messages()->model()->index(0, 0)).width(),
                 messages()->columnWidth(0));
    }

    void onlyMonitoredUnitsHaveRows()
    {
        m_window->rebuildMessageList();
        QCOMPARE(messages()->topLevelItemCount(), 0);
        const Device* unit = addUnit(units(), 1);
        QVERIFY(!unit->messages().isEmpty());
        m_window->rebuildMessageList();
        QCOMPARE(messages()->topLevelItemCount(), 0);
        addUnlinkedUnit();
        m_window->rebuildMessageList();
        QCOMPARE(column(2), QStringList(disconnectedText));
    }

    void classDecidesTheColour_data()
    {
        QTest::addColumn<QString>("messageClass");
        QTest::addColumn<std::optional<Qt::GlobalColor>>("colour");
        const auto row = [](const char* messageClass, std::optional<Qt::GlobalColor> colour) {
            QTest::newRow(messageClass) << QString::fromLatin1(messageClass) << colour;
        };
        row("error", Qt::red);
        row("warning", Qt::yellow);
        row("confirmation", Qt::green);
        row("Warning", std::nullopt);
        row("ERROR", std::nullopt);
        row("Confirmation", std::nullopt);
        row("warning ", std::nullopt);
        row("", std::nullopt);
    }

    void classDecidesTheColour()
    {
        QFETCH(const QString, messageClass);
        QFETCH(const std::optional<Qt::GlobalColor>, colour);
        QVERIFY(messageColour(messageClass) == colour);
    }

    void unitShowsItsStateUntilItIsSwitchedOff_data()
    {
        QTest::addColumn<Lead>("lead");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QColor>("colour");
        QTest::newRow("waiting") << Lead([](Publisher&) {}) << pendingText << QColor(Qt::yellow);
        QTest::newRow("connected") << Lead([](Publisher& publisher) { publisher.send(statusReport()); })
                                   << connectedText << QColor(Qt::green);
        QTest::newRow("silent") << Lead([](Publisher& publisher) {
            publisher.send(statusReport({}, { warning(fan) }));
        }) << disconnectedText << QColor(Qt::red);
    }

    void unitShowsItsStateUntilItIsSwitchedOff()
    {
        QFETCH(const Lead, lead);
        QFETCH(const QString, text);
        QFETCH(const QColor, colour);
        Publisher publisher;
        Device* unit = addMonitoredUnit(units(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        lead(publisher);
        QTRY_COMPARE_WITH_TIMEOUT(column(2), QStringList(text), silenceMs);
        QCOMPARE(colours(), QVector<QColor>({ colour }));
        unit->setMonitored(false);
        QCOMPARE(messages()->topLevelItemCount(), 0);
    }

    void everyMessageIsARowInItsColour()
    {
        Publisher publisher;
        addMonitoredUnit(units(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(newerVersionInfo("QOR-1"_s));
        publisher.send(statusReport("QOR-1"_s, { warning(fan) }));
        const auto newVersion = "Neue SW Version verfügbar V2.2"_s;
        QTRY_COMPARE(column(2), QStringList({ connectedText, newVersion, fan }));
        QCOMPARE(colours(), QVector<QColor>({ Qt::green, Qt::yellow, Qt::red }));
        const QTreeWidgetItem* row = messages()->topLevelItem(0);
        QCOMPARE(row->type(), 0);
        QCOMPARE(row->childCount(), 0);

        publisher.send("no JSON");
        QTRY_COMPARE(column(2), QStringList({ connectedText, incompatibleText, newVersion }));
        QCOMPARE(colours(), QVector<QColor>({ Qt::green, Qt::red, Qt::yellow }));
    }

    void rowShowsTimeNameAndText()
    {
        Device* unit = addUnlinkedUnit();
        unit->processQorMessage(statusReport("QOR-1"_s, { warning(fan) }));
        QCOMPARE(column(2), QStringList({ disconnectedText, fan }));
        QCOMPARE(column(1), QStringList({ "QOR-1"_s, "QOR-1"_s }));
        QCOMPARE(column(0).at(1), "2025-03-02 08:15:00"_s);
        const QRegularExpression now("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d$"_s);
        QVERIFY(now.match(column(0).at(0)).hasMatch());
        // Gone warnings leave the list.
        unit->processQorMessage(statusReport("QOR-1"_s));
        QCOMPARE(column(2), QStringList(disconnectedText));
    }

    void missingKeysGiveEmptyTexts()
    {
        const QJsonObject onlyDate { { "date"_s, "2025-03-01"_s } };
        const QJsonObject onlyTime { { "time"_s, "07:08:09"_s } };
        addUnlinkedUnit()->setWarnings({ QJsonObject(), onlyDate, onlyTime, 17 });
        const auto blank = " "_s;
        QCOMPARE(column(0).mid(1), QStringList({ blank, "2025-03-01 "_s, " 07:08:09"_s, blank }));
        QCOMPARE(column(1).join(QString()), QString());
        QCOMPARE(column(2), QStringList({ disconnectedText, {}, {}, {}, {} }));
    }

    void listHasNoLimit()
    {
        QJsonArray many;
        for (int i = 0; i < 10000; ++i)
            many.append(warning(QString::number(i)));
        addUnlinkedUnit()->setWarnings(many);
        QCOMPARE(column(2).size(), 10001);
        QCOMPARE(column(2).last(), "9999"_s);
    }

    void unitsAndMessagesKeepTheirOrder()
    {
        Device* first = addUnlinkedUnit();
        Device* second = addUnlinkedUnit();
        // Neither the time of arrival nor the alphabet decides.
        second->processQorMessage(statusReport("A"_s, { warning("a"_s) }));
        first->processQorMessage(statusReport("B"_s, { warning("z"_s), warning("y"_s) }));
        QCOMPARE(column(2), QStringList({ disconnectedText, "z"_s, "y"_s, disconnectedText, "a"_s }));
        QCOMPARE(column(1).join(QString()), "BBBAA"_s);
    }

    void storedUnitsAreShown()
    {
        Publisher publisher;
        m_store.writeUnit(0,
                          { { "Host"_s, loopback },
                            { "ZmqPort"_s, publisher.port() },
                            { "WebPort"_s, 80 },
                            { "WebScheme"_s, "http"_s },
                            { "Monitored"_s, true } });
        restart();
        QCOMPARE(units().count(), 1);
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s));
        QTRY_COMPARE(column(2), QStringList(connectedText));
    }

private:
    // Of the rows, top to bottom; an invalid one where the three columns differ.
    QVector<QColor> colours() const
    {
        QVector<QColor> result;
        for (int i = 0; i < messages()->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* row = messages()->topLevelItem(i);
            const QBrush first = row->background(0);
            const bool alike = row->background(1) == first && row->background(2) == first;
            result << (alike && first.style() == Qt::SolidPattern ? first.color() : QColor());
        }
        return result;
    }
};

QTEST_MAIN(TestMessageList)
#include "tst_messagelist.moc"
