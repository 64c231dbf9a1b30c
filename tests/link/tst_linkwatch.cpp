// SPDX-License-Identifier: MIT
// Units that come back without a farewell, at another address, or for the first time: the link finds them by
// itself, and says nothing about it.
#include "link/qorinterface.h"

#include "link/hostlookup.h"
#include "support/fakenames.h"
#include "support/linkjournal.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/units.h"
#include "support/zmqfaults.h"
#include "support/zmtp.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <cerrno>

using namespace std::chrono_literals;

namespace {

const auto hall = "hall.example"_s;
constexpr auto patience = 400ms;

// Stands before a unit. While it has other plans it takes a connection and does as they say.
class Gate : public QTcpServer {
public:
    explicit Gate(int unitPort)
    {
        connect(this, &QTcpServer::newConnection, this, [this, unitPort] {
            ++connections;
            QTcpSocket* link = nextPendingConnection();
            if (plan)
                plan(link);
            else
                forward(link, unitPort);
        });
        listen(QHostAddress::LocalHost);
    }

    std::function<void(QTcpSocket*)> plan;
    int connections = 0;

private:
    static void forward(QTcpSocket* link, int unitPort)
    {
        auto* unit = new QTcpSocket(link);
        unit->connectToHost(QHostAddress::LocalHost, static_cast<quint16>(unitPort));
        connect(link, &QTcpSocket::readyRead, unit, [=] { unit->write(link->readAll()); });
        connect(unit, &QTcpSocket::readyRead, link, [=] { link->write(unit->readAll()); });
    }
};

void stayMute(QTcpSocket* link)
{
    // Like a unit without power: the connection stands, and nobody is behind it.
    link->setReadBufferSize(1);
}

// The link's watch and the gate both work on this thread.
bool awaitSubscriber(LinkedUnit& unit)
{
    return QTest::qWaitFor([&] { return unit.publisher.waitForSubscriber(5); }, 10000);
}

struct ImpatientUnit : LinkedUnit {
    ImpatientUnit() { link.setPatience(patience); }
};

} // namespace

