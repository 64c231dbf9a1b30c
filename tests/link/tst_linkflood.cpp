// SPDX-License-Identifier: MIT
// Units that publish faster than a link polls. No text may arrive after the link has been left.
#include "link/qorinterface.h"

#include "support/linkjournal.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/units.h"

#include <QPointer>
#include <QSemaphore>
#include <QSignalSpy>
#include <QtTest>

#include <functional>

using Ending = std::function<void(LinkedUnit&)>;
Q_DECLARE_METATYPE(Ending)

namespace {

constexpr int flood = 500;

void publish(Publisher& publisher, const QByteArray& text = "{}", int frames = 1)
{
    const auto message = QVector<QByteArray>(frames, text).toList();
    for (int i = 0; i < flood; ++i)
        publisher.sendFrames(message);
}

// Counts in the semaphore the texts that are queued for the GUI thread. So a test can wait for them without
// processing events.
void countTexts(const QorInterface& link, QSemaphore& queued)
{
    QObject::connect(
        &link, &QorInterface::textReceived, &link, [&queued] { queued.release(); }, Qt::DirectConnection);
}

} // namespace

class TestLinkFlood : public QObject {
    Q_OBJECT

private slots:
    void disconnectDropsQueuedTexts()
    {
        QSemaphore queued;
        LinkedUnit unit;
        countTexts(unit.link, queued);
        QVERIFY(unit.monitor());
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        const QSignalSpy received(&unit.link, &QorInterface::receiveQorMessage);
        publish(unit.publisher);
        // No event is processed here, nor while the loop runs on for its grace time.
        QVERIFY(queued.tryAcquire(10, 5000));
        unit.device->setMonitored(false);
        QCoreApplication::processEvents();
        QVERIFY(unit.link.isFinished());
        QCOMPARE(received.count(), 0);
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
    }

    void disconnectWaitsForABusyLoop()
    {
        QSemaphore busy;
        LinkedUnit unit;
        // Before the thread starts: the thread sanitizer does not see into Qt's list of connections.
        connect(
            &unit.link, &QorInterface::textReceived, &unit.link,
            [&busy] {
                busy.release();
                // Much later than the grace time.
                QThread::msleep(300);
            },
            Qt::DirectConnection);
        QVERIFY(unit.monitor());
        unit.publisher.send("{}");
        QVERIFY(busy.tryAcquire(1, 5000));
        unit.device->setMonitored(false);
        QVERIFY(unit.link.isFinished());
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
            QVERIFY(connectTo(link, first));
            QSignalSpy received(&link, &QorInterface::receiveQorMessage);
            publish(first, "first", frames);
            QTRY_VERIFY(received.count() > 3);
            received.clear();

            QVERIFY(connectTo(link, second));
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
        QSemaphore queued;
        const Publisher first;
        Publisher second;
        QorInterface link;
        countTexts(link, queued);
        const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
        QVERIFY(link.connectQor(loopback, first.port()));
        // The text arrives before the event loop runs again after the disconnect.
        QVERIFY(connectTo(link, second));
        second.send("text");
        QVERIFY(queued.tryAcquire(1, 5000));
        QTRY_VERIFY(received.count() > 0);
        QCoreApplication::processEvents();
        QCOMPARE(received.count(), 1);
    }

    void ownHandlerMayDisconnect()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        const QSignalSpy received(&unit.link, &QorInterface::receiveQorMessage);
        connect(&unit.link, &QorInterface::receiveQorMessage, unit.device,
                [&unit] { unit.device->setMonitored(false); });
        publish(unit.publisher);
        QTRY_VERIFY(unit.link.isFinished());
        QCoreApplication::processEvents();
        QCOMPARE(received.count(), 1);
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
    }

    void busyListenerIsNotBuried()
    {
        QSemaphore queued;
        LinkedUnit unit;
        countTexts(unit.link, queued);
        QVERIFY(unit.monitor());
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        const QSignalSpy received(&unit.link, &QorInterface::receiveQorMessage);
        publish(unit.publisher);
        // While the GUI thread is blocked, the other texts stay in the socket, whose queue is limited.
        QVERIFY(!queued.tryAcquire(100, 1000));
        QCOMPARE(received.count(), 0);
        // All of them arrive, though late.
        QTRY_COMPARE(received.count(), flood);
        // The next session of a link starts with no waiting texts, even if the last one ended with many.
        queued.acquire(queued.available());
        publish(unit.publisher);
        QVERIFY(!queued.tryAcquire(flood, 1000));
        unit.device->setMonitored(false);
        QVERIFY(unit.monitor());
        publish(unit.publisher);
        QTRY_COMPARE(received.count(), 2 * flood);
    }

    void unitEndsInAFlood_data()
    {
        QTest::addColumn<Ending>("end");
        QTest::newRow("with its list") << Ending([](LinkedUnit& unit) { unit.list.reset(); });
        QTest::newRow("by its removal") << Ending([](LinkedUnit& unit) {
            unit.list->removeDevice(unit.device);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        });
    }

    void unitEndsInAFlood()
    {
        QFETCH(const Ending, end);
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        const QPointer<Device> device = unit.device;
        const QSignalSpy states(unit.list.get(), &DeviceList::deviceStatesChanged);
        publish(unit.publisher, statusReport(), 50);
        QTRY_COMPARE(unit.link.state(), QorInterface::Connected);
        const LogCapture log;
        end(unit);
        QVERIFY(!device);
        QVERIFY(unit.publisher.waitForUnsubscriber());
        const int statesAtEnd = states.count();
        QCoreApplication::processEvents();
        QCOMPARE(states.count(), statesAtEnd);
        QCOMPARE(log.count(QtDebugMsg, endLine), 1);
    }
};

QTEST_GUILESS_MAIN(TestLinkFlood)
#include "tst_linkflood.moc"
