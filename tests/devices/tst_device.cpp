// SPDX-License-Identifier: MIT
// The record of a unit: its values, its names, its address, how its link follows, and how all of it ends.
#include "devices/device.h"

#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/signalrecorder.h"
#include "support/units.h"

#include <QPointer>
#include <QtTest>

#include <zmq.hpp>

#include <functional>

using Change = std::function<void(Device&)>;
using Check = std::function<bool(const Device&)>;
Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(Check)

namespace {
const auto unresolvable = "not a host name"_s;
const auto foreignAddress = "10.0.0.9"_s;
} // namespace

class TestDevice : public QObject {
    Q_OBJECT

private slots:
    void freshUnitHasTheInitialValues()
    {
        const QDateTime before = QDateTime::currentDateTime();
        DeviceList list(nullptr);
        const Device device(&list);
        QCOMPARE(device.parent(), &list);
        QCOMPARE(device.host(), QString());
        QCOMPARE(device.zmqPort(), 5566);
        QCOMPARE(device.webPort(), 80);
        QCOMPARE(device.webScheme(), "http"_s);
        QCOMPARE(device.qorName(), QString());
        QCOMPARE(device.ipAddress(), QString());
        QVERIFY(!device.monitored());
        QVERIFY(device.alert());
        QVERIFY(device.alertTime() >= before && device.alertTime() <= QDateTime::currentDateTime());
        QCOMPARE(displayTexts(device), QStringList { disconnectedText });
        QVERIFY(!device.qorInterface()->parent());
        QVERIFY(!device.qorInterface()->isRunning());
        QCOMPARE(device.qorInterface()->state(), QorInterface::Disconnected);
    }

    void announcesItselfDuringConstruction()
    {
        DeviceList list(nullptr);
        SignalRecorder recorder(list);
        // The condition has changed before the alert flag does.
        bool alertAtFirst = true;
        QDateTime alertTimeAtFirst = QDateTime::currentDateTime();
        connect(&list, &DeviceList::deviceStatesChanged, &list, [&] {
            const auto* device = list.findChild<Device*>();
            QVERIFY(device);
            alertAtFirst = device->alert();
            alertTimeAtFirst = device->alertTime();
        });
        const Device device(&list);
        QCOMPARE(recorder.take(), "list.deviceStatesChanged list.alertChanged"_s);
        QVERIFY(!alertAtFirst);
        QVERIFY(alertTimeAtFirst.isNull());
    }