class TestLinkWatch : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        QTRY_VERIFY(!isLookUpUnderWay());
        lookUpAfresh({});
        fakenames::reset();
        zmqfaults::reset();
    }

    void beginsAnewWithoutAWord()
    {
        ImpatientUnit unit;
        Gate gate(unit.publisher.port());
        gate.plan = stayMute;
        unit.device->setZmqPort(gate.serverPort());
        unit.device->setMonitored(true);
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        QCoreApplication::processEvents();
        const LinkJournal journal(unit.link);
        const LogCapture log;
        QElapsedTimer elapsed;
        elapsed.start();
        QTRY_COMPARE(gate.connections, 4);
        // Once in each further time of patience, not more often.
        QVERIFY2(elapsed.elapsed() > 2 * patience.count(), QByteArray::number(elapsed.elapsed()).constData());
        QCOMPARE(journal.entries, QStringList());
        QCOMPARE(log.taggedLines(), QStringList());
        QCOMPARE(unit.link.state(), QorInterface::Pending);

        gate.plan = nullptr;
        QVERIFY(awaitSubscriber(unit));
        QVERIFY(unit.speak());
        QCOMPARE(unit.link.state(), QorInterface::Connected);
    }

    void comesBackFromAnyPeer_data()
    {
        QTest::addColumn<QByteArray>("word");
        QTest::newRow("another mechanism") << zmtp::greeting("CURVE");
        QTest::newRow("another kind of socket") << zmtp::greeting("NULL") + zmtp::readyAs("REP");
        QTest::newRow("no ZeroMQ") << QByteArray("HTTP/1.1 400 Bad Request\r\n\r\n");
        QTest::newRow("frame of 8 EiB")
            << zmtp::greeting("NULL") + zmtp::readyAs("PUB") + QByteArray::fromHex("02ffffffffffffffff");
    }

    void comesBackFromAnyPeer()
    {
        QFETCH(const QByteArray, word);
        ImpatientUnit unit;
        Gate gate(unit.publisher.port());
        int rude = 0;
        gate.plan = [&](QTcpSocket* link) {
            link->write(word);
            ++rude;
        };
        unit.device->setZmqPort(gate.serverPort());
        unit.device->setMonitored(true);
        QTRY_VERIFY(rude > 0);
        QTest::qWait(100);
        gate.plan = nullptr;
        QVERIFY(awaitSubscriber(unit));
        QVERIFY(unit.speak());
    }

    void leavesATalkingUnitAlone_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("report") << statusReport();
        QTest::newRow("too long to be heard") << QByteArray(5000, ' ');
    }

    void leavesATalkingUnitAlone()
    {
        QFETCH(const QByteArray, text);
        ImpatientUnit unit;
        QVERIFY(unit.monitor());
        QElapsedTimer elapsed;
        elapsed.start();
        while (elapsed.elapsed() < 3 * patience.count()) {
            unit.publisher.send(text);
            QTest::qWait(50);
        }
        QCOMPARE(zmqfaults::count(zmqfaults::Call::Connect), 1);
    }

    void leavesAUnitAloneThatSpeaksToABlockedWindow()
    {
        ImpatientUnit unit;
        QVERIFY(unit.monitor());
        QVERIFY(unit.speak());
        const QSignalSpy received(&unit.link, &QorInterface::receiveQorMessage);
        constexpr int texts = 100;
        for (int i = 0; i < texts; ++i) {
            unit.publisher.send(statusReport());
            QThread::msleep(20);
        }
        QTRY_COMPARE(received.count(), texts);
        QCOMPARE(zmqfaults::count(zmqfaults::Call::Connect), 1);
    }

    void namesThatBeginToResolveAreFollowed()
    {
        ImpatientUnit unit;
        unit.device->setHost(hall);
        unit.device->setMonitored(true);
        QVERIFY(!unit.link.isRunning());
        QCOMPARE(unit.device->ipAddress(), QString());
        fakenames::set(hall, loopback);
        QVERIFY(awaitSubscriber(unit));
        QCOMPARE(unit.device->ipAddress(), loopback);
        QVERIFY(unit.speak());
    }

    void lookupsDoNotBlock()
    {
        ImpatientUnit unit;
        unit.device->setHost(hall);
        unit.device->setMonitored(true);
        // Past the time for which the answer of the start serves.
        QTest::qWait(5500);
        const int before = fakenames::count(hall);
        fakenames::setDelay(1000);
        QElapsedTimer sinceTurn;
        sinceTurn.start();
        qint64 longest = 0;
        while (fakenames::count(hall) < before + 2) {
            QTest::qWait(10);
            longest = std::max(longest, sinceTurn.restart());
        }
        QVERIFY2(longest < 500, QByteArray::number(longest).constData());
    }

    void silentUnitIsFollowedToItsNewAddress()
    {
        fakenames::set(hall, "127.0.0.2"_s);
        LinkedUnit unit;
        unit.link.setPatience(2s);
        unit.device->setHost(hall);
        unit.device->setMonitored(true);
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        QCOMPARE(unit.link.ipAddress(), "127.0.0.2"_s);
        QCoreApplication::processEvents();
        const LinkJournal journal(unit.link);
        const LogCapture log;
        lookUpAfresh({});
        fakenames::set(hall, loopback);
        QTRY_COMPARE(unit.link.ipAddress(), loopback);
        // At once, and not when it begins anew the next time.
        QVERIFY(QTest::qWaitFor([&] { return unit.publisher.waitForSubscriber(5); }, 1000));
        QCOMPARE(journal.entries, QStringList("address 127.0.0.1"_s));
        QCOMPARE(log.taggedLines(), QStringList());
        QVERIFY(unit.speak());
        // One more than begins anew anyway.
        QVERIFY(zmqfaults::count(zmqfaults::Call::Connect) < 20);
        // What is left in the end is where it went to.
        zmqfaults::reset();
        unit.device->setMonitored(false);
        QCOMPARE(zmqfaults::records().first().endpoint,
                 QByteArray("tcp://127.0.0.1:") + QByteArray::number(unit.publisher.port()));
        QVERIFY(unit.publisher.waitForUnsubscriber());

        // Once it is switched off, it follows no more.
        fakenames::set(hall, "127.0.0.3"_s);
        lookUpAfresh({});
        zmqfaults::reset();
        unit.device->setMonitored(true);
        QTRY_VERIFY(zmqfaults::count(zmqfaults::Call::Connect) >= 3);
        const auto records = zmqfaults::records();
        for (const auto& record : records)
            QVERIFY(record.endpoint.isEmpty() || record.endpoint.startsWith("tcp://127.0.0.3:"));
    }

    void answerForTheHostOfBeforeIsNotFollowed()
    {
        fakenames::set(hall, "127.0.0.2"_s);
        fakenames::set("other.example"_s, "127.0.0.3"_s);
        ImpatientUnit unit;
        unit.device->setHost(hall);
        unit.device->setMonitored(true);
        lookUpAfresh({});
        fakenames::set(hall, loopback);
        fakenames::setDelay(1000);
        QTRY_VERIFY(isLookUpUnderWay());
        fakenames::setDelay(0);
        unit.device->setHost("other.example"_s);
        const LinkJournal journal(unit.link);
        QVERIFY(isLookUpUnderWay());
        QTRY_VERIFY(!isLookUpUnderWay());
        QTest::qWait(500);
        QCOMPARE(unit.link.ipAddress(), "127.0.0.3"_s);
        QVERIFY(journal.entries.filter("address"_s).isEmpty());
    }

    void talkingUnitIsNotFollowed()
    {
        fakenames::set(hall, loopback);
        LinkedUnit unit;
        // Long enough for a busy machine.
        unit.link.setPatience(1500ms);
        unit.device->setHost(hall);
        QVERIFY(unit.monitor());
        QVERIFY(unit.speak());
        const int before = fakenames::count(hall);
        fakenames::set(hall, "127.0.0.2"_s);
        for (int i = 0; i < 160; ++i) {
            unit.publisher.send(statusReport());
            QTest::qWait(50);
        }
        QCOMPARE(fakenames::count(hall), before);
        QCOMPARE(unit.link.ipAddress(), loopback);
    }

    void unitThatSpeaksBeforeTheAnswerIsNotFollowed()
    {
        fakenames::set(hall, loopback);
        ImpatientUnit unit;
        unit.device->setHost(hall);
        QVERIFY(unit.monitor());
        lookUpAfresh({});
        fakenames::set(hall, "127.0.0.2"_s);
        fakenames::setDelay(500);
        QTRY_VERIFY(isLookUpUnderWay());
        QVERIFY(unit.speak());
        QTRY_VERIFY(!isLookUpUnderWay());
        QTest::qWait(500);
        QCOMPARE(unit.link.state(), QorInterface::Connected);
        QCOMPARE(unit.link.ipAddress(), loopback);
    }

    void linkThatFailedIsTakenUpAgain()
    {
        ImpatientUnit unit;
        zmqfaults::failNext(zmqfaults::Call::Receive, ENOTSOCK);
        unit.device->setMonitored(true);
        QTRY_VERIFY(!zmqfaults::isArmed());
        QTRY_VERIFY(unit.link.isFinished() && unit.link.state() == QorInterface::Disconnected);
        QVERIFY(awaitSubscriber(unit));
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        QVERIFY(unit.speak());
    }

    void failureToBeginAnewIsNoEnd()
    {
        ImpatientUnit unit;
        Gate gate(unit.publisher.port());
        gate.plan = stayMute;
        unit.device->setZmqPort(gate.serverPort());
        unit.device->setMonitored(true);
        QTRY_COMPARE(gate.connections, 1);
        zmqfaults::failNext(zmqfaults::Call::NewSocket, EMFILE);
        QTRY_VERIFY(!zmqfaults::isArmed());
        QCOMPARE(gate.connections, 1);
        gate.plan = nullptr;
        QVERIFY(awaitSubscriber(unit));
        QVERIFY(unit.speak());
    }

    void unmonitoredUnitIsNotWatched()
    {
        ImpatientUnit unit;
        unit.device->setHost(hall);
        unit.device->setMonitored(true);
        unit.device->setMonitored(false);
        fakenames::set(hall, loopback);
        const int before = fakenames::count(hall);
        QTest::qWait(6000);
        QVERIFY(!unit.link.isRunning());
        QCOMPARE(fakenames::count(hall), before);
    }
};

QTEST_GUILESS_MAIN(TestLinkWatch)
#include "tst_linkwatch.moc"
