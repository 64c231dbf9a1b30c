// SPDX-License-Identifier: MIT
// What a unit does when its address changes: its own lookup, and then its link's.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "support/signalrecorder.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/publisher.h"
#include "support/units.h"

#include <QtTest>

namespace {
const auto unresolvable = "not a host name"_s;
const auto deviceChanged = "list.deviceChanged"_s;
} // namespace

class TestDeviceLookup : public QObject {
    Q_OBJECT

private slots:
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
        QFETCH(QString, host);
        QFETCH(QString, address);
        DeviceList list(nullptr);
        Device device(&list);
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        device.setHost(host);
        QCOMPARE(recorder.take(),
                 QStringList({ "hostChanged"_s, deviceChanged, "ipAddressChanged"_s, deviceChanged }));
        QCOMPARE(device.ipAddress(), address);
    }

    void equalHostIsNotLookedUpAgain()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.setHost(loopback);
        device.setIpAddress("10.0.0.9"_s);
        device.setHost(loopback);
        QCOMPARE(device.ipAddress(), "10.0.0.9"_s);
    }

    void newLookupClearsTheAddressFirst()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.setHost(loopback);
        QStringList addresses;
        const QObject scope;
        connect(&device, &Device::ipAddressChanged, &scope, [&] { addresses.append(device.ipAddress()); });
        device.updateIpAddress();
        QCOMPARE(addresses, QStringList({ QString(), loopback }));
        device.setHost(unresolvable);
        QCOMPARE(addresses, QStringList({ QString(), loopback, QString() }));
    }

    void emptyHostClearsTheAddress()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.setIpAddress("10.0.0.9"_s);
        device.updateIpAddress();
        QCOMPARE(device.ipAddress(), QString());
    }

    void linkFollowsAfterTheSignals()
    {
        const Publisher publisher;
        const Publisher other;
        DeviceList list(nullptr);
        Device device(&list);
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        recorder.watchLink(device);
        const auto linkHost = "link.hostChanged"_s;
        const auto linkAddress = "link.ipAddressChanged"_s;
        const auto linkPort = "link.portChanged"_s;

        device.setHost(loopback);
        device.setZmqPort(publisher.port());
        // An unmonitored unit's link stays where it is.
        QVERIFY(!recorder.take().join(QLatin1Char(' ')).contains(QLatin1String("link.")));

        device.setMonitored(true);
        QCOMPARE(recorder.take(),
                 QStringList({ "monitoredChanged"_s, deviceChanged, linkHost, linkAddress, linkPort }));
        QVERIFY(device.qorInterface()->isRunning());

        const auto withoutStates = [&recorder] {
            QStringList names = recorder.take();
            names.removeAll("deviceStateChanged"_s);
            names.removeAll("list.deviceStatesChanged"_s);
            names.removeAll("list.alertChanged"_s);
            return names;
        };
        device.setZmqPort(other.port());
        QCOMPARE(withoutStates(),
                 QStringList({ "zmqPortChanged"_s, deviceChanged, linkHost, linkAddress, linkHost,
                               linkAddress, linkPort }));
        QCOMPARE(device.qorInterface()->port(), other.port());

        device.setHost("localhost"_s);
        const auto address = "ipAddressChanged"_s;
        QCOMPARE(withoutStates(),
                 QStringList({ "hostChanged"_s, deviceChanged, address, deviceChanged, address, deviceChanged,
                               linkHost, linkAddress, linkHost, linkAddress }));
        QCOMPARE(device.qorInterface()->host(), "localhost"_s);

        device.setMonitored(false);
        QCOMPARE(withoutStates(),
                 QStringList({ "monitoredChanged"_s, deviceChanged, linkHost, linkAddress }));
        QVERIFY(!device.qorInterface()->isRunning());
    }
};

QTEST_GUILESS_MAIN(TestDeviceLookup)
#include "tst_devicelookup.moc"
