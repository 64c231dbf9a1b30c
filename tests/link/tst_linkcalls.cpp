// SPDX-License-Identifier: MIT
// What a link asks of the ZeroMQ library, in which order and on which thread; and what the caller sees when
// the library fails, after which the link can be used again.
#include "link/qorinterface.h"

#include "support/linkjournal.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/units.h"
#include "support/zmqfaults.h"

#include <QSignalSpy>
#include <QtTest>

#include <zmq.h>

#include <algorithm>
#include <cerrno>
#include <memory>

using zmqfaults::Call;

Q_DECLARE_METATYPE(Call)

namespace {

const auto caughtLine = "QorInterface::run(): caught unspecified exception"_s;

QVector<Call> kinds()
{
    QVector<Call> result;
    for (const zmqfaults::Record& record : zmqfaults::records())
        result.append(record.call);
    return result;
}

QVector<zmqfaults::Record> disconnects()
{
    QVector<zmqfaults::Record> result = zmqfaults::records();
    result.erase(std::remove_if(result.begin(), result.end(),
                                [](const auto& record) { return record.call != Call::Disconnect; }),
                 result.end());
    return result;
}

QByteArray endpointOf(const Publisher& publisher)
{
    return "tcp://127.0.0.1:" + QByteArray::number(publisher.port());
}

// The error number with which the action throws; 0 when it does not.
template <typename Action> int errorOf(Action action)
{
    try {
        action();
        return 0;
    } catch (const zmq::error_t& error) {
        return error.num();
    }
}

// Hears a unit, and is left as an idle link.
void verifyUsable(QorInterface& link)
{
    QVERIFY(!zmqfaults::isArmed());
    QVERIFY(!link.isRunning());
    QCOMPARE(link.state(), QorInterface::Disconnected);
    Publisher publisher;
    const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
    QVERIFY(connectTo(link, publisher));
    publisher.send("{}");
    QTRY_COMPARE(received.count(), 1);
    link.disconnectQor();
    QVERIFY(publisher.waitForUnsubscriber());
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
        QCOMPARE(zmqfaults::records().at(1).call, Call::Connect);
        QCOMPARE(zmqfaults::records().at(1).endpoint, QByteArray("tcp://::1:5566"));
        m_link->disconnectQor();
        QCOMPARE(disconnects().size(), 1);
        QCOMPARE(disconnects().at(0).endpoint, QByteArray("tcp://::1:5566"));
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
        QCOMPARE(disconnects().at(0).endpoint, endpointOf(*m_publisher));
        QCOMPARE(disconnects().at(0).thread, QThread::currentThreadId());
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

    void constructionThrows_data()
    {
        addCalls({ { "context", Call::NewContext, EMFILE }, { "socket", Call::NewSocket, EMFILE } });
    }

    void constructionThrows()
    {
        failNextCall();
        QCOMPARE(errorOf([] { const QorInterface link; }), EMFILE);
        QVERIFY(!zmqfaults::isArmed());
    }

    void connectThrows_data()
    {
        addCalls({ { "subscribe", Call::Subscribe, EINVAL }, { "connect", Call::Connect, EINVAL } });
    }

    void connectThrows()
    {
        LinkedUnit unit;
        const LinkJournal journal(unit.link);
        const LogCapture log;
        failNextCall();
        QCOMPARE(errorOf([&] { unit.device->setMonitored(true); }), EINVAL);
        QCoreApplication::processEvents();
        QVERIFY(!unit.link.isRunning());
        QCOMPARE(journal.entries,
                 QStringList({ "host 127.0.0.1"_s, "address 127.0.0.1"_s,
                               "port "_s + QString::number(unit.publisher.port()) }));
        // There is nothing to disconnect.
        unit.link.disconnectQor();
        QVERIFY(!log.contains(QtDebugMsg, disconnectLine));
        verifyUsable(unit.link);
    }

    void impossiblePorts_data()
    {
        QTest::addColumn<int>("port");
        QTest::addColumn<int>("error");
        QTest::newRow("negative") << -1 << EINVAL;
        QTest::newRow("zero") << 0 << 0;
        QTest::newRow("too big") << 65536 << 0;
    }

    void impossiblePorts()
    {
        QFETCH(const int, port);
        // ZeroMQ checks only the form of the endpoint. The ports that it accepts here cannot be reached.
        QTEST(errorOf([&] { m_link->connectQor(loopback, port); }), "error");
        QCOMPARE(m_link->port(), port);
        QCOMPARE(errorOf([&] { m_link->disconnectQor(); }), 0);
        verifyUsable(*m_link);
    }

    void disconnectThrows()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        QVERIFY(unit.speak());
        const LinkJournal journal(unit.link);
        zmqfaults::failNext(Call::Disconnect, ENOENT);
        QCOMPARE(errorOf([&] { unit.device->setMonitored(false); }), ENOENT);
        QCOMPARE(journal.entries, QStringList({ disconnectedEntry, "host "_s, "address "_s }));
        // The unit is not heard any more all the same.
        QVERIFY(unit.publisher.waitForUnsubscriber());
        verifyUsable(unit.link);
    }

