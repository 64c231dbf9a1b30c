// SPDX-License-Identifier: MIT
// Which rows the message list shows, in which order and colour.

#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"
#include "mainwindow/messagecolour.h"
#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/publisher.h"
#include "support/teststore.h"

#include <QBrush>
#include <QHeaderView>
#include <QRegularExpression>
#include <QtTest>

Q_DECLARE_METATYPE(std::optional<Qt::GlobalColor>)

namespace {
constexpr int columns = 3;
// Longer than a unit may be silent.
constexpr int silenceMs = 8000;

const auto waiting = "Warte auf Verbindung ..."_s;
const auto connected = "Verbindung hergestellt"_s;
const auto disconnected = "Verbindung getrennt"_s;
const auto newVersion = "Neue SW Version verfügbar V2.2"_s;

// The colours of the rows, top to bottom; an invalid one where the three columns differ.
QVector<QColor> rowColours(const MainWinQorMonitor& window)
{
    QVector<QColor> result;
    for (int i = 0; i < messageList(window)->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = messageList(window)->topLevelItem(i);
        const QBrush first = row->background(0);
        const bool alike = row->background(1) == first && row->background(2) == first;
        result << (alike && first.style() == Qt::SolidPattern ? first.color() : QColor());
    }
    return result;
}
} // namespace

