// SPDX-License-Identifier: MIT
// The ends of units, of their links and of the list, idle and under load.
#include "devices/device.h"
#include "devices/devicelist.h"

#include "devices/signalrecorder.h"
#include "devices/unittexts.h"
#include "link/qorinterface.h"
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
const auto loopback = QStringLiteral("127.0.0.1");
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
    Device* device = list.addDevice(loopback, zmqPort, 80, QStringLiteral("http"));
    device->setMonitored(true);
    return device;
}
} // namespace

class TestDeviceLifetime : public QObject {
    Q_OBJECT

private slots:
    void monitoredUnitEndsLikeAnUnmonitoredOne();
    void unmonitoredUnitEndsSilently();
    void linkEndsWithItsUnit();
    void unitEndsWithALinkThatOthersConnected();
    void unitEndsThoughAListenerMonitorsItAgain();
    void removedUnitWorksUntilItIsDeleted();
    void listAnnouncesItsEnd();
    void unitsEndWhileTheListIsStillOne();
    void removedUnitsEndWithTheList();
    void refusedEndpointReachesTheCaller();
    void unitWithRefusedEndpointCanBeUsedAgain();
    void listEndsWhileItsUnitsAreFlooded();
    void floodedUnitIsRemoved();
};

void TestDeviceLifetime::monitoredUnitEndsLikeAnUnmonitoredOne()
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
    QCOMPARE(names.mid(0, 2),
             QStringList({ QStringLiteral("monitoredChanged"), QStringLiteral("list.deviceChanged") }));
    QCOMPARE(names.mid(names.size() - 2),
             QStringList({ QStringLiteral("link.hostChanged"), QStringLiteral("link.ipAddressChanged") }));
    QVERIFY(!monitoredAtSignal);
    QVERIFY(publisher.waitForUnsubscriber());
}

void TestDeviceLifetime::unmonitoredUnitEndsSilently()
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

void TestDeviceLifetime::linkEndsWithItsUnit()
{
    DeviceList list(nullptr);
    auto* device = new Device(&list);
    const QPointer<QorInterface> link = device->qorInterface();
    QVERIFY(link);
    delete device;
    QVERIFY(!link);
}

void TestDeviceLifetime::unitEndsWithALinkThatOthersConnected()
{
    Publisher publisher;
    DeviceList list(nullptr);
    auto* device = new Device(&list);
    QVERIFY(device->qorInterface()->connectQor(loopback, publisher.port()));
    QVERIFY(publisher.waitForSubscriber());
    delete device;
    QVERIFY(publisher.waitForUnsubscriber());
}

void TestDeviceLifetime::unitEndsThoughAListenerMonitorsItAgain()
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

void TestDeviceLifetime::removedUnitWorksUntilItIsDeleted()
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
    emit device->qorInterface()->receiveQorMessage(statusReport(QStringLiteral("Halle 2")));
    QVERIFY(recorder.take().contains(QStringLiteral("list.deviceStatesChanged")));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!device);
    QVERIFY(recorder.take().contains(QStringLiteral("list.deviceChanged")));
    QVERIFY(publisher.waitForUnsubscriber());
}

void TestDeviceLifetime::listAnnouncesItsEnd()
{
    SignalRecorder recorder;
    {
        DeviceList list(nullptr);
        list.addDevice(loopback, 1, 80, QStringLiteral("http"));
        list.addDevice(loopback, 2, 80, QStringLiteral("http"));
        recorder.watch(list);
    }
    QCOMPARE(recorder.take(),
             QStringList({ QStringLiteral("list.listChanged"), QStringLiteral("list.listCleared") }));
}

void TestDeviceLifetime::unitsEndWhileTheListIsStillOne()
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

void TestDeviceLifetime::removedUnitsEndWithTheList()
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

void TestDeviceLifetime::refusedEndpointReachesTheCaller()
{
    DeviceList list(nullptr);
    Device* device = list.addDevice(loopback, -1, 80, QStringLiteral("http"));
    SignalRecorder recorder;
    recorder.watch(*device);
    QVERIFY_EXCEPTION_THROWN(device->setMonitored(true), zmq::error_t);
    // The value stands and has been announced; only the link has not followed.
    QVERIFY(device->monitored());
    QCOMPARE(recorder.take(), QStringList { QStringLiteral("monitoredChanged") });
    QCOMPARE(device->qorInterface()->state(), QorInterface::Disconnected);
    QVERIFY_EXCEPTION_THROWN(device->setZmqPort(-2), zmq::error_t);
    QCOMPARE(device->zmqPort(), -2);
    QVERIFY_EXCEPTION_THROWN(device->setHost(QStringLiteral("localhost")), zmq::error_t);
    QCOMPARE(device->host(), QStringLiteral("localhost"));
}

void TestDeviceLifetime::unitWithRefusedEndpointCanBeUsedAgain()
{
    Publisher publisher;
    DeviceList list(nullptr);
    Device* device = list.addDevice(loopback, -1, 80, QStringLiteral("http"));
    QVERIFY_EXCEPTION_THROWN(device->setMonitored(true), zmq::error_t);
    device->setZmqPort(publisher.port());
    QVERIFY(publisher.waitForSubscriber());
    publisher.send(statusReport(QStringLiteral("Halle 2")));
    QTRY_COMPARE(device->qorName(), QStringLiteral("Halle 2"));
}

void TestDeviceLifetime::listEndsWhileItsUnitsAreFlooded()
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

void TestDeviceLifetime::floodedUnitIsRemoved()
{
    const Flood flood;
    DeviceList list(nullptr);
    const QPointer<Device> device = addMonitored(list, flood.port());
    QTRY_COMPARE(device->qorInterface()->state(), QorInterface::Connected);
    list.removeDevice(device);
    QTRY_VERIFY(!device);
    QCOMPARE(list.count(), 0);
}

QTEST_GUILESS_MAIN(TestDeviceLifetime)
#include "tst_devicelifetime.moc"
