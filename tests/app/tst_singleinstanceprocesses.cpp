// SPDX-License-Identifier: MIT
// The single-instance guard between real processes of the program.
#include "support/literals.h"
#include "support/monitorprocess.h"

#include <QtTest>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

// What the system makes of the exit code -2.
const int secondInstance = Platform::reportedExitCode(-2);
constexpr int starts = 8;

const auto serverLine = "SingleInstanceApp::init() start server mode"_s;
const auto clientLine = "SingleInstanceApp::init() stop client app"_s;
const auto showLine = "SingleInstanceApp::newConnection() force show window"_s;

void leaveStaleName(const MonitorHome& home)
{
    MonitorProcess killed(home);
    QVERIFY(killed.waitForWindow());
    QVERIFY(killed.kill());
    QCOMPARE(home.hasInstanceName(), Platform::serverNamesAreFiles());
}

} // namespace

class TestSingleInstanceProcesses : public QObject {
    Q_OBJECT

private slots:
    void secondStartRaisesTheFirstAndEnds_data()
    {
        QTest::addColumn<QByteArray>("order");
        QTest::addColumn<QByteArray>("state");
        QTest::newRow("hidden") << QByteArray("close") << QByteArray("hidden");
        QTest::newRow("minimised") << QByteArray("minimise") << QByteArray("minimised");
    }

    void secondStartRaisesTheFirstAndEnds()
    {
        QFETCH(const QByteArray, order);
        const MonitorHome home;
        MonitorProcess first(home);
        QVERIFY(first.waitForWindow());
        QCOMPARE(first.order(order), QByteArray("done"));
        QTEST(first.order("state"), "state");

        MonitorProcess second(home);
        QCOMPARE(second.waitForExitCode(), secondInstance);
        QVERIFY(second.logs(clientLine));
        QVERIFY(!second.logs(serverLine));
        QVERIFY(second.log().endsWith("\nmain: exit -2\n"_s));
        QVERIFY(first.waitForWindow());
        QVERIFY(first.logs(showLine));
        QVERIFY(first.isRunning());
    }

    void exactlyOneOfManyStays_data()
    {
        QTest::addColumn<bool>("stale");
        QTest::newRow("fresh name") << false;
        QTest::newRow("stale name") << true;
    }

    void exactlyOneOfManyStays()
    {
        QFETCH(const bool, stale);
        const MonitorHome home;
        if (stale)
            leaveStaleName(home);
        std::vector<std::unique_ptr<MonitorProcess>> monitors;
        for (int i = 0; i < starts; ++i)
            monitors.push_back(std::make_unique<MonitorProcess>(home));
        const auto running = [&monitors] {
            return std::count_if(monitors.cbegin(), monitors.cend(),
                                 [](const auto& monitor) { return monitor->isRunning(); });
        };
        QTRY_COMPARE_WITH_TIMEOUT(running(), 1, MonitorProcess::timeoutMs);
        for (const auto& monitor : monitors) {
            const bool stays = monitor->isRunning();
            QVERIFY(stays ? monitor->waitForWindow() : monitor->waitForExitCode() == secondInstance);
            QCOMPARE(monitor->logs(serverLine), stays);
        }
        // The one that stayed is the one that is found.
        MonitorProcess late(home);
        QCOMPARE(late.waitForExitCode(), secondInstance);
        QCOMPARE(running(), 1);
    }

    void killedMonitorLeavesTheNextGuarded()
    {
        const MonitorHome home;
        leaveStaleName(home);
        MonitorProcess next(home);
        QVERIFY(next.waitForWindow());
        QVERIFY(next.logs(serverLine));
        MonitorProcess third(home);
        QCOMPARE(third.waitForExitCode(), secondInstance);
        QVERIFY(QTest::qWaitFor([&] { return next.logs(showLine); }));
    }

    void regularEndFreesTheName()
    {
        const MonitorHome home;
        MonitorProcess first(home);
        QVERIFY(first.waitForWindow());
        QVERIFY(home.hasInstanceName());
        QCOMPARE(first.order("exit"), QByteArray("done"));
        QCOMPARE(first.waitForExitCode(), 0);
        QVERIFY(!home.hasInstanceName());
        MonitorProcess second(home);
        QVERIFY(second.waitForWindow());
    }

    void homesDoNotMeet()
    {
        if (!Platform::serverNamesAreFiles())
            QSKIP("On Windows a name is the whole machine's, whatever folder its user has.");
        const MonitorHome home;
        const MonitorHome otherHome;
        MonitorProcess first(home);
        MonitorProcess other(otherHome);
        QVERIFY(first.waitForWindow());
        QVERIFY(other.waitForWindow());
    }
};

QTEST_GUILESS_MAIN(TestSingleInstanceProcesses)
#include "tst_singleinstanceprocesses.moc"
