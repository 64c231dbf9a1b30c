// SPDX-License-Identifier: MIT
// Start and end of the real program, judged by its log, exit code and window.
#include "base/contact.h"
#include "base/version.h"
#include "support/monitorprocess.h"
#include "support/literals.h"
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
const auto levelPattern = "<%{type}>%{message}"_s;
const auto exceptionLine = "main: Error, exception caught!"_s;

QStringList linesOf(const QString& log)
{
    return log.split(QLatin1Char('\n'));
}
} // namespace

class TestStart : public QObject {
    Q_OBJECT

private slots:
    void bannerComesFirst()
    {
        const MonitorHome home;
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        const QStringList lines = linesOf(monitor.log());
        QVERIFY(lines.size() > 9);
        QCOMPARE(lines.at(0), QString());
        QVERIFY(lines.at(1).contains(QLatin1String("QorMonitor")));
        QVERIFY(lines.at(1).contains(QLatin1String("Varko")));
        QCOMPARE(lines.at(2), "Version 1.045"_s);
        QCOMPARE(lines.mid(3, 4),
                 QStringList({ Contact::Maker::company, Contact::Maker::street, Contact::Maker::town,
                               Contact::Maker::email }));
        QCOMPARE(lines.at(7), "==============================="_s);
        // The rule's own line break, then the one of the message.
        QCOMPARE(lines.at(8), QString());
        QVERIFY(!lines.at(9).isEmpty());
        QCOMPARE(monitor.log().count("Version 1.045"_s), 1);
    }

    void ownMessagesAreDebugMessages()
    {
        const MonitorHome home;
        MonitorProcess monitor(home, {}, levelPattern);
        QVERIFY(monitor.waitForWindow());
        // The banner is the first message, and a single one.
        const QStringList lines = linesOf(monitor.log());
        QVERIFY(lines.size() > 9);
        QCOMPARE(lines.at(0), "<debug>"_s);
        QCOMPARE(lines.mid(0, 9).join(QString()).count(QLatin1Char('<')), 1);
        QVERIFY(lines.at(9).startsWith(QLatin1String("<debug>SingleInstanceApp::init()")));
        QCOMPARE(monitor.order("exit"), QByteArray("done"));
        QCOMPARE(monitor.waitForExitCode(), 0);
        QVERIFY(monitor.log().endsWith(QLatin1String("\n<debug>main: exit 0\n")));

        home.writeUnit(0, refusedPort);
        MonitorProcess failing(home, {}, levelPattern);
        QCOMPARE(failing.waitForExitCode(), exceptionCode);
        QVERIFY2(failing.log().endsWith("\n<debug>"_s + exceptionLine + "\n<debug>main: exit -1\n"_s),
                 qPrintable(failing.log()));
    }

    void regularEndReportsZero()
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

    void settingsLieUnderTheProgramsNames()
    {
        const MonitorHome home;
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        QVERIFY(!QSettings(home.storePath(), QSettings::IniFormat).contains("geometry"_s));
        QCOMPARE(monitor.order("exit"), QByteArray("done"));
        QCOMPARE(monitor.waitForExitCode(), 0);
        QVERIFY(QSettings(home.storePath(), QSettings::IniFormat).contains("geometry"_s));
    }

    void exceptionEndsTheProgram_data()
    {
        QTest::addColumn<int>("unitsBefore");
        QTest::newRow("first unit") << 0;
        QTest::newRow("behind a unit that is listened to") << 1;
    }

    void exceptionEndsTheProgram()
    {
        QFETCH(const int, unitsBefore);
        const MonitorHome home;
        Publisher publisher;
        for (int i = 0; i < unitsBefore; ++i)
            home.writeUnit(i, publisher.port());
        home.writeUnit(unitsBefore, refusedPort);
        MonitorProcess monitor(home);
        QCOMPARE(monitor.waitForExitCode(), exceptionCode);
        QVERIFY2(monitor.log().endsWith(QLatin1Char('\n') + exceptionLine + "\nmain: exit -1\n"_s),
                 qPrintable(monitor.log()));
        // The name is free for the next start.
        QVERIFY(!QFileInfo::exists(home.socketPath()));
    }

    void exceptionOfTheEventLoopEndsTheProgram()
    {
        const MonitorHome home;
        home.writeUnit(0, refusedPort, false);
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        // No answer, for the order ends the program.
        QCOMPARE(monitor.order("monitor"), QByteArray());
        QCOMPARE(monitor.waitForExitCode(), exceptionCode);
        QVERIFY2(monitor.log().endsWith(QLatin1Char('\n') + exceptionLine + "\nmain: exit -1\n"_s),
                 qPrintable(monitor.log()));
        QVERIFY(!QFileInfo::exists(home.socketPath()));
    }

    void argumentsAreNotParsed_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("unknown option") << QStringList("--no-such-option"_s);
        QTest::newRow("option of the log formatter") << QStringList({ "--debuglevel"_s, "no-level"_s });
        QTest::newRow("help") << QStringList("--help"_s);
        QTest::newRow("positional") << QStringList("unit.example"_s);
    }

    void argumentsAreNotParsed()
    {
        QFETCH(const QStringList, arguments);
        const MonitorHome home;
        MonitorProcess monitor(home, arguments);
        QVERIFY(monitor.waitForWindow());
        // Still the plain default output.
        QVERIFY(monitor.logs("SingleInstanceApp::init() for \"qor-monitor\""_s));
    }

    void closingTheWindowLeavesTheProgramRunning()
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

    void translationIsFound()
    {
        const MonitorHome home;
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        QVERIFY(!monitor.log().contains(QLatin1String("can't load translator file")));
        QCOMPARE(monitor.order("cancel"), QByteArray("Abbrechen"));
    }

    void applicationIsSetUp_data()
    {
        QTest::addColumn<QByteArray>("order");
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("domain") << QByteArray("domain") << Contact::Maker::domain.toUtf8();
        QTest::newRow("icon of windows without their own") << QByteArray("icon") << QByteArray("favicon");
        QTest::newRow("windows at the session's end are left alone")
            << QByteArray("fallback") << QByteArray("off");
    }

    void applicationIsSetUp()
    {
        QFETCH(const QByteArray, order);
        QFETCH(const QByteArray, answer);
        const MonitorHome home;
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        QCOMPARE(monitor.order(order), answer);
    }
};

QTEST_GUILESS_MAIN(TestStart)
#include "tst_start.moc"
