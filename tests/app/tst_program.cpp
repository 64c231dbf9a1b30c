// SPDX-License-Identifier: MIT
// Start and end of the real program, judged by its log, exit code, settings and window.
#include "base/contact.h"
#include "base/version.h"
#include "support/literals.h"
#include "support/monitorprocess.h"
#include "support/publisher.h"

#include <QtTest>

namespace {

// What the system makes of the exit code -1.
const int exceptionCode = Platform::reportedExitCode(-1);
// The one port that a link refuses to connect to, by an exception.
constexpr int refusedPort = -5;
// Nobody has to listen there.
constexpr int unitPort = 1;
// Shows the level of each message and where it begins.
const auto levelPattern = "<%{type}>%{message}"_s;
const auto exceptionLine = "main: Error, exception caught!"_s;
const auto exceptionEnd = "\nmain: Error, exception caught!\nmain: exit -1\n"_s;

bool hasGeometry(const MonitorHome& home)
{
    return home.setting("geometry"_s).isValid();
}

} // namespace

class TestProgram : public QObject {
    Q_OBJECT

private slots:
    void bannerComesFirst()
    {
        const MonitorHome home;
        // The application object would complain of it before anything else.
        MonitorProcess monitor(home, { "-plugin"_s, "no-such-plugin"_s });
        QVERIFY(monitor.waitForWindow());
        const QStringList lines = monitor.log().split(QLatin1Char('\n'));
        QVERIFY(lines.size() > 9);
        QCOMPARE(lines.at(0), QString());
        QVERIFY(lines.at(1).contains("QorMonitor"_s));
        QVERIFY(lines.at(1).contains("Varko"_s));
        // The banner ends with a line break and the log adds another one, so an empty line follows.
        QCOMPARE(lines.mid(2, 7),
                 QStringList({ "Version "_s + programVersion(), Contact::Maker::company,
                               Contact::Maker::street, Contact::Maker::town, Contact::Maker::email,
                               "==============================="_s, QString() }));
        QVERIFY(!lines.at(9).isEmpty());
        QVERIFY(lines.mid(9).join(QString()).contains("no-such-plugin"_s));
        QCOMPARE(lines.count(lines.at(2)), 1);
    }

    void ownMessagesAreDebugMessages()
    {
        const MonitorHome home;
        MonitorProcess monitor(home, {}, levelPattern);
        QVERIFY(monitor.waitForWindow());
        // The banner is the first message, and a single one.
        const QStringList lines = monitor.log().split(QLatin1Char('\n'));
        QVERIFY(lines.size() > 9);
        QCOMPARE(lines.at(0), "<debug>"_s);
        QCOMPARE(lines.mid(0, 9).join(QString()).count(QLatin1Char('<')), 1);
        QVERIFY(lines.at(9).startsWith("<debug>SingleInstanceApp::init()"_s));
        QCOMPARE(monitor.order("exit"), QByteArray("done"));
        QCOMPARE(monitor.waitForExitCode(), 0);
        QVERIFY(monitor.log().endsWith("\n<debug>main: exit 0\n"_s));

        home.writeUnit(0, refusedPort);
        MonitorProcess failing(home, {}, levelPattern);
        QCOMPARE(failing.waitForExitCode(), exceptionCode);
        QVERIFY2(failing.log().endsWith("\n<debug>"_s + exceptionLine + "\n<debug>main: exit -1\n"_s),
                 qPrintable(failing.log().right(500)));
    }

    void exitSavesTheGeometryAndReportsZero_data()
    {
        QTest::addColumn<QByteArrayList>("orders");
        QTest::addColumn<QByteArray>("modal");
        const auto row = [](const char* what, const QByteArrayList& orders, const QByteArray& modal) {
            QTest::newRow(what) << orders << modal;
        };
        row("window", {}, "none");
        // The tray's menu offers "Beenden" at any time, and no dialog holds the program.
        row("about box", { "trigger actionAbout" }, "DlgAbout");
        row("update dialog", { "trigger actionUpdates" }, "DlgCheckForUpdates");
        row("warning of the device manager",
            { "trigger actionDeviceManager", "enter lineEditNewHost 127.0.0.1",
              "enter lineEditPort " + QByteArray::number(unitPort), "click pushButtonAddHost" },
            "QMessageBox");
        row("about box over the update dialog", { "trigger actionUpdates", "trigger actionAbout" },
            "DlgAbout");
    }

