// SPDX-License-Identifier: MIT
// Listeners that connect or disconnect a link while it still tells of the steps of an earlier call.
#include "link/qorinterface.h"

#include "support/linkjournal.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/units.h"
#include "support/zmqfaults.h"

#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <memory>
#include <utility>

using zmqfaults::Call;

namespace {

// A unit at one address, and two others to which it may go: the earlier call leads to the second.
struct Stage {
    LinkedUnit unit;
    Publisher second;
    Publisher third;
};

using Action = std::function<void(Stage&)>;
using Trigger = std::function<void(Stage&, const Action&)>;

// Has the action follow the next emission of a signal of the link.
template <typename Signal> Trigger upon(Signal signal)
{
    return [signal](Stage& stage, const Action& action) {
        QObject::connect(&stage.unit.link, signal, stage.unit.device,
                         [&stage, action, done = false]() mutable {
                             if (!std::exchange(done, true))
                                 action(stage);
                         });
    };
}

} // namespace

Q_DECLARE_METATYPE(Action)
Q_DECLARE_METATYPE(Trigger)
Q_DECLARE_METATYPE(Publisher Stage::*)

class TestLinkReentry : public QObject {
    Q_OBJECT

private slots:
    void laterCallWinsWhileConnecting_data()
    {
        addRows({ { "host", upon(&QorInterface::hostChanged) },
                  { "address", upon(&QorInterface::ipAddressChanged) },
                  { "port", upon(&QorInterface::portChanged) } });
    }

    void laterCallWinsWhileConnecting()
    {
        Stage stage;
        stage.unit.device->setZmqPort(stage.second.port());
        verifyLaterCallWins(stage, [](Stage& s) { s.unit.device->setMonitored(true); });
    }

    void laterCallWinsWhileMoving_data()
    {
        addRows({ { "state", upon(&QorInterface::connectStateChanged) },
                  { "host", upon(&QorInterface::hostChanged) },
                  { "address", upon(&QorInterface::ipAddressChanged) } });
    }

    void laterCallWinsWhileMoving()
    {
        Stage stage;
        becomePending(stage.unit);
        verifyLaterCallWins(stage, [](Stage& s) { s.unit.device->setZmqPort(s.second.port()); });
        QVERIFY(stage.unit.publisher.waitForUnsubscriber());
    }

    void linkEndsThoughAListenerConnectsItAgain()
    {
        Publisher publisher;
        auto link = std::make_unique<QorInterface>();
        QVERIFY(connectTo(*link, publisher));
        connect(link.get(), &QorInterface::hostChanged, this,
                [&, ending = link.get()] { ending->connectQor(loopback, publisher.port()); });
        const LogCapture log;
        link.reset();
        QVERIFY(publisher.waitForUnsubscriber());
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 2);
        // No loop was left for the end of its socket.
        QVERIFY(!log.contains(QtDebugMsg, "QorInterface::run(): caught unspecified exception"_s));
    }

    void unitEndsThoughAListenerOfItsLinkSwitchesItOver()
    {
        LinkedUnit unit;
        becomePending(unit);
        connect(&unit.link, &QorInterface::connectStateChanged, this,
                [device = unit.device] { device->setMonitored(!device->monitored()); });
        unit.list.reset();
        QVERIFY(unit.publisher.waitForUnsubscriber());
    }

private:
    // Monitors the unit and waits until the listeners know that it is Pending.
    static void becomePending(LinkedUnit& unit)
    {
        const LinkJournal journal(unit.link);
        QVERIFY(unit.monitor());
        QTRY_VERIFY(journal.entries.contains(pendingEntry));
    }

    static void addRows(const std::vector<std::pair<const char*, Trigger>>& triggers)
    {
        QTest::addColumn<Trigger>("trigger");
        QTest::addColumn<Action>("laterCall");
        // Null when the link ends up idle.
        QTest::addColumn<Publisher Stage::*>("heard");
        QTest::addColumn<QString>("host");
        for (const auto& entry : triggers) {
            const auto row = [&entry](const char* what, const Action& laterCall, Publisher Stage::*heard,
                                      const QString& host) {
                QTest::addRow("%s: %s", entry.first, what) << entry.second << laterCall << heard << host;
            };
            row(
                "another port", [](Stage& s) { s.unit.device->setZmqPort(s.third.port()); }, &Stage::third,
                loopback);
            row(
                "another host", [](Stage& s) { s.unit.device->setHost("localhost"_s); }, &Stage::second,
                "localhost"_s);
            row("no monitoring", [](Stage& s) { s.unit.device->setMonitored(false); }, nullptr, {});
            row(
                "a connect of its own",
                [](Stage& s) { s.unit.link.connectQor("localhost"_s, s.third.port()); }, &Stage::third,
                "localhost"_s);
        }
    }

    static void verifyLaterCallWins(Stage& stage, const Action& earlierCall)
    {
        QFETCH(const Trigger, trigger);
        QFETCH(const Action, laterCall);
        QFETCH(Publisher Stage::*const, heard);
        const QorInterface& link = stage.unit.link;
        trigger(stage, laterCall);
        zmqfaults::reset();
        earlierCall(stage);
        QCOMPARE(zmqfaults::count(Call::Connect), heard ? 1 : 0);
        QCOMPARE(link.isRunning(), heard != nullptr);
        if (!heard)
            return;
        Publisher& publisher = stage.*heard;
        QVERIFY(publisher.waitForSubscriber());
        QCOMPARE(link.port(), publisher.port());
        QTEST(link.host(), "host");
        QCOMPARE(link.ipAddress(), loopback);
        // One loop takes each text, and it ends when it is told to.
        const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
        publisher.send(statusReport());
        publisher.send(statusReport());
        QTRY_COMPARE(received.count(), 2);
        stage.unit.device->setMonitored(false);
        QVERIFY(publisher.waitForUnsubscriber());
        QVERIFY(link.isFinished());
        QCOMPARE(received.count(), 2);
    }
};

QTEST_GUILESS_MAIN(TestLinkReentry)
#include "tst_linkreentry.moc"
