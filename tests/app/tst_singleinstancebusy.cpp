// SPDX-License-Identifier: MIT
// A running monitor that is too busy to take connections, because a name lookup holds it up, say.
#include "app/singleinstanceapp.h"

#include "support/literals.h"
#include "support/logcapture.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QtTest>

#include <memory>
#include <vector>

namespace {
const auto name = "busy-guard-under-test"_s;
const auto unguardedLine = "SingleInstanceApp::init() failed to start server mode; cannot stop client mode"_s;
} // namespace

class TestSingleInstanceBusy : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { QLocalServer::removeServer(name); }
    void busyInstanceKeepsItsName()
    {
        QLocalServer running;
        QVERIFY(running.listen(name));
        // Nothing is accepted without the event loop, so that the system's queue fills up.
        std::vector<std::unique_ptr<QLocalSocket>> waiting;
        constexpr size_t maxWaiting = 10000;
        do {
            waiting.push_back(std::make_unique<QLocalSocket>());
            waiting.back()->connectToServer(name);
        } while (waiting.back()->state() == QLocalSocket::ConnectedState && waiting.size() < maxWaiting);
        QCOMPARE(waiting.back()->state(), QLocalSocket::ConnectingState);

        const LogCapture log;
        SingleInstanceApp late(name);
        QVERIFY(late.init());
        QVERIFY(log.contains(QtCriticalMsg, unguardedLine));
        QVERIFY(!late.findChild<QLocalServer*>()->isListening());

        connect(&running, &QLocalServer::newConnection, this,
                [&running] { delete running.nextPendingConnection(); });
        QTRY_COMPARE(waiting.back()->state(), QLocalSocket::UnconnectedState);
        SingleInstanceApp later(name);
        QVERIFY(!later.init());
    }
};

QTEST_GUILESS_MAIN(TestSingleInstanceBusy)
#include "tst_singleinstancebusy.moc"
