// SPDX-License-Identifier: MIT
// Which rows the message list shows, in which order and colour.
#include "unitwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"
#include "mainwindow/messagecolour.h"
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

const auto waiting = QStringLiteral("Warte auf Verbindung ...");
const auto connected = QStringLiteral("Verbindung hergestellt");
const auto disconnected = QStringLiteral("Verbindung getrennt");
const auto newVersion = QStringLiteral("Neue SW Version verfügbar V2.2");

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
    void listHasThreeColumns();
    void timeHasTheWholeColumn();
    void noUnitGivesNoRows();
    void unmonitoredUnitGivesNoRows();
    void classDecidesTheColour_data();
    void classDecidesTheColour();
    void waitingUnitIsYellow();
    void everyMessageIsARowInItsColour();
    void rowShowsTimeNameAndText();
    void missingKeysGiveEmptyTexts();
    void unitsAndMessagesKeepTheirOrder();
    void goneWarningsLeaveTheList();
    void storedUnitsAreShown();
    void silentUnitIsRed();
    void switchedOffUnitLeavesAtOnce_data();
    void switchedOffUnitLeavesAtOnce();

private:
    TestStore m_store;
};

void TestMessageList::listHasThreeColumns()
{
    const MainWinQorMonitor window;
    const QTreeWidget* list = messageList(window);
    QCOMPARE(list->columnCount(), columns);
    QCOMPARE(list->headerItem()->text(0), QStringLiteral("Zeit"));
    QCOMPARE(list->headerItem()->text(1), QStringLiteral("QOR Name"));
    QCOMPARE(list->headerItem()->text(2), QStringLiteral("Meldung"));
    QCOMPARE(list->columnWidth(0), 150);
    QCOMPARE(list->columnWidth(1), 200);
    QVERIFY(list->header()->stretchLastSection());
    QVERIFY(!list->isSortingEnabled());
}

void TestMessageList::timeHasTheWholeColumn()
{
    MainWinQorMonitor window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTreeWidget* list = messageList(window);
    list->addTopLevelItem(new QTreeWidgetItem({ QStringLiteral("2025-03-01 07:08:09") }));
    // No place for branches: the rows have none, and the time would not fit beside it.
    QVERIFY(!list->rootIsDecorated());
    QCOMPARE(list->visualRect(list->model()->index(0, 0)).width(), list->columnWidth(0));
}

void TestMessageList::noUnitGivesNoRows()
{
    MainWinQorMonitor window;
    QCOMPARE(messageList(window)->topLevelItemCount(), 0);
    window.rebuildMessageList();
    QCOMPARE(messageList(window)->topLevelItemCount(), 0);
}

void TestMessageList::unmonitoredUnitGivesNoRows()
{
    MainWinQorMonitor window;
    const Device* device
        = window.deviceList()->addDevice(QStringLiteral("127.0.0.1"), 5566, 80, QStringLiteral("http"));
    QVERIFY(!device->messages().isEmpty());
    window.rebuildMessageList();
    QCOMPARE(messageList(window)->topLevelItemCount(), 0);
}

void TestMessageList::classDecidesTheColour_data()
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

void TestMessageList::classDecidesTheColour()
{
    QFETCH(const QString, messageClass);
    QFETCH(const std::optional<Qt::GlobalColor>, colour);
    QVERIFY(messageColour(messageClass) == colour);
}

void TestMessageList::waitingUnitIsYellow()
{
    Publisher publisher;
    MainWinQorMonitor window;
    addMonitoredUnit(window, publisher.port());
    QTRY_COMPARE(columnTexts(window, 2), QStringList(waiting));
    QCOMPARE(rowColours(window), QVector<QColor>({ Qt::yellow }));
}

void TestMessageList::everyMessageIsARowInItsColour()
{
    Publisher publisher;
    MainWinQorMonitor window;
    addMonitoredUnit(window, publisher.port());
    QVERIFY(publisher.waitForSubscriber());
    publisher.send(newerVersionReport(QStringLiteral("QOR-1")));
    publisher.send(statusReport(QStringLiteral("QOR-1"), { warning(QStringLiteral("Lüfter steht")) }));
    QTRY_COMPARE(columnTexts(window, 2),
                 QStringList({ connected, newVersion, QStringLiteral("Lüfter steht") }));
    QCOMPARE(rowColours(window), QVector<QColor>({ Qt::green, Qt::yellow, Qt::red }));
    const QTreeWidgetItem* row = messageList(window)->topLevelItem(0);
    QCOMPARE(row->type(), 0);
    QCOMPARE(row->childCount(), 0);

    publisher.send("no JSON");
    const auto incompatible = QStringLiteral("QOR Version inkompatibel");
    QTRY_COMPARE(columnTexts(window, 2), QStringList({ connected, incompatible, newVersion }));
    QCOMPARE(rowColours(window), QVector<QColor>({ Qt::green, Qt::red, Qt::yellow }));
}

