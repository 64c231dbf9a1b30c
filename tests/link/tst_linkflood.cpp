// SPDX-License-Identifier: MIT
// Units that publish faster than a link polls: nothing of them outlives the link to them.
#include "link/qorinterface.h"

#include "support/units.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/publisher.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace {

constexpr int flood = 500;

void publish(Publisher& publisher, const QByteArray& text, int frames)
{
    const auto message = QVector<QByteArray>(frames, text).toList();
    for (int i = 0; i < flood; ++i)
        publisher.sendFrames(message);
}

} // namespace

class TestLinkFlood : public QObject {
    Q_OBJECT

private slots:
    void disconnectDropsQueuedTexts()
    {
        Publisher publisher;
        LinkedUnit unit(publisher.port());
        unit.device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        const QSignalSpy received(&unit.link, &QorInterface::receiveQorMessage);
        QSemaphore queued;
        connect(
            &unit.link, &QorInterface::textReceived, this, [&] { queued.release(); }, Qt::DirectConnection);
        publish(publisher, "{}", 1);
        // Not a single event is let in, neither here nor while the loop goes on for its grace time.
        QVERIFY(queued.tryAcquire(10, 5000));
        unit.device->setMonitored(false);
        QCoreApplication::processEvents();
        QVERIFY(unit.link.isFinished());
        QCOMPARE(received.count(), 0);
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
    }

    void reconnectHearsNothingOld_data()
    {
        QTest::addColumn<int>("frames");
        QTest::newRow("single frames") << 1;
        QTest::newRow("50 frames") << 50;
    }

    void reconnectHearsNothingOld()
    {
        QFETCH(const int, frames);
        QorInterface link;
        constexpr int rounds = 5;
        for (int i = 0; i < rounds; ++i) {
            Publisher first;
            Publisher second;
            QVERIFY(link.connectQor(loopback, first.port()));
            QVERIFY(first.waitForSubscriber());
            QSignalSpy received(&link, &QorInterface::receiveQorMessage);
            publish(first, "first", frames);
            QTRY_VERIFY(received.count() > 3);
            received.clear();

            QVERIFY(link.connectQor(loopback, second.port()));
            QVERIFY(second.waitForSubscriber());
            publish(first, "first", frames);
            second.sendFrames({ "second", "end" });
            QTRY_VERIFY(!received.isEmpty() && received.last().at(0).toByteArray() == "end");
            QCOMPARE(received.count(), 2);
            QCOMPARE(received.at(0).at(0).toByteArray(), QByteArray("second"));
            link.disconnectQor();
        }
    }

    void textsComeOnceAfterAReconnect()
    {
        const Publisher first;
        Publisher second;
        QorInterface link;
        QSemaphore queued;
        connect(
            &link, &QorInterface::textReceived, this, [&] { queued.release(); }, Qt::DirectConnection);
        const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
        QVERIFY(link.connectQor(loopback, first.port()));
        // The text arrives before the event loop has had its turn since the disconnect.
        QVERIFY(link.connectQor(loopback, second.port()));
        QVERIFY(second.waitForSubscriber());
        second.send("text");
        QVERIFY(queued.tryAcquire(1, 5000));
        QTRY_VERIFY(received.count() > 0);
        QCoreApplication::processEvents();
        QCOMPARE(received.count(), 1);
    }

    void ownHandlerMayDisconnect()
    {
        Publisher publisher;
        LinkedUnit unit(publisher.port());
        unit.device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        int texts = 0;
        connect(&unit.link, &QorInterface::receiveQorMessage, this, [&] {
            ++texts;
            unit.device->setMonitored(false);
        });
        publish(publisher, "{}", 1);
        QTRY_VERIFY(unit.link.isFinished());
        QCoreApplication::processEvents();
        QCOMPARE(texts, 1);
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
    }

    void busyListenerIsNotBuried()
    {
        Publisher publisher;
        LinkedUnit unit(publisher.port());
        unit.device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        const QSignalSpy received(&unit.link, &QorInterface::receiveQorMessage);
        QSemaphore queued;
        connect(
            &unit.link, &QorInterface::textReceived, this, [&] { queued.release(); }, Qt::DirectConnection);
        publish(publisher, "{}", 1);
        // What is not handled yet stays in the socket, which has a limit, while the GUI thread is held up.
        QVERIFY(!queued.tryAcquire(100, 1000));
        QCOMPARE(received.count(), 0);
        // Late, but all of them.
        QTRY_COMPARE(received.count(), flood);
        // A link that was held back when it was left starts the next session afresh.
        queued.acquire(queued.available());
        publish(publisher, "{}", 1);
        QVERIFY(!queued.tryAcquire(flood, 1000));
        unit.device->setMonitored(false);
        unit.device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        publish(publisher, "{}", 1);
        QTRY_COMPARE(received.count(), 2 * flood);
    }

    void destructionInAFlood()
    {
        Publisher publisher;
        auto unit = std::make_unique<LinkedUnit>(publisher.port());
        unit->device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        publish(publisher, "{}", 50);
        QTRY_COMPARE(unit->link.state(), QorInterface::Connected);
        const LogCapture log;
        unit.reset();
        QVERIFY(publisher.waitForUnsubscriber());
        QCoreApplication::processEvents();
        QCOMPARE(log.count(QtDebugMsg, "QorInterface::run(): thread closed!"_s), 1);
    }
};

QTEST_GUILESS_MAIN(TestLinkFlood)
#include "tst_linkflood.moc"
