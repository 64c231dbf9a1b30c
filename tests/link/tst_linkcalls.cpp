// SPDX-License-Identifier: MIT
// What a link asks of the ZeroMQ library, in which order and on which thread.
#include "link/qorinterface.h"

#include "support/literals.h"
#include "support/units.h"
#include "support/zmqfaults.h"

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

QByteArray endpointOf(const Publisher& publisher)
{
    return "tcp://127.0.0.1:" + QByteArray::number(publisher.port());
}

} // namespace

class TestLinkCalls : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_publisher = std::make_unique<Publisher>();
        m_link = std::make_unique<QorInterface>();
        zmqfaults::reset();
    }

    void cleanup() { m_link.reset(); }

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
        connectToPublisher();
        QCOMPARE(kinds(), QVector<Call>({ Call::Subscribe, Call::Connect, Call::InitMessage }));
        const QVector<zmqfaults::Record> records = zmqfaults::records();
        QCOMPARE(records.at(1).endpoint, endpointOf(*m_publisher));
        QCOMPARE(records.at(1).thread, QThread::currentThreadId());
        QVERIFY(records.at(2).thread != QThread::currentThreadId());
    }

    void connectsToAnIpv6AddressAsItStands()
    {
        QVERIFY(m_link->connectQor("::1"_s, 5566));
        QCOMPARE(m_link->ipAddress(), "::1"_s);
        m_link->disconnectQor();
        for (const zmqfaults::Record& record : zmqfaults::records()) {
            if (record.call == Call::Connect || record.call == Call::Disconnect)
                QCOMPARE(record.endpoint, QByteArray("tcp://::1:5566"));
        }
        QCOMPARE(zmqfaults::count(Call::Connect), 1);
        QCOMPARE(zmqfaults::count(Call::Disconnect), 1);
    }

    void setsNoOptionButTheSubscription()
    {
        connectToPublisher();
        // Nor does a text or the end of the link bring another one.
        const QSignalSpy received(m_link.get(), &QorInterface::receiveQorMessage);
        m_publisher->send("text");
        QTRY_COMPARE(received.count(), 1);
        m_link.reset();
        const QVector<zmqfaults::SocketOption> options = zmqfaults::socketOptions();
        QCOMPARE(options.size(), 1);
        QCOMPARE(options.at(0).option, ZMQ_SUBSCRIBE);
        QCOMPARE(options.at(0).value, QByteArray(""));
    }

    void pollsOnceAMillisecond()
    {
        connectToPublisher();
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
        connectToPublisher();
        zmqfaults::reset();
        m_link->disconnectQor();
        const int receives = zmqfaults::count(Call::Receive);
        // The loop is told at once, so that it does not go on for the hundred milliseconds of grace.
        QVERIFY2(receives < 40, QByteArray::number(receives).constData());
        QCOMPARE(kinds(), QVector<Call>({ Call::Disconnect, Call::CloseSocket }));
        const zmqfaults::Record disconnect = zmqfaults::records().constFirst();
        QCOMPARE(disconnect.endpoint, endpointOf(*m_publisher));
        QCOMPARE(disconnect.thread, QThread::currentThreadId());
        QVERIFY(m_publisher->waitForUnsubscriber());
        QCOMPARE(zmqfaults::count(Call::Receive), receives);
        // A connect to follow takes a new socket.
        connectToPublisher();
        QCOMPARE(zmqfaults::count(Call::NewSocket), 1);
        QCOMPARE(zmqfaults::count(Call::NewContext), 0);
    }

    void closesTheSocketInTheEnd()
    {
        m_link.reset();
        QCOMPARE(kinds(), QVector<Call>({ Call::CloseSocket }));
        m_link = std::make_unique<QorInterface>();
        connectToPublisher();
        zmqfaults::reset();
        m_link.reset();
        QCOMPARE(kinds(), QVector<Call>({ Call::Disconnect, Call::CloseSocket }));
    }

private:
    // Connects, and waits for the first poll.
    void connectToPublisher()
    {
        QVERIFY(connectTo(*m_link, *m_publisher));
        QTRY_VERIFY(zmqfaults::count(Call::Receive) > 0);
    }

    std::unique_ptr<Publisher> m_publisher;
    std::unique_ptr<QorInterface> m_link;
};

QTEST_GUILESS_MAIN(TestLinkCalls)
#include "tst_linkcalls.moc"
