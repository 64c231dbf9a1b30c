// SPDX-License-Identifier: MIT
// Start and end of the real program, judged by its log, exit code and window.
#include "app/contact.h"
#include "app/version.h"
#include "monitorprocess.h"
#include "support/publisher.h"

#include <QFileInfo>
#include <QSettings>
#include <QtTest>

namespace {
// What the system makes of the exit code -1.
constexpr int exceptionCode = 255;
// The one port that a link refuses to connect to, by an exception.
constexpr int refusedPort = -5;
// Shows the level of each message and where it begins.
const auto levelPattern = QStringLiteral("<%{type}>%{message}");
const auto exceptionLine = QStringLiteral("main: Error, exception caught!");

QStringList linesOf(const QString& log)
{
    return log.split(QLatin1Char('\n'));
}
} // namespace

class TestStart : public QObject {
    Q_OBJECT

private slots:
    void bannerComesFirst();
    void ownMessagesAreDebugMessages();
    void regularEndReportsZero();
    void settingsLieUnderTheProgramsNames();
    void exceptionEndsTheProgram_data();
    void exceptionEndsTheProgram();
    void exceptionOfTheEventLoopEndsTheProgram();
    void argumentsAreNotParsed_data();
    void argumentsAreNotParsed();
    void closingTheWindowLeavesTheProgramRunning();
    void translationIsFound();
    void applicationIsSetUp_data();
    void applicationIsSetUp();
};

void TestStart::bannerComesFirst()
{
    const MonitorHome home;
    MonitorProcess monitor(home);
    QVERIFY(monitor.waitForWindow());
    const QStringList lines = linesOf(monitor.log());
    QVERIFY(lines.size() > 9);
    QCOMPARE(lines.at(0), QString());
    QVERIFY(lines.at(1).contains(QLatin1String("QorMonitor")));
    QVERIFY(lines.at(1).contains(QLatin1String("Varko")));
    QCOMPARE(lines.at(2), QStringLiteral("Version 1.045"));
    QCOMPARE(lines.mid(3, 4),
             QStringList({ Contact::Maker::company, Contact::Maker::street, Contact::Maker::town,
                           Contact::Maker::email }));
    QCOMPARE(lines.at(7), QStringLiteral("==============================="));
    // The rule's own line break, then the one of the message.
    QCOMPARE(lines.at(8), QString());
    QVERIFY(!lines.at(9).isEmpty());
    QCOMPARE(monitor.log().count(QStringLiteral("Version 1.045")), 1);
}

void TestStart::ownMessagesAreDebugMessages()
{
    const MonitorHome home;
    MonitorProcess monitor(home, {}, levelPattern);
    QVERIFY(monitor.waitForWindow());
    // The banner is the first message, and a single one.
    const QStringList lines = linesOf(monitor.log());
    QVERIFY(lines.size() > 9);
    QCOMPARE(lines.at(0), QStringLiteral("<debug>"));
    QCOMPARE(lines.mid(0, 9).join(QString()).count(QLatin1Char('<')), 1);
    QVERIFY(lines.at(9).startsWith(QLatin1String("<debug>SingleInstanceApp::init()")));
    QCOMPARE(monitor.order("exit"), QByteArray("done"));
    QCOMPARE(monitor.waitForExitCode(), 0);
    QVERIFY(monitor.log().endsWith(QLatin1String("\n<debug>main: exit 0\n")));

    home.writeUnit(0, refusedPort);
    MonitorProcess failing(home, {}, levelPattern);
    QCOMPARE(failing.waitForExitCode(), exceptionCode);
    QVERIFY2(failing.log().endsWith(QStringLiteral("\n<debug>") + exceptionLine
                                    + QStringLiteral("\n<debug>main: exit -1\n")),
             qPrintable(failing.log()));
}

void TestStart::regularEndReportsZero()
{
    const MonitorHome home;
    MonitorProcess monitor(home);
    QVERIFY(monitor.waitForWindow());
    QVERIFY(!monitor.log().contains(QLatin1String("main: exit")));
    QCOMPARE(monitor.order("exit"), QByteArray("done"));
    QCOMPARE(monitor.waitForExitCode(), 0);
    QVERIFY(monitor.log().endsWith(QLatin1String("\nmain: exit 0\n")));
    QVERIFY(!monitor.logs(exceptionLine));
}

