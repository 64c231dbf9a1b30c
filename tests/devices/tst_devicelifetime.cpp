// SPDX-License-Identifier: MIT
// The ends of units, of their links and of the list, idle and under load.
#include "devices/device.h"
#include "devices/devicelist.h"

#include "support/signalrecorder.h"
#include "support/units.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/publisher.h"

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

Device* addMonitored(DeviceList& list, int zmqPort)
{
    Device* device = list.addDevice(loopback, zmqPort, 80, "http"_s);
    device->setMonitored(true);
    return device;
}
} // namespace

class TestDeviceLifetime : public QObject {
    Q_OBJECT

private slots:
    void monitoredUnitEndsLikeAnUnmonitoredOne()
    {
        Publisher publisher;
        DeviceList list(nullptr);
        auto* device = new Device(&list);
        device->setHost(loopback);
        device->setZmqPort(publisher.port());
        device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(*device);
        recorder.watchLink(*device);
        bool monitoredAtSignal = true;
        connect(device, &Device::monitoredChanged, this, [&] { monitoredAtSignal = device->monitored(); });
        delete device;
        const QStringList names = recorder.take();
        QCOMPARE(names.mid(0, 2), QStringList({ "monitoredChanged"_s, "list.deviceChanged"_s }));
        QCOMPARE(names.mid(names.size() - 2),
                 QStringList({ "link.hostChanged"_s, "link.ipAddressChanged"_s }));
        QVERIFY(!monitoredAtSignal);
        QVERIFY(publisher.waitForUnsubscriber());
    }

    void unmonitoredUnitEndsSilently()
    {
        DeviceList list(nullptr);
        auto* device = new Device(&list);
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(*device);
        const LogCapture log;
        delete device;
        QCOMPARE(recorder.take(), QStringList());
        QVERIFY(log.lines().isEmpty());
    }

    void linkEndsWithItsUnit()
    {
        DeviceList list(nullptr);
        auto* device = new Device(&list);
        const QPointer<QorInterface> link = device->qorInterface();
        QVERIFY(link);
        delete device;
        QVERIFY(!link);
    }

    void unitEndsWithALinkThatOthersConnected()
    {
        Publisher publisher;
        DeviceList list(nullptr);
        auto* device = new Device(&list);
        QVERIFY(device->qorInterface()->connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        delete device;
        QVERIFY(publisher.waitForUnsubscriber());
    }

    void unitEndsThoughAListenerMonitorsItAgain()
    {
        Publisher publisher;
        DeviceList list(nullptr);
        const QPointer<Device> device = addMonitored(list, publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        connect(device, &Device::monitoredChanged, device, [device] { device->setMonitored(true); });
        list.removeDevice(device);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!device);
        QVERIFY(publisher.waitForUnsubscriber());
    }

    void removedUnitWorksUntilItIsDeleted()
    {
        Publisher publisher;
        DeviceList list(nullptr);
        const QPointer<Device> device = addMonitored(list, publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        list.removeDevice(device);
        QVERIFY(device->monitored());
        QVERIFY(device->qorInterface()->isRunning());
        SignalRecorder recorder;
        recorder.watch(list);
        emit device->qorInterface()->receiveQorMessage(statusReport("Halle 2"_s));
        QVERIFY(recorder.take().contains("list.deviceStatesChanged"_s));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!device);
        QVERIFY(recorder.take().contains("list.deviceChanged"_s));
        QVERIFY(publisher.waitForUnsubscriber());
    }

    void listAnnouncesItsEnd()
    {
        SignalRecorder recorder;
        {
            DeviceList list(nullptr);
            list.addDevice(loopback, 1, 80, "http"_s);
            list.addDevice(loopback, 2, 80, "http"_s);
            recorder.watch(list);
        }
        QCOMPARE(recorder.take(), QStringList({ "list.listChanged"_s, "list.listCleared"_s }));
    }

    void unitsEndWhileTheListIsStillOne()
    {
        const Publisher publisher;
        const Publisher other;
        int announced = 0;
        int ended = 0;
        auto list = std::make_unique<DeviceList>(nullptr);
        connect(list.get(), &DeviceList::deviceChanged, this, [&](Device* device) {
            QVERIFY(qobject_cast<DeviceList*>(device->parent()));
            if (!device->monitored())
                ++announced;
        });
        for (const int port : { publisher.port(), other.port() })
            connect(addMonitored(*list, port), &QObject::destroyed, this, [&] { ++ended; });
        announced = 0;
        list.reset();
        QCOMPARE(announced, 2);
        QCOMPARE(ended, 2);
    }

    void removedUnitsEndWithTheList()
    {
        Publisher publisher;
        int announced = 0;
        auto list = std::make_unique<DeviceList>(nullptr);
        const QPointer<Device> device = addMonitored(*list, publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        list->removeDevice(device);
        connect(list.get(), &DeviceList::deviceChanged, this, [&] { ++announced; });
        list.reset();
        QVERIFY(!device);
        QCOMPARE(announced, 1);
        QVERIFY(publisher.waitForUnsubscriber());
    }

    void refusedEndpointReachesTheCaller()
    {
        DeviceList list(nullptr);
        Device* device = list.addDevice(loopback, -1, 80, "http"_s);
        SignalRecorder recorder;
        recorder.watch(*device);
        QVERIFY_EXCEPTION_THROWN(device->setMonitored(true), zmq::error_t);
        // The value stands and has been announced; only the link has not followed.
        QVERIFY(device->monitored());
        QCOMPARE(recorder.take(), QStringList { "monitoredChanged"_s });
        QCOMPARE(device->qorInterface()->state(), QorInterface::Disconnected);
        QVERIFY_EXCEPTION_THROWN(device->setZmqPort(-2), zmq::error_t);
        QCOMPARE(device->zmqPort(), -2);
        QVERIFY_EXCEPTION_THROWN(device->setHost("localhost"_s), zmq::error_t);
        QCOMPARE(device->host(), "localhost"_s);
    }

    void unitWithRefusedEndpointCanBeUsedAgain()
    {
        Publisher publisher;
        DeviceList list(nullptr);
        Device* device = list.addDevice(loopback, -1, 80, "http"_s);
        QVERIFY_EXCEPTION_THROWN(device->setMonitored(true), zmq::error_t);
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
        const Device* one = addMonitored(*list, first.port());
        const Device* two = addMonitored(*list, second.port());
        QTRY_COMPARE(one->qorInterface()->state(), QorInterface::Connected);
        QTRY_COMPARE(two->qorInterface()->state(), QorInterface::Connected);
        // Texts wait in the queue while the list goes.
        QSignalSpy stateSpy(list.get(), &DeviceList::deviceStatesChanged);
        list.reset();
        const int atEnd = stateSpy.count();
        QCoreApplication::processEvents();
        QCOMPARE(stateSpy.count(), atEnd);
    }

    void floodedUnitIsRemoved()
    {
        const Flood flood;
        DeviceList list(nullptr);
        const QPointer<Device> device = addMonitored(list, flood.port());
        QTRY_COMPARE(device->qorInterface()->state(), QorInterface::Connected);
        list.removeDevice(device);
        QTRY_VERIFY(!device);
        QCOMPARE(list.count(), 0);
    }
};

QTEST_GUILESS_MAIN(TestDeviceLifetime)
#include "tst_devicelifetime.moc"
