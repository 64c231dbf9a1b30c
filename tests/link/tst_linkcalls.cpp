// SPDX-License-Identifier: MIT
// What a link asks of the ZeroMQ library, in which order and on which thread.
#include "link/qorinterface.h"

#include "support/units.h"
#include "support/zmqfaults.h"
#include "support/literals.h"
#include "support/publisher.h"

#include <QSignalSpy>
#include <QtTest>

#include <zmq.h>

#include <algorithm>
#include <memory>

using zmqfaults::Call;

namespace {

QVector<Call> kinds()
{
    QVector<Call> result;
    for (const zmqfaults::Record& record : zmqfaults::records())
        result.append(record.call);
    return result;
}

} // namespace

class TestLinkCalls : public QObject {
    Q_OBJECT

private slots:
    void init() { zmqfaults::reset(); }
    void makesAContextAndASocket()
    {
        const QorInterface first;
        QCOMPARE(kinds(), QVector<Call>({ Call::NewContext, Call::NewSocket }));
        QCOMPARE(zmqfaults::contextOptions(),
                 (QVector<QPair<int, int>> { { ZMQ_IO_THREADS, 1 }, { ZMQ_MAX_SOCKETS, 1023 } }));
        // Each unit has its own.
        const QorInterface second;
        QCOMPARE(zmqfaults::count(Call::NewContext), 2);
        QCOMPARE(zmqfaults::count(Call::NewSocket), 2);
    }

    void subscribesThenConnects()
    {
        Publisher publisher;
        QorInterface link;
        zmqfaults::reset();
        QVERIFY(link.connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        QTRY_VERIFY(zmqfaults::count(Call::Receive) > 0);
        QCOMPARE(kinds(), QVector<Call>({ Call::Subscribe, Call::Connect, Call::InitMessage }));
        const QVector<zmqfaults::Record> records = zmqfaults::records();
        QCOMPARE(records.at(1).endpoint, "tcp://127.0.0.1:" + QByteArray::number(publisher.port()));
        QCOMPARE(records.at(1).thread, QThread::currentThreadId());
        QVERIFY(records.at(2).thread != QThread::currentThreadId());
    }

    void connectsToAnIpv6AddressAsItStands()
    {
        QorInterface link;
        QVERIFY(link.connectQor("::1"_s, 5566));
        QCOMPARE(link.ipAddress(), "::1"_s);
        link.disconnectQor();
        for (const zmqfaults::Record& record : zmqfaults::records()) {
            if (record.call == Call::Connect || record.call == Call::Disconnect)
                QCOMPARE(record.endpoint, QByteArray("tcp://::1:5566"));
        }
        QCOMPARE(zmqfaults::count(Call::Connect), 1);
        QCOMPARE(zmqfaults::count(Call::Disconnect), 1);
    }

    void setsNoOptionButTheSubscription()
    {
        Publisher publisher;
        auto link = std::make_unique<QorInterface>();
        QVERIFY(link->connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        QTRY_VERIFY(zmqfaults::count(Call::Receive) > 0);
        // Nor does a text or the end of the link bring another one.
        const QSignalSpy received(link.get(), &QorInterface::receiveQorMessage);
        publisher.send("text");
        QTRY_COMPARE(received.count(), 1);
        link.reset();
        const QVector<zmqfaults::SocketOption> options = zmqfaults::socketOptions();
        QCOMPARE(options.size(), 1);
        QCOMPARE(options.at(0).option, ZMQ_SUBSCRIBE);
        QCOMPARE(options.at(0).value, QByteArray(""));
    }

    void pollsOnceAMillisecond()
    {
        const Publisher publisher;
        QorInterface link;
        QVERIFY(link.connectQor(loopback, publisher.port()));
        QTRY_VERIFY(zmqfaults::count(Call::Receive) > 0);
        QElapsedTimer elapsed;
        elapsed.start();
        const int before = zmqfaults::count(Call::Receive);
        QTRY_VERIFY(zmqfaults::count(Call::Receive) >= before + 300);
        const int polls = zmqfaults::count(Call::Receive) - before;
        QVERIFY2(polls <= elapsed.elapsed() + 2, QByteArray::number(polls).constData());
        // A busy computer lengthens many of the pauses, but none is ever shorter than what was asked for.
        QVector<qint64> gaps = zmqfaults::receiveGaps();
        std::sort(gaps.begin(), gaps.end());
        const qint64 shortest = gaps.at(gaps.size() / 10);
        QVERIFY2(shortest >= 1000 && shortest < 2000, QByteArray::number(shortest).constData());
    }

    void leavesTheEndpointBehindTheLoop()
    {
        Publisher publisher;
        QorInterface link;
        QVERIFY(link.connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        QTRY_VERIFY(zmqfaults::count(Call::Receive) > 0);
        zmqfaults::reset();
        link.disconnectQor();
        const int receives = zmqfaults::count(Call::Receive);
        // The loop is told at once, so that it does not go on for the hundred milliseconds of grace.
        QVERIFY2(receives < 40, QByteArray::number(receives).constData());
        QCOMPARE(kinds(), QVector<Call>({ Call::Disconnect, Call::CloseSocket }));
        const QVector<zmqfaults::Record> records = zmqfaults::records();
        QCOMPARE(records.at(0).endpoint, "tcp://127.0.0.1:" + QByteArray::number(publisher.port()));
        QCOMPARE(records.at(0).thread, QThread::currentThreadId());
        QVERIFY(publisher.waitForUnsubscriber());
        QCOMPARE(zmqfaults::count(Call::Receive), receives);
        // A connect to follow takes a new socket.
        QVERIFY(link.connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        QCOMPARE(zmqfaults::count(Call::NewSocket), 1);
        QCOMPARE(zmqfaults::count(Call::NewContext), 0);
    }

    void closesTheSocketInTheEnd()
    {
        auto link = std::make_unique<QorInterface>();
        zmqfaults::reset();
        link.reset();
        QCOMPARE(kinds(), QVector<Call>({ Call::CloseSocket }));
        Publisher publisher;
        link = std::make_unique<QorInterface>();
        QVERIFY(link->connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        QTRY_VERIFY(zmqfaults::count(Call::Receive) > 0);
        zmqfaults::reset();
        link.reset();
        QCOMPARE(kinds(), QVector<Call>({ Call::Disconnect, Call::CloseSocket }));
    }
};

QTEST_GUILESS_MAIN(TestLinkCalls)
#include "tst_linkcalls.moc"
