// SPDX-License-Identifier: MIT
// What a unit does when its address changes: its own lookup, and then its link's.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "devices/signalrecorder.h"
#include "link/qorinterface.h"
#include "support/publisher.h"

#include <QtTest>

namespace {
const auto loopback = QStringLiteral("127.0.0.1");
const auto unresolvable = QStringLiteral("not a host name");
const auto deviceChanged = QStringLiteral("list.deviceChanged");
} // namespace

class TestDeviceLookup : public QObject {
    Q_OBJECT

private slots:
    void hostIsLookedUpAfterTheSignals_data();
    void hostIsLookedUpAfterTheSignals();
    void equalHostIsNotLookedUpAgain();
    void newLookupClearsTheAddressFirst();
    void emptyHostClearsTheAddress();
    void linkFollowsAfterTheSignals();
};

void TestDeviceLookup::hostIsLookedUpAfterTheSignals_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("address");
    QTest::newRow("IPv4 literal") << loopback << loopback;
    QTest::newRow("a name with an IPv4 address") << QStringLiteral("localhost") << loopback;
    QTest::newRow("IPv6 only") << QStringLiteral("::1") << QStringLiteral("::1");
}

void TestDeviceLookup::hostIsLookedUpAfterTheSignals()
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
             QStringList({ QStringLiteral("hostChanged"), deviceChanged, QStringLiteral("ipAddressChanged"),
                           deviceChanged }));
    QCOMPARE(device.ipAddress(), address);
}

void TestDeviceLookup::equalHostIsNotLookedUpAgain()
{
    DeviceList list(nullptr);
    Device device(&list);
    device.setHost(loopback);
    device.setIpAddress(QStringLiteral("10.0.0.9"));
    device.setHost(loopback);
    QCOMPARE(device.ipAddress(), QStringLiteral("10.0.0.9"));
}

void TestDeviceLookup::newLookupClearsTheAddressFirst()
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

void TestDeviceLookup::emptyHostClearsTheAddress()
{
    DeviceList list(nullptr);
    Device device(&list);
    device.setIpAddress(QStringLiteral("10.0.0.9"));
    device.updateIpAddress();
    QCOMPARE(device.ipAddress(), QString());
}

void TestDeviceLookup::linkFollowsAfterTheSignals()
{
    const Publisher publisher;
    const Publisher other;
    DeviceList list(nullptr);
    Device device(&list);
    SignalRecorder recorder;
    recorder.watch(list);
    recorder.watch(device);
    recorder.watchLink(device);
    const auto linkHost = QStringLiteral("link.hostChanged");
    const auto linkAddress = QStringLiteral("link.ipAddressChanged");
    const auto linkPort = QStringLiteral("link.portChanged");

    device.setHost(loopback);
    device.setZmqPort(publisher.port());
    // An unmonitored unit's link stays where it is.
    QVERIFY(!recorder.take().join(QLatin1Char(' ')).contains(QLatin1String("link.")));

    device.setMonitored(true);
    QCOMPARE(
        recorder.take(),
        QStringList({ QStringLiteral("monitoredChanged"), deviceChanged, linkHost, linkAddress, linkPort }));
    QVERIFY(device.qorInterface()->isRunning());

    const auto withoutStates = [&recorder] {
        QStringList names = recorder.take();
        names.removeAll(QStringLiteral("deviceStateChanged"));
        names.removeAll(QStringLiteral("list.deviceStatesChanged"));
        names.removeAll(QStringLiteral("list.alertChanged"));
        return names;
    };
    device.setZmqPort(other.port());
    QCOMPARE(withoutStates(),
             QStringList({ QStringLiteral("zmqPortChanged"), deviceChanged, linkHost, linkAddress, linkHost,
                           linkAddress, linkPort }));
    QCOMPARE(device.qorInterface()->port(), other.port());

    device.setHost(QStringLiteral("localhost"));
    const auto address = QStringLiteral("ipAddressChanged");
    QCOMPARE(withoutStates(),
             QStringList({ QStringLiteral("hostChanged"), deviceChanged, address, deviceChanged, address,
                           deviceChanged, linkHost, linkAddress, linkHost, linkAddress }));
    QCOMPARE(device.qorInterface()->host(), QStringLiteral("localhost"));

    device.setMonitored(false);
    QCOMPARE(withoutStates(),
             QStringList({ QStringLiteral("monitoredChanged"), deviceChanged, linkHost, linkAddress }));
    QVERIFY(!device.qorInterface()->isRunning());
}

QTEST_GUILESS_MAIN(TestDeviceLookup)
#include "tst_devicelookup.moc"