    void exitSavesTheGeometryAndReportsZero()
    {
        QFETCH(const QByteArrayList, orders);
        QFETCH(const QByteArray, modal);
        const MonitorHome home;
        home.writeUnit(0, unitPort);
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        for (const QByteArray& order : orders)
            QCOMPARE(monitor.order(order), QByteArray("done"));
        QVERIFY(QTest::qWaitFor([&] { return monitor.order("modal") == modal; }));
        QVERIFY(!hasGeometry(home));
        QVERIFY(!monitor.log().contains("main: exit"_s));

        QCOMPARE(monitor.order("exit"), QByteArray("done"));
        QCOMPARE(monitor.waitForExitCode(), 0);
        QVERIFY(hasGeometry(home));
        QVERIFY2(monitor.log().endsWith("\nmain: exit 0\n"_s), qPrintable(monitor.log()));
        QVERIFY(!monitor.logs(exceptionLine));
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
        const Publisher publisher;
        for (int i = 0; i < unitsBefore; ++i)
            home.writeUnit(i, publisher.port());
        home.writeUnit(unitsBefore, refusedPort);
        MonitorProcess monitor(home);
        verifyExceptionEnd(monitor, home);
    }

    void exceptionOfTheEventLoopEndsTheProgram()
    {
        const MonitorHome home;
        home.writeUnit(0, refusedPort, false);
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        // No answer, for the order ends the program.
        QCOMPARE(monitor.order("monitor"), QByteArray());
        verifyExceptionEnd(monitor, home);
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
        QVERIFY(!monitor.log().contains("main: exit"_s));
    }

    void closingADialogOfAHiddenWindowLeavesTheProgramRunning()
    {
        const MonitorHome home;
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        QCOMPARE(monitor.order("close"), QByteArray("done"));
        // A window without a parent, and the last one on the screen.
        QCOMPARE(monitor.order("trigger actionUpdates"), QByteArray("done"));
        QVERIFY(QTest::qWaitFor([&] { return monitor.order("modal") == "DlgCheckForUpdates"; }));
        QCOMPARE(monitor.order("dismiss"), QByteArray("done"));
        for (int turn = 0; turn < 10; ++turn)
            QCOMPARE(monitor.order("modal"), QByteArray("none"));
        QVERIFY(monitor.isRunning());
    }

    void resultOfTheLoopIsTheExitCode()
    {
        const MonitorHome home;
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        QCOMPARE(monitor.order("leave 7"), QByteArray("done"));
        QCOMPARE(monitor.waitForExitCode(), 7);
        QVERIFY2(monitor.log().endsWith("\nmain: exit 7\n"_s), qPrintable(monitor.log()));
    }

    void applicationIsSetUp()
    {
        const MonitorHome home;
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        QCOMPARE(monitor.order("domain"), Contact::Maker::domain.toUtf8());
        // The icon is for windows without their own.
        QCOMPARE(monitor.order("icon"), QByteArray("favicon"));
        // Windows at the session's end are left alone.
        QCOMPARE(monitor.order("fallback"), QByteArray("off"));
        QCOMPARE(monitor.order("cancel"), QByteArray("Abbrechen"));
        QVERIFY(!monitor.log().contains("can't load translator file"_s));
    }

private:
    static void verifyExceptionEnd(MonitorProcess& monitor, const MonitorHome& home)
    {
        QCOMPARE(monitor.waitForExitCode(), exceptionCode);
        QVERIFY2(monitor.log().endsWith(exceptionEnd), qPrintable(monitor.log()));
        // The name is free for the next start.
        QVERIFY(!home.hasInstanceName());
    }
};

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_program.moc"