class TestMessageList : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }
    void listHasThreeColumns()
    {
        const MainWinQorMonitor window;
        const QTreeWidget* list = messageList(window);
        QCOMPARE(list->columnCount(), columns);
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
        MainWinQorMonitor window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTreeWidget* list = messageList(window);
        list->addTopLevelItem(new QTreeWidgetItem({ "2025-03-01 07:08:09"_s }));
        // No place for branches: the rows have none, and the time would not fit beside it.
        QVERIFY(!list->rootIsDecorated());
        QCOMPARE(list->visualRect(list->model()->index(0, 0)).width(), list->columnWidth(0));
    }

    void noUnitGivesNoRows()
    {
        MainWinQorMonitor window;
        QCOMPARE(messageList(window)->topLevelItemCount(), 0);
        window.rebuildMessageList();
        QCOMPARE(messageList(window)->topLevelItemCount(), 0);
    }

    void unmonitoredUnitGivesNoRows()
    {
        MainWinQorMonitor window;
        const Device* device = window.deviceList()->addDevice("127.0.0.1"_s, 5566, 80, "http"_s);
        QVERIFY(!device->messages().isEmpty());
        window.rebuildMessageList();
        QCOMPARE(messageList(window)->topLevelItemCount(), 0);
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

    void waitingUnitIsYellow()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        addMonitoredUnit(*window.deviceList(), publisher.port());
        QTRY_COMPARE(columnTexts(window, 2), QStringList(waiting));
        QCOMPARE(rowColours(window), QVector<QColor>({ Qt::yellow }));
    }

    void everyMessageIsARowInItsColour()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        addMonitoredUnit(*window.deviceList(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(newerVersionInfo("QOR-1"_s));
        publisher.send(statusReport("QOR-1"_s, { warning("Lüfter steht"_s) }));
        QTRY_COMPARE(columnTexts(window, 2), QStringList({ connected, newVersion, "Lüfter steht"_s }));
        QCOMPARE(rowColours(window), QVector<QColor>({ Qt::green, Qt::yellow, Qt::red }));
        const QTreeWidgetItem* row = messageList(window)->topLevelItem(0);
        QCOMPARE(row->type(), 0);
        QCOMPARE(row->childCount(), 0);

        publisher.send("no JSON");
        const auto incompatible = "QOR Version inkompatibel"_s;
        QTRY_COMPARE(columnTexts(window, 2), QStringList({ connected, incompatible, newVersion }));
        QCOMPARE(rowColours(window), QVector<QColor>({ Qt::green, Qt::red, Qt::yellow }));
    }

    void rowShowsTimeNameAndText()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        addMonitoredUnit(*window.deviceList(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s, { warning("Lüfter steht"_s) }));
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 2);
        QCOMPARE(columnTexts(window, 0).at(1), "2025-03-02 08:15:00"_s);
        const QRegularExpression now("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d$"_s);
        QVERIFY(now.match(columnTexts(window, 0).at(0)).hasMatch());
        QCOMPARE(columnTexts(window, 1), QStringList({ "QOR-1"_s, "QOR-1"_s }));
    }

    void missingKeysGiveEmptyTexts()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        addMonitoredUnit(*window.deviceList(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        const QJsonObject onlyDate { { "date"_s, "2025-03-01"_s } };
        const QJsonObject onlyTime { { "time"_s, "07:08:09"_s } };
        publisher.send(statusReport(QString(), { QJsonObject(), onlyDate, onlyTime, 17 }));
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 5);
        const auto blank = " "_s;
        QCOMPARE(columnTexts(window, 0).mid(1),
                 QStringList({ blank, "2025-03-01 "_s, " 07:08:09"_s, blank }));
        QCOMPARE(columnTexts(window, 1),
                 QStringList({ QString(), QString(), QString(), QString(), QString() }));
        QCOMPARE(columnTexts(window, 2).mid(1), QStringList({ QString(), QString(), QString(), QString() }));
    }

    void unitsAndMessagesKeepTheirOrder()
    {
        Publisher first;
        Publisher second;
        MainWinQorMonitor window;
        addMonitoredUnit(*window.deviceList(), first.port());
        addMonitoredUnit(*window.deviceList(), second.port());
        QVERIFY(first.waitForSubscriber());
        QVERIFY(second.waitForSubscriber());
        // Neither the time of arrival nor the alphabet decides.
        second.send(statusReport("A"_s, { warning("a"_s) }));
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 3);
        first.send(statusReport("B"_s, { warning("z"_s), warning("y"_s) }));
        const QStringList texts { connected, "z"_s, "y"_s, connected, "a"_s };
        QTRY_COMPARE(columnTexts(window, 2), texts);
        QCOMPARE(columnTexts(window, 1).join(QString()), "BBBAA"_s);
    }

    void goneWarningsLeaveTheList()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        addMonitoredUnit(*window.deviceList(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s, { warning("Lüfter steht"_s) }));
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 2);
        publisher.send(statusReport("QOR-1"_s));
        QTRY_COMPARE(columnTexts(window, 2), QStringList(connected));
    }

    void storedUnitsAreShown()
    {
        Publisher publisher;
        m_store.writeUnit(0,
                          { { "Host"_s, "127.0.0.1"_s },
                            { "ZmqPort"_s, publisher.port() },
                            { "WebPort"_s, 80 },
                            { "WebScheme"_s, "http"_s },
                            { "Monitored"_s, true } });
        const MainWinQorMonitor window;
        QCOMPARE(window.deviceList()->count(), 1);
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s));
        QTRY_COMPARE(columnTexts(window, 2), QStringList(connected));
    }

    void silentUnitIsRed()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        addMonitoredUnit(*window.deviceList(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s, { warning("Lüfter steht"_s) }));
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 2);
        QTRY_COMPARE_WITH_TIMEOUT(columnTexts(window, 2), QStringList(disconnected), silenceMs);
        QCOMPARE(rowColours(window), QVector<QColor>({ Qt::red }));
    }

    void switchedOffUnitLeavesAtOnce_data()
    {
        QTest::addColumn<bool>("speaks");
        QTest::addColumn<QString>("lastText");
        QTest::newRow("waiting") << false << waiting;
        QTest::newRow("connected") << true << connected;
        QTest::newRow("silent") << true << disconnected;
    }

    void switchedOffUnitLeavesAtOnce()
    {
        QFETCH(const bool, speaks);
        QFETCH(const QString, lastText);
        Publisher publisher;
        MainWinQorMonitor window;
        Device* device = addMonitoredUnit(*window.deviceList(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        if (speaks)
            publisher.send(statusReport("QOR-1"_s));
        QTRY_COMPARE_WITH_TIMEOUT(columnTexts(window, 2), QStringList(lastText), silenceMs);
        device->setMonitored(false);
        QCOMPARE(messageList(window)->topLevelItemCount(), 0);
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestMessageList)
#include "tst_messagelist.moc"