void TestMessageList::rowShowsTimeNameAndText()
{
    Publisher publisher;
    MainWinQorMonitor window;
    addMonitoredUnit(window, publisher.port());
    QVERIFY(publisher.waitForSubscriber());
    publisher.send(statusReport(QStringLiteral("QOR-1"), { warning(QStringLiteral("Lüfter steht")) }));
    QTRY_COMPARE(messageList(window)->topLevelItemCount(), 2);
    QCOMPARE(columnTexts(window, 0).at(1), QStringLiteral("2025-03-01 07:08:09"));
    const QRegularExpression now(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d$"));
    QVERIFY(now.match(columnTexts(window, 0).at(0)).hasMatch());
    QCOMPARE(columnTexts(window, 1), QStringList({ QStringLiteral("QOR-1"), QStringLiteral("QOR-1") }));
}

void TestMessageList::missingKeysGiveEmptyTexts()
{
    Publisher publisher;
    MainWinQorMonitor window;
    addMonitoredUnit(window, publisher.port());
    QVERIFY(publisher.waitForSubscriber());
    const QJsonObject onlyDate { { QStringLiteral("date"), QStringLiteral("2025-03-01") } };
    const QJsonObject onlyTime { { QStringLiteral("time"), QStringLiteral("07:08:09") } };
    publisher.send(statusReport(QString(), { QJsonObject(), onlyDate, onlyTime, 17 }));
    QTRY_COMPARE(messageList(window)->topLevelItemCount(), 5);
    const auto blank = QStringLiteral(" ");
    QCOMPARE(columnTexts(window, 0).mid(1),
             QStringList({ blank, QStringLiteral("2025-03-01 "), QStringLiteral(" 07:08:09"), blank }));
    QCOMPARE(columnTexts(window, 1), QStringList({ QString(), QString(), QString(), QString(), QString() }));
    QCOMPARE(columnTexts(window, 2).mid(1), QStringList({ QString(), QString(), QString(), QString() }));
}

void TestMessageList::unitsAndMessagesKeepTheirOrder()
{
    Publisher first;
    Publisher second;
    MainWinQorMonitor window;
    addMonitoredUnit(window, first.port());
    addMonitoredUnit(window, second.port());
    QVERIFY(first.waitForSubscriber());
    QVERIFY(second.waitForSubscriber());
    // Neither the time of arrival nor the alphabet decides.
    second.send(statusReport(QStringLiteral("A"), { warning(QStringLiteral("a")) }));
    QTRY_COMPARE(messageList(window)->topLevelItemCount(), 3);
    first.send(
        statusReport(QStringLiteral("B"), { warning(QStringLiteral("z")), warning(QStringLiteral("y")) }));
    const QStringList texts { connected, QStringLiteral("z"), QStringLiteral("y"), connected,
                              QStringLiteral("a") };
    QTRY_COMPARE(columnTexts(window, 2), texts);
    QCOMPARE(columnTexts(window, 1).join(QString()), QStringLiteral("BBBAA"));
}

void TestMessageList::goneWarningsLeaveTheList()
{
    Publisher publisher;
    MainWinQorMonitor window;
    addMonitoredUnit(window, publisher.port());
    QVERIFY(publisher.waitForSubscriber());
    publisher.send(statusReport(QStringLiteral("QOR-1"), { warning(QStringLiteral("Lüfter steht")) }));
    QTRY_COMPARE(messageList(window)->topLevelItemCount(), 2);
    publisher.send(statusReport(QStringLiteral("QOR-1")));
    QTRY_COMPARE(columnTexts(window, 2), QStringList(connected));
}

void TestMessageList::storedUnitsAreShown()
{
    Publisher publisher;
    m_store.writeUnit(0,
                      { { QStringLiteral("Host"), QStringLiteral("127.0.0.1") },
                        { QStringLiteral("ZmqPort"), publisher.port() },
                        { QStringLiteral("WebPort"), 80 },
                        { QStringLiteral("WebScheme"), QStringLiteral("http") },
                        { QStringLiteral("Monitored"), true } });
    const MainWinQorMonitor window;
    QCOMPARE(window.deviceList()->count(), 1);
    QVERIFY(publisher.waitForSubscriber());
    publisher.send(statusReport(QStringLiteral("QOR-1")));
    QTRY_COMPARE(columnTexts(window, 2), QStringList(connected));
}

void TestMessageList::silentUnitIsRed()
{
    Publisher publisher;
    MainWinQorMonitor window;
    addMonitoredUnit(window, publisher.port());
    QVERIFY(publisher.waitForSubscriber());
    publisher.send(statusReport(QStringLiteral("QOR-1"), { warning(QStringLiteral("Lüfter steht")) }));
    QTRY_COMPARE(messageList(window)->topLevelItemCount(), 2);
    QTRY_COMPARE_WITH_TIMEOUT(columnTexts(window, 2), QStringList(disconnected), silenceMs);
    QCOMPARE(rowColours(window), QVector<QColor>({ Qt::red }));
}

void TestMessageList::switchedOffUnitLeavesAtOnce_data()
{
    QTest::addColumn<bool>("speaks");
    QTest::addColumn<QString>("lastText");
    QTest::newRow("waiting") << false << waiting;
    QTest::newRow("connected") << true << connected;
    QTest::newRow("silent") << true << disconnected;
}

void TestMessageList::switchedOffUnitLeavesAtOnce()
{
    QFETCH(const bool, speaks);
    QFETCH(const QString, lastText);
    Publisher publisher;
    MainWinQorMonitor window;
    Device* device = addMonitoredUnit(window, publisher.port());
    QVERIFY(publisher.waitForSubscriber());
    if (speaks)
        publisher.send(statusReport(QStringLiteral("QOR-1")));
    QTRY_COMPARE_WITH_TIMEOUT(columnTexts(window, 2), QStringList(lastText), silenceMs);
    device->setMonitored(false);
    QCOMPARE(messageList(window)->topLevelItemCount(), 0);
}

QTEST_MAIN(TestMessageList)
#include "tst_messagelist.moc"