    void setterStoresThenTellsItsOwnListenersThenTheList_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<Check>("isStored");
        QTest::addColumn<QString>("ownSignal");
        const auto row
            = [](const char* name, const Change& change, const Check& isStored, const QString& ownSignal) {
                  QTest::newRow(name) << change << isStored << ownSignal;
              };
        row(
            "host", [](Device& d) { d.setHost(unresolvable); },
            [](const Device& d) { return d.host() == unresolvable; }, "hostChanged"_s);
        row(
            "ZeroMQ port", [](Device& d) { d.setZmqPort(5567); },
            [](const Device& d) { return d.zmqPort() == 5567; }, "zmqPortChanged"_s);
        row(
            "web port", [](Device& d) { d.setWebPort(443); },
            [](const Device& d) { return d.webPort() == 443; }, "webPortChanged"_s);
        row(
            "web scheme", [](Device& d) { d.setWebScheme("https"_s); },
            [](const Device& d) { return d.webScheme() == "https"_s; }, "webSchemeChanged"_s);
        row(
            "name", [](Device& d) { d.setQorName("Halle 2"_s); },
            [](const Device& d) { return d.qorName() == "Halle 2"_s; }, "qorNameChanged"_s);
        row(
            "address", [](Device& d) { d.setIpAddress(foreignAddress); },
            [](const Device& d) { return d.ipAddress() == foreignAddress; }, "ipAddressChanged"_s);
        row(
            "monitored", [](Device& d) { d.setMonitored(true); },
            [](const Device& d) { return d.monitored(); }, "monitoredChanged"_s);
    }

    void setterStoresThenTellsItsOwnListenersThenTheList()
    {
        QFETCH(const Change, change);
        QFETCH(const Check, isStored);
        QFETCH(const QString, ownSignal);
        const Device* announced = nullptr;
        bool storedAtSignal = false;
        RecordedUnit unit;
        unit.recorder.watchLink(unit.device);
        connect(&unit.list, &DeviceList::deviceChanged, &unit.device, [&](const Device* changed) {
            announced = changed;
            storedAtSignal = isStored(*changed);
        });
        change(unit.device);
        QCOMPARE(unit.recorder.take(), ownSignal + " list.deviceChanged"_s);
        QCOMPARE(announced, &unit.device);
        QVERIFY(storedAtSignal);
        // An equal value is silent.
        const LogCapture log;
        change(unit.device);
        QVERIFY(isStored(unit.device));
        QCOMPARE(unit.recorder.take(), QString());
        QVERIFY(log.lines().isEmpty());
    }

    void nameChangeIsLoggedBeforeItsSignal()
    {
        QStringList linesAtSignal;
        RecordedUnit unit;
        unit.device.setHost(loopback);
        const LogCapture log;
        connect(&unit.device, &Device::qorNameChanged, &unit.list,
                [&] { linesAtSignal = log.taggedLines(); });
        unit.device.setQorName("Halle 2"_s);
        QCOMPARE(linesAtSignal, QStringList("C Device::setQorName() \"127.0.0.1\" \"Halle 2\""_s));
        QCOMPARE(log.taggedLines(), linesAtSignal);
    }

    void statusTextFollowsTheLinkWhileMonitored()
    {
        LinkedUnit unit;
        QCOMPARE(unit.device->stateText(), "Nicht überwacht"_s);
        emit unit.link.receiveQorMessage(statusReport("Halle 2"_s));
        QCOMPARE(unit.link.state(), QorInterface::Connected);
        QCOMPARE(unit.device->stateText(), "Nicht überwacht"_s);

        Device monitored(unit.list.get());
        monitored.setMonitored(true);
        QCOMPARE(monitored.stateText(), "Getrennt"_s);
        monitored.setZmqPort(unit.publisher.port());
        monitored.setHost(loopback);
        QTRY_COMPARE(monitored.stateText(), "Warte auf Verbindung ..."_s);
        emit monitored.qorInterface()->receiveQorMessage(statusReport("Halle 3"_s));
        QCOMPARE(monitored.stateText(), "Verbunden"_s);
    }

    void displayNameIsTheReportedNameElseTheAddress()
    {
        RecordedUnit unit;
        unit.device.setHost("alarm 1"_s);
        QCOMPARE(unit.device.displayName(), "alarm 1:5566"_s);
        unit.device.setQorName("Halle 2"_s);
        QCOMPARE(unit.device.displayName(), "Halle 2"_s);
        unit.device.setQorName(QString());
        unit.device.setZmqPort(0);
        QCOMPARE(unit.device.displayName(), "alarm 1:0"_s);
    }

    void hostIsLookedUpAfterTheSignals_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("address");
        QTest::newRow("IPv4 literal") << loopback << loopback;
        QTest::newRow("a name with an IPv4 address") << "localhost"_s << loopback;
        QTest::newRow("IPv6 only") << "::1"_s
                                   << "::1"_s;
    }

    void hostIsLookedUpAfterTheSignals()
    {
        QFETCH(const QString, host);
        RecordedUnit unit;
        unit.device.setHost(host);
        QCOMPARE(unit.recorder.take(),
                 "hostChanged list.deviceChanged ipAddressChanged list.deviceChanged"_s);
        QTEST(unit.device.ipAddress(), "address");
        // An equal host is not looked up again.
        unit.device.setIpAddress(foreignAddress);
        unit.device.setHost(host);
        QCOMPARE(unit.device.ipAddress(), foreignAddress);
    }

    void newLookupClearsTheAddressFirst()
    {
        QStringList addresses;
        RecordedUnit unit;
        unit.device.setHost(loopback);
        connect(&unit.device, &Device::ipAddressChanged, &unit.list,
                [&] { addresses.append(unit.device.ipAddress()); });
        unit.device.updateIpAddress();
        QCOMPARE(addresses, QStringList({ QString(), loopback }));
        unit.device.setHost(unresolvable);
        QCOMPARE(addresses, QStringList({ QString(), loopback, QString() }));
    }

    void emptyHostClearsTheAddress()
    {
        RecordedUnit unit;
        unit.device.setIpAddress(foreignAddress);
        unit.device.updateIpAddress();
        QCOMPARE(unit.device.ipAddress(), QString());
    }

    void linkFollowsAfterTheSignals()
    {
        const Publisher publisher;
        const Publisher other;
        RecordedUnit unit;
        unit.recorder.watchLink(unit.device);
        unit.recorder.ignore({ "deviceStateChanged"_s, "list.deviceStatesChanged"_s, "list.alertChanged"_s });
        const QorInterface* link = unit.device.qorInterface();

        unit.device.setHost(loopback);
        unit.device.setZmqPort(publisher.port());
        // An unmonitored unit's link stays where it is.
        QVERIFY(!unit.recorder.take().contains("link."_s));
        QVERIFY(!link->isRunning());

        unit.device.setMonitored(true);
        QCOMPARE(unit.recorder.take(),
                 "monitoredChanged list.deviceChanged link.hostChanged link.ipAddressChanged "
                 "link.portChanged"_s);
        QVERIFY(link->isRunning());

        // What is not about the way to the unit leaves it alone, too.
        unit.device.setWebPort(443);
        unit.device.setWebScheme("https"_s);
        unit.device.setQorName("Halle 2"_s);
        unit.device.setIpAddress(foreignAddress);
        QVERIFY(!unit.recorder.take().contains("link."_s));

        unit.device.setZmqPort(other.port());
        QCOMPARE(unit.recorder.take(),
                 "zmqPortChanged list.deviceChanged link.hostChanged link.ipAddressChanged "
                 "link.hostChanged link.ipAddressChanged link.portChanged"_s);
        QCOMPARE(link->port(), other.port());

        unit.device.setHost("localhost"_s);
        QCOMPARE(unit.recorder.take(),
                 "hostChanged list.deviceChanged ipAddressChanged list.deviceChanged ipAddressChanged "
                 "list.deviceChanged link.hostChanged link.ipAddressChanged link.hostChanged "
                 "link.ipAddressChanged"_s);
        QCOMPARE(link->host(), "localhost"_s);

        unit.device.setMonitored(false);
        QCOMPARE(unit.recorder.take(),
                 "monitoredChanged list.deviceChanged link.hostChanged link.ipAddressChanged"_s);
        QVERIFY(!link->isRunning());
    }

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
};

QTEST_GUILESS_MAIN(TestDevice)
#include "tst_device.moc"