void TestStart::settingsLieUnderTheProgramsNames()
{
    const MonitorHome home;
    MonitorProcess monitor(home);
    QVERIFY(monitor.waitForWindow());
    QVERIFY(!QSettings(home.storePath(), QSettings::IniFormat).contains(QStringLiteral("geometry")));
    QCOMPARE(monitor.order("exit"), QByteArray("done"));
    QCOMPARE(monitor.waitForExitCode(), 0);
    QVERIFY(QSettings(home.storePath(), QSettings::IniFormat).contains(QStringLiteral("geometry")));
}

void TestStart::exceptionEndsTheProgram_data()
{
    QTest::addColumn<int>("unitsBefore");
    QTest::newRow("first unit") << 0;
    QTest::newRow("behind a unit that is listened to") << 1;
}

void TestStart::exceptionEndsTheProgram()
{
    QFETCH(const int, unitsBefore);
    const MonitorHome home;
    Publisher publisher;
    for (int i = 0; i < unitsBefore; ++i)
        home.writeUnit(i, publisher.port());
    home.writeUnit(unitsBefore, refusedPort);
    MonitorProcess monitor(home);
    QCOMPARE(monitor.waitForExitCode(), exceptionCode);
    QVERIFY2(monitor.log().endsWith(QLatin1Char('\n') + exceptionLine + QStringLiteral("\nmain: exit -1\n")),
             qPrintable(monitor.log()));
    // The name is free for the next start.
    QVERIFY(!QFileInfo::exists(home.socketPath()));
}

void TestStart::exceptionOfTheEventLoopEndsTheProgram()
{
    const MonitorHome home;
    home.writeUnit(0, refusedPort, false);
    MonitorProcess monitor(home);
    QVERIFY(monitor.waitForWindow());
    // No answer, for the order ends the program.
    QCOMPARE(monitor.order("monitor"), QByteArray());
    QCOMPARE(monitor.waitForExitCode(), exceptionCode);
    QVERIFY2(monitor.log().endsWith(QLatin1Char('\n') + exceptionLine + QStringLiteral("\nmain: exit -1\n")),
             qPrintable(monitor.log()));
    QVERIFY(!QFileInfo::exists(home.socketPath()));
}

void TestStart::argumentsAreNotParsed_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown option") << QStringList(QStringLiteral("--no-such-option"));
    QTest::newRow("option of the log formatter")
        << QStringList({ QStringLiteral("--debuglevel"), QStringLiteral("no-level") });
    QTest::newRow("help") << QStringList(QStringLiteral("--help"));
    QTest::newRow("positional") << QStringList(QStringLiteral("unit.example"));
}

void TestStart::argumentsAreNotParsed()
{
    QFETCH(const QStringList, arguments);
    const MonitorHome home;
    MonitorProcess monitor(home, arguments);
    QVERIFY(monitor.waitForWindow());
    // Still the plain default output.
    QVERIFY(monitor.logs(QStringLiteral("SingleInstanceApp::init() for \"qor-monitor\"")));
}

void TestStart::closingTheWindowLeavesTheProgramRunning()
{
    const MonitorHome home;
    MonitorProcess monitor(home);
    QVERIFY(monitor.waitForWindow());
    QCOMPARE(monitor.order("close"), QByteArray("done"));
    // Each answer is a turn of the event loop, in which a program that quits would end.
    for (int turn = 0; turn < 10; ++turn)
        QCOMPARE(monitor.order("state"), QByteArray("hidden"));
    QVERIFY(monitor.isRunning());
    QVERIFY(!monitor.log().contains(QLatin1String("main: exit")));
}

void TestStart::translationIsFound()
{
    const MonitorHome home;
    MonitorProcess monitor(home);
    QVERIFY(monitor.waitForWindow());
    QVERIFY(!monitor.log().contains(QLatin1String("can't load translator file")));
    QCOMPARE(monitor.order("cancel"), QByteArray("Abbrechen"));
}

void TestStart::applicationIsSetUp_data()
{
    QTest::addColumn<QByteArray>("order");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("domain") << QByteArray("domain") << Contact::Maker::domain.toUtf8();
    QTest::newRow("icon of windows without their own") << QByteArray("icon") << QByteArray("favicon");
    QTest::newRow("windows at the session's end are left alone")
        << QByteArray("fallback") << QByteArray("off");
}

void TestStart::applicationIsSetUp()
{
    QFETCH(const QByteArray, order);
    QFETCH(const QByteArray, answer);
    const MonitorHome home;
    MonitorProcess monitor(home);
    QVERIFY(monitor.waitForWindow());
    QCOMPARE(monitor.order(order), answer);
}

QTEST_GUILESS_MAIN(TestStart)
#include "tst_start.moc"
