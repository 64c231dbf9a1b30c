// SPDX-License-Identifier: MIT
// The monitor that a start gets which has come too late to be answered by the ending one.
#include "support/literals.h"
#include "support/monitorprocess.h"

#include <QLocalSocket>
#include <QtTest>

#include <csignal>
#include <sys/socket.h>

namespace {

// The process that has this instance name, 0 for none.
pid_t ownerOf(const QString& name)
{
    QLocalSocket socket;
    socket.connectToServer(name);
    ucred owner {};
    socklen_t size = sizeof owner;
    if (socket.waitForConnected(MonitorProcess::lineTimeoutMs))
        getsockopt(int(socket.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &owner, &size);
    return owner.pid;
}

} // namespace

class TestSuccessor : public QObject {
    Q_OBJECT

private slots:
    void lateStartGetsAMonitor()
    {
        const MonitorHome home;
        const QString name = home.path("qor-monitor"_s);
        MonitorProcess ending(home);
        QVERIFY(ending.waitForWindow());
        const pid_t first = ownerOf(name);
        QVERIFY(first > 0);
        const auto end = qScopeGuard([&] {
            if (const pid_t left = ownerOf(name); left > 0)
                kill(left, SIGKILL);
        });
        QCOMPARE(ending.order("exit-late"), QByteArray("done"));
        QCOMPARE(ending.waitForExitCode(), 0);
        pid_t successor = 0;
        const auto isThere = [&] { return (successor = ownerOf(name)) > 0; };
        QVERIFY(QTest::qWaitFor(isThere, MonitorProcess::timeoutMs));
        QVERIFY(successor != first);
        // It has a window to show, and stays.
        const auto shows = [&] {
            return ending.log().count("SingleInstanceApp::newConnection() force show window"_s) > 1;
        };
        QVERIFY(QTest::qWaitFor(shows, MonitorProcess::timeoutMs));
    }
};

QTEST_GUILESS_MAIN(TestSuccessor)
#include "tst_successor.moc"
