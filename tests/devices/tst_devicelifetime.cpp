// SPDX-License-Identifier: MIT
// The ends of units, of their links and of the list, idle and under load; and units whose link refuses.
#include "devices/device.h"
#include "devices/devicelist.h"

#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/signalrecorder.h"
#include "support/units.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

#include <zmq.hpp>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

namespace {
constexpr int floodLimitMs = 20000;

// A unit that publishes without a pause, on a thread of its own.
class Flood {
public:
    Flood()
        : m_thread([this] { run(); })
    {
        m_publisherPort = m_port.get_future().get();
    }
    ~Flood()
    {
        m_stop = true;
        m_thread.join();
    }
    Q_DISABLE_COPY_MOVE(Flood)

    int port() const { return m_publisherPort; }

private:
    void run()
    {
        Publisher publisher;
        m_port.set_value(publisher.port());
        QElapsedTimer elapsed;
        elapsed.start();
        for (int i = 0; !m_stop && elapsed.elapsed() < floodLimitMs; ++i)
            publisher.send(statusReport(QString::number(i % 7), { warning(QString::number(i)) }));
    }

    std::promise<int> m_port;
    std::atomic<bool> m_stop { false };
    int m_publisherPort = 0;
    std::thread m_thread;
};

} // namespace

class TestDeviceLifetime : public QObject {
    Q_OBJECT

private slots:
    void monitoredUnitEndsLikeAnUnmonitoredOne()
    {
        bool monitoredAtSignal = true;
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        const QPointer<QorInterface> link = &unit.link;
        SignalRecorder recorder(*unit.list, *unit.device);
        recorder.watchLink(*unit.device);
        connect(unit.device, &Device::monitoredChanged, unit.list.get(),
                [&] { monitoredAtSignal = unit.device->monitored(); });
        unit.list->removeDevice(unit.device);
        recorder.take();
        delete unit.device;
        const QString told = recorder.take();
        QVERIFY2(told.startsWith("monitoredChanged list.deviceChanged "_s), qPrintable(told));
        QVERIFY2(told.endsWith(" link.hostChanged link.ipAddressChanged"_s), qPrintable(told));
        QVERIFY(!monitoredAtSignal);
        QVERIFY(!link);
        QVERIFY(unit.publisher.waitForUnsubscriber());
    }

    void unmonitoredUnitEndsSilently()
    {
        DeviceList list(nullptr);
        auto* device = new Device(&list);
        const QPointer<QorInterface> link = device->qorInterface();
        SignalRecorder recorder(list, *device);
        const LogCapture log;
        delete device;
        QVERIFY(!link);
        QCOMPARE(recorder.take(), QString());
        QVERIFY(log.lines().isEmpty());
    }

    void unitEndsWithALinkThatOthersConnected()
    {
        LinkedUnit unit;
        QVERIFY(connectTo(unit.link, unit.publisher));
        unit.list.reset();
        QVERIFY(unit.publisher.waitForUnsubscriber());
    }

    void unitEndsThoughAListenerMonitorsItAgain()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        const QPointer<Device> device = unit.device;
        connect(device, &Device::monitoredChanged, device, [&] { unit.device->setMonitored(true); });
        unit.list->removeDevice(device);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!device);
        QVERIFY(unit.publisher.waitForUnsubscriber());
    }

    void removedUnitWorksUntilItIsDeleted()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        const QPointer<Device> device = unit.device;
        unit.list->removeDevice(device);
        QVERIFY(device->monitored());
        QVERIFY(unit.link.isRunning());
        SignalRecorder recorder(*unit.list);
        emit unit.link.receiveQorMessage(statusReport());
        QVERIFY(recorder.take().contains("list.deviceStatesChanged"_s));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!device);
        QVERIFY(recorder.take().contains("list.deviceChanged"_s));
        QVERIFY(unit.publisher.waitForUnsubscriber());
    }

    void listAnnouncesItsEnd()
    {
        auto list = std::make_unique<DeviceList>(nullptr);
        addUnit(*list, 1);
        addUnit(*list, 2);
        SignalRecorder recorder(*list);
        list.reset();
        QCOMPARE(recorder.take(), "list.listChanged list.listCleared"_s);
    }

    void unitsEndWhileTheListIsStillOne()
    {
        Publisher other;
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        const QPointer<Device> removed = addMonitoredUnit(*unit.list, other.port());
        QVERIFY(other.waitForSubscriber());
        // One that waits for its deferred deletion goes with the list, too.
        unit.list->removeDevice(removed);
        int announced = 0;
        int ended = 0;
        connect(unit.list.get(), &DeviceList::deviceChanged, this, [&](Device* device) {
            QVERIFY(qobject_cast<DeviceList*>(device->parent()));
            QVERIFY(!device->monitored());
            ++announced;
        });
        for (const Device* device : { unit.device, removed.data() })
            connect(device, &QObject::destroyed, this, [&] { ++ended; });
        unit.list.reset();
        QCOMPARE(announced, 2);
        QCOMPARE(ended, 2);
        QVERIFY(!removed);
        QVERIFY(unit.publisher.waitForUnsubscriber());
        QVERIFY(other.waitForUnsubscriber());
    }

    void refusedEndpointReachesTheCaller()
    {
        DeviceList list(nullptr);
        Device* device = addUnit(list, -1);
        SignalRecorder recorder(list, *device);
        QVERIFY_EXCEPTION_THROWN(device->setMonitored(true), zmq::error_t);
        // The value stands and has been announced; only the link has not followed.
        QVERIFY(device->monitored());
        QCOMPARE(recorder.take(), "monitoredChanged list.deviceChanged"_s);
        QCOMPARE(device->qorInterface()->state(), QorInterface::Disconnected);
        QVERIFY_EXCEPTION_THROWN(device->setZmqPort(-2), zmq::error_t);
        QCOMPARE(device->zmqPort(), -2);
        QVERIFY_EXCEPTION_THROWN(device->setHost("localhost"_s), zmq::error_t);
        QCOMPARE(device->host(), "localhost"_s);
        // The unit can be used again.
        Publisher publisher;
        device->setZmqPort(publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("Halle 2"_s));
        QTRY_COMPARE(device->qorName(), "Halle 2"_s);
    }

    void listEndsWhileItsUnitsAreFlooded()
    {
        const Flood first;
        const Flood second;
        auto list = std::make_unique<DeviceList>(nullptr);
        for (const Flood* flood : { &first, &second }) {
            const Device* device = addMonitoredUnit(*list, flood->port());
            QTRY_COMPARE(device->qorInterface()->state(), QorInterface::Connected);
        }
        // Texts wait in the queue while the list goes.
        const QSignalSpy stateSpy(list.get(), &DeviceList::deviceStatesChanged);
        list.reset();
        const int atEnd = stateSpy.count();
        QCoreApplication::processEvents();
        QCOMPARE(stateSpy.count(), atEnd);
    }

    void floodedUnitIsRemoved()
    {
        const Flood flood;
        DeviceList list(nullptr);
        const QPointer<Device> device = addMonitoredUnit(list, flood.port());
        QTRY_COMPARE(device->qorInterface()->state(), QorInterface::Connected);
        list.removeDevice(device);
        QTRY_VERIFY(!device);
        QCOMPARE(list.count(), 0);
    }
};

QTEST_GUILESS_MAIN(TestDeviceLifetime)
#include "tst_devicelifetime.moc"
