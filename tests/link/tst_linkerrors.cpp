// SPDX-License-Identifier: MIT
// A link whose ZeroMQ library fails: what the caller sees, and that the link can be used again.
#include "link/qorinterface.h"

#include "support/linkjournal.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/units.h"
#include "support/zmqfaults.h"

#include <QSignalSpy>
#include <QtTest>

#include <cerrno>
#include <memory>

Q_DECLARE_METATYPE(zmqfaults::Call)

using zmqfaults::Call;

namespace {

const auto caughtLine = "QorInterface::run(): caught unspecified exception"_s;

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

void addCalls(const std::vector<std::pair<const char*, Call>>& calls)
{
    QTest::addColumn<Call>("call");
    for (const auto& [name, call] : calls)
        QTest::newRow(name) << call;
}

} // namespace

class TestLinkErrors : public QObject {
    Q_OBJECT

private slots:
    void init() { zmqfaults::reset(); }

    void constructionThrows_data()
    {
        addCalls({ { "context", Call::NewContext }, { "socket", Call::NewSocket } });
    }

    void constructionThrows()
    {
        QFETCH(const Call, call);
        zmqfaults::failNext(call, EMFILE);
        QCOMPARE(errorOf([] { const QorInterface link; }), EMFILE);
        QVERIFY(!zmqfaults::isArmed());
    }

    void connectThrows_data()
    {
        addCalls({ { "subscribe", Call::Subscribe }, { "connect", Call::Connect } });
    }

    void connectThrows()
    {
        QFETCH(const Call, call);
        LinkedUnit unit;
        const LinkJournal journal(unit.link);
        const LogCapture log;
        zmqfaults::failNext(call, EINVAL);
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
        QorInterface link;
        // The library only looks at the shape of the text; what it lets pass is never reached.
        QTEST(errorOf([&] { link.connectQor(loopback, port); }), "error");
        QCOMPARE(link.port(), port);
        QCOMPARE(errorOf([&] { link.disconnectQor(); }), 0);
        verifyUsable(link);
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
        Publisher first;
        Publisher second;
        QorInterface link;
        QVERIFY(connectTo(link, first));
        zmqfaults::failNext(Call::Disconnect, ENOENT);
        QCOMPARE(errorOf([&] { link.connectQor(loopback, second.port()); }), ENOENT);
        QVERIFY(first.waitForUnsubscriber());
        QCOMPARE(zmqfaults::count(Call::Connect), 1);
        QCOMPARE(link.port(), first.port());
        verifyUsable(link);
    }

    void newSocketThrows()
    {
        const Publisher publisher;
        QorInterface link;
        QVERIFY(link.connectQor(loopback, publisher.port()));
        link.disconnectQor();
        zmqfaults::failNext(Call::NewSocket, EMFILE);
        QCOMPARE(errorOf([&] { link.connectQor(loopback, publisher.port()); }), EMFILE);
        verifyUsable(link);
    }

    void destructorSwallows()
    {
        Publisher publisher;
        auto link = std::make_unique<QorInterface>();
        QVERIFY(connectTo(*link, publisher));
        const LogCapture log;
        zmqfaults::failNext(Call::Disconnect, ENOENT);
        link.reset();
        QVERIFY(!zmqfaults::isArmed());
        QVERIFY(publisher.waitForUnsubscriber());
        QCOMPARE(log.count(QtDebugMsg, "QorInterface::~QorInterface()"_s), 1);
    }

    void unitSwallowsOnDestruction()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        zmqfaults::failNext(Call::Disconnect, ENOENT);
        unit.list.reset();
        QVERIFY(!zmqfaults::isArmed());
        QVERIFY(unit.publisher.waitForUnsubscriber());
    }

    void loopErrorDisconnectsOnce_data()
    {
        QTest::addColumn<Call>("call");
        QTest::addColumn<int>("error");
        QTest::newRow("no memory for a message") << Call::InitMessage << ENOMEM;
        QTest::newRow("receive refused") << Call::Receive << ENOTSOCK;
        QTest::newRow("receive interrupted") << Call::Receive << EINTR;
    }

    void loopErrorDisconnectsOnce()
    {
        QFETCH(const Call, call);
        QFETCH(const int, error);
        LinkedUnit unit;
        const LinkJournal journal(unit.link);
        const LogCapture log;
        zmqfaults::failNext(call, error);
        unit.device->setMonitored(true);
        QTRY_VERIFY(journal.entries.endsWith("address "_s));
        QCoreApplication::processEvents();
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
        QVERIFY(unit.link.isFinished());
        QCOMPARE(journal.entries.mid(journal.entries.size() - 3),
                 QStringList({ disconnectedEntry, "host "_s, "address "_s }));
        for (const QString& line : { caughtLine, endLine, disconnectLine })
            QCOMPARE(log.count(QtDebugMsg, line), 1);
        QCOMPARE(zmqfaults::count(Call::Disconnect), 1);
        for (const zmqfaults::Record& record : zmqfaults::records()) {
            if (record.call == Call::Disconnect)
                QCOMPARE(record.thread, QThread::currentThreadId());
        }
        verifyUsable(unit.link);
    }

    void loopErrorMeetsAStopFromOutside()
    {
        const Publisher publisher;
        QorInterface link;
        const LogCapture log;
        zmqfaults::failNext(Call::Receive, ENOTSOCK);
        QVERIFY(link.connectQor(loopback, publisher.port()));
        // The loop has failed, and its notice is still queued.
        QVERIFY(link.wait(5000));
        link.disconnectQor();
        QCoreApplication::processEvents();
        QCOMPARE(zmqfaults::count(Call::Disconnect), 1);
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        verifyUsable(link);
    }

    void loopErrorSwallowsAFailingDisconnect()
    {
        LinkedUnit unit;
        const LogCapture log;
        zmqfaults::failNext(Call::Receive, ENOTSOCK);
        zmqfaults::failNext(Call::Disconnect, ENOENT);
        unit.device->setMonitored(true);
        QTRY_COMPARE(log.count(QtDebugMsg, "QorInterface::processLoopFailed()"_s), 1);
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        verifyUsable(unit.link);
    }

    void loopErrorBetweenFramesLeavesAUsableLink()
    {
        Publisher publisher;
        QorInterface link;
        const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
        const LogCapture log;
        zmqfaults::failBetweenFrames(ENOTSOCK);
        QVERIFY(connectTo(link, publisher));
        publisher.sendFrames({ "one", "two", "three" });
        QTRY_COMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        QCOMPARE(log.count(QtDebugMsg, caughtLine), 1);
        QCOMPARE(received.count(), 1);
        verifyUsable(link);
    }
};

QTEST_GUILESS_MAIN(TestLinkErrors)
#include "tst_linkerrors.moc"