    void reconnectThrows()
    {
        const Publisher second;
        connectToPublisher();
        zmqfaults::failNext(Call::Disconnect, ENOENT);
        QCOMPARE(errorOf([&] { m_link->connectQor(loopback, second.port()); }), ENOENT);
        QVERIFY(m_publisher->waitForUnsubscriber());
        QCOMPARE(zmqfaults::count(Call::Connect), 1);
        QCOMPARE(m_link->port(), m_publisher->port());
        verifyUsable(*m_link);
    }

    void newSocketThrows()
    {
        connectToPublisher();
        m_link->disconnectQor();
        zmqfaults::failNext(Call::NewSocket, EMFILE);
        QCOMPARE(errorOf([&] { m_link->connectQor(loopback, m_publisher->port()); }), EMFILE);
        verifyUsable(*m_link);
    }

    void destructionSwallows()
    {
        connectToPublisher();
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        const LogCapture log;
        zmqfaults::failNext(Call::Disconnect, ENOENT);
        m_link.reset();
        QVERIFY(!zmqfaults::isArmed());
        QVERIFY(m_publisher->waitForUnsubscriber());
        QCOMPARE(log.count(QtDebugMsg, "QorInterface::~QorInterface()"_s), 1);

        zmqfaults::failNext(Call::Disconnect, ENOENT);
        unit.list.reset();
        QVERIFY(!zmqfaults::isArmed());
        QVERIFY(unit.publisher.waitForUnsubscriber());
    }

    void loopErrorDisconnectsOnce_data()
    {
        addCalls({ { "no memory for a message", Call::InitMessage, ENOMEM },
                   { "receive refused", Call::Receive, ENOTSOCK },
                   { "receive interrupted", Call::Receive, EINTR } });
    }

    void loopErrorDisconnectsOnce()
    {
        LinkedUnit unit;
        const LinkJournal journal(unit.link);
        const LogCapture log;
        failNextCall();
        unit.device->setMonitored(true);
        QTRY_VERIFY(journal.entries.endsWith("address "_s));
        QCoreApplication::processEvents();
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
        QVERIFY(unit.link.isFinished());
        QCOMPARE(journal.entries.mid(journal.entries.size() - 3),
                 QStringList({ disconnectedEntry, "host "_s, "address "_s }));
        for (const QString& line : { caughtLine, endLine, disconnectLine })
            QCOMPARE(log.count(QtDebugMsg, line), 1);
        QCOMPARE(log.taggedLines("QorInterface::run()"_s).mid(1),
                 QStringList({ "D "_s + caughtLine, "D "_s + endLine }));
        QCOMPARE(disconnects().size(), 1);
        QCOMPARE(disconnects().at(0).thread, QThread::currentThreadId());
        verifyUsable(unit.link);
    }

    void loopErrorMeetsAStopFromOutside()
    {
        const LogCapture log;
        zmqfaults::failNext(Call::Receive, ENOTSOCK);
        QVERIFY(m_link->connectQor(loopback, m_publisher->port()));
        // The loop has failed, and its notice is still queued.
        QVERIFY(m_link->wait(5000));
        m_link->disconnectQor();
        QCoreApplication::processEvents();
        QCOMPARE(disconnects().size(), 1);
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        verifyUsable(*m_link);
    }

    void loopErrorSwallowsAFailingDisconnect()
    {
        const LogCapture log;
        zmqfaults::failNext(Call::Receive, ENOTSOCK);
        zmqfaults::failNext(Call::Disconnect, ENOENT);
        QVERIFY(m_link->connectQor(loopback, m_publisher->port()));
        QTRY_COMPARE(log.count(QtDebugMsg, "QorInterface::processLoopFailed()"_s), 1);
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        verifyUsable(*m_link);
    }

    void endOfAUnitSwallowsAFailingDisconnect()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        const LogCapture log;
        zmqfaults::failNext(Call::Disconnect, ENOENT);
        unit.list.reset();
        QCOMPARE(log.count(QtDebugMsg, "Device::~Device():"_s), 1);
        QVERIFY(unit.publisher.waitForUnsubscriber());
    }

    void loopErrorBetweenFramesLeavesAUsableLink()
    {
        const QSignalSpy received(m_link.get(), &QorInterface::receiveQorMessage);
        const LogCapture log;
        zmqfaults::failBetweenFrames(ENOTSOCK);
        connectToPublisher();
        m_publisher->sendFrames({ "one", "two", "three" });
        QTRY_COMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        QCOMPARE(log.count(QtDebugMsg, caughtLine), 1);
        QCOMPARE(received.count(), 1);
        verifyUsable(*m_link);
    }

private:
    // Connects, and waits for the first poll.
    void connectToPublisher()
    {
        QVERIFY(connectTo(*m_link, *m_publisher));
        QTRY_VERIFY(zmqfaults::count(Call::Receive) > 0);
    }

    struct FailingCall {
        const char* name;
        Call call;
        int error;
    };

    static void addCalls(std::initializer_list<FailingCall> calls)
    {
        QTest::addColumn<Call>("call");
        QTest::addColumn<int>("error");
        for (const FailingCall& failing : calls)
            QTest::newRow(failing.name) << failing.call << failing.error;
    }

    static void failNextCall()
    {
        QFETCH(const Call, call);
        QFETCH(const int, error);
        zmqfaults::failNext(call, error);
    }

    std::unique_ptr<Publisher> m_publisher;
    std::unique_ptr<QorInterface> m_link;
};

QTEST_GUILESS_MAIN(TestLinkCalls)
#include "tst_linkcalls.moc"
