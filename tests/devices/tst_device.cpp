// SPDX-License-Identifier: MIT
#include "devices/device.h"

#include "devices/devicelist.h"
#include "devices/signalrecorder.h"
#include "devices/unittexts.h"
#include "link/qorinterface.h"
#include "support/logcapture.h"
#include "support/publisher.h"

#include <QMetaMethod>
#include <QtTest>

#include <functional>

namespace {
const auto loopback = QStringLiteral("127.0.0.1");
const auto unresolvable = QStringLiteral("not a host name");
const auto deviceChanged = QStringLiteral("list.deviceChanged");
} // namespace

using Change = std::function<void(Device&)>;
Q_DECLARE_METATYPE(Change)

class TestDevice : public QObject {
    Q_OBJECT

private slots:
    void freshUnitHasTheInitialValues();
    void announcesItselfDuringConstruction();
    void declaresItsSignalsInOrderAndNoSlots();
    void setterStoresThenTellsItsOwnListenersThenTheList_data();
    void setterStoresThenTellsItsOwnListenersThenTheList();
    void equalValueIsSilent_data();
    void equalValueIsSilent();
    void nameChangeIsLoggedBeforeItsSignal();
    void statusTextFollowsTheLinkWhileMonitored();
    void displayNameIsTheReportedNameElseTheAddress();
};

void TestDevice::freshUnitHasTheInitialValues()
{
    const QDateTime before = QDateTime::currentDateTime();
    DeviceList list(nullptr);
    const Device device(&list);
    QCOMPARE(device.parent(), &list);
    QCOMPARE(device.host(), QString());
    QCOMPARE(device.zmqPort(), 5566);
    QCOMPARE(device.webPort(), 80);
    QCOMPARE(device.webScheme(), QStringLiteral("http"));
    QCOMPARE(device.qorName(), QString());
    QCOMPARE(device.ipAddress(), QString());
    QVERIFY(!device.monitored());
    QVERIFY(device.alert());
    QVERIFY(device.alertTime() >= before && device.alertTime() <= QDateTime::currentDateTime());
    QCOMPARE(displayTexts(device), QStringList { disconnectedText() });
    QVERIFY(device.qorInterface());
    QVERIFY(!device.qorInterface()->parent());
    QVERIFY(!device.qorInterface()->isRunning());
    QCOMPARE(device.qorInterface()->state(), QorInterface::Disconnected);
}

void TestDevice::announcesItselfDuringConstruction()
{
    DeviceList list(nullptr);
    SignalRecorder recorder;
    recorder.watch(list);
    // The condition has changed before the alert flag does.
    bool alertAtFirst = true;
    QDateTime alertTimeAtFirst = QDateTime::currentDateTime();
    const QObject scope;
    connect(&list, &DeviceList::deviceStatesChanged, &scope, [&] {
        const auto* device = list.findChild<Device*>();
        QVERIFY(device);
        alertAtFirst = device->alert();
        alertTimeAtFirst = device->alertTime();
    });
    const Device device(&list);
    QCOMPARE(
        recorder.take(),
        QStringList({ QStringLiteral("list.deviceStatesChanged"), QStringLiteral("list.alertChanged") }));
    QVERIFY(!alertAtFirst);
    QVERIFY(alertTimeAtFirst.isNull());
}

void TestDevice::declaresItsSignalsInOrderAndNoSlots()
{
    QList<QByteArray> declared;
    const QMetaObject& meta = Device::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        QCOMPARE(meta.method(i).methodType(), QMetaMethod::Signal);
        declared.append(meta.method(i).methodSignature());
    }
    QCOMPARE(declared,
             QList<QByteArray>({ "hostChanged()", "zmqPortChanged()", "webPortChanged()",
                                 "webSchemeChanged()", "qorNameChanged()", "ipAddressChanged()",
                                 "monitoredChanged()", "versionDataChanged()", "deviceStateChanged()" }));
}

void TestDevice::setterStoresThenTellsItsOwnListenersThenTheList_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("ownSignal");
    QTest::addColumn<Change>("check");
    const auto row = [](const char* name, const Change& change, const char* ownSignal, const Change& check) {
        QTest::newRow(name) << change << QString::fromLatin1(ownSignal) << check;
    };
    row(
        "host", [](Device& d) { d.setHost(unresolvable); }, "hostChanged",
        [](Device& d) { QCOMPARE(d.host(), unresolvable); });
    row(
        "ZeroMQ port", [](Device& d) { d.setZmqPort(5567); }, "zmqPortChanged",
        [](Device& d) { QCOMPARE(d.zmqPort(), 5567); });
    row(
        "web port", [](Device& d) { d.setWebPort(443); }, "webPortChanged",
        [](Device& d) { QCOMPARE(d.webPort(), 443); });
    row(
        "web scheme", [](Device& d) { d.setWebScheme(QStringLiteral("https")); }, "webSchemeChanged",
        [](Device& d) { QCOMPARE(d.webScheme(), QStringLiteral("https")); });
    row(
        "name", [](Device& d) { d.setQorName(QStringLiteral("Halle 2")); }, "qorNameChanged",
        [](Device& d) { QCOMPARE(d.qorName(), QStringLiteral("Halle 2")); });
    row(
        "address", [](Device& d) { d.setIpAddress(QStringLiteral("10.0.0.9")); }, "ipAddressChanged",
        [](Device& d) { QCOMPARE(d.ipAddress(), QStringLiteral("10.0.0.9")); });
    row(
        "monitored", [](Device& d) { d.setMonitored(true); }, "monitoredChanged",
        [](Device& d) { QVERIFY(d.monitored()); });
}

void TestDevice::setterStoresThenTellsItsOwnListenersThenTheList()
{
    QFETCH(Change, change);
    QFETCH(QString, ownSignal);
    QFETCH(Change, check);
    DeviceList list(nullptr);
    Device device(&list);
    SignalRecorder recorder;
    recorder.watch(list);
    recorder.watch(device);
    Device* announced = nullptr;
    const QObject scope;
    connect(&list, &DeviceList::deviceChanged, &scope, [&](Device* changed) {
        announced = changed;
        check(device);
    });
    change(device);
    QCOMPARE(recorder.take(), QStringList({ ownSignal, deviceChanged }));
    QCOMPARE(announced, &device);
    check(device);
}

void TestDevice::equalValueIsSilent_data()
{
    QTest::addColumn<Change>("change");
    const auto row = [](const char* name, const Change& change) { QTest::newRow(name) << change; };
    row("host", [](Device& d) { d.setHost(unresolvable); });
    row("ZeroMQ port", [](Device& d) { d.setZmqPort(5567); });
    row("web port", [](Device& d) { d.setWebPort(443); });
    row("web scheme", [](Device& d) { d.setWebScheme(QStringLiteral("https")); });
    row("name", [](Device& d) { d.setQorName(QStringLiteral("Halle 2")); });
    row("address", [](Device& d) { d.setIpAddress(QStringLiteral("10.0.0.9")); });
    row("monitored", [](Device& d) { d.setMonitored(true); });
}

void TestDevice::equalValueIsSilent()
{
    QFETCH(Change, change);
    DeviceList list(nullptr);
    Device device(&list);
    change(device);
    SignalRecorder recorder;
    recorder.watch(list);
    recorder.watch(device);
    recorder.watchLink(device);
    const LogCapture log;
    change(device);
    QCOMPARE(recorder.take(), QStringList());
    QVERIFY(log.lines().isEmpty());
}

void TestDevice::nameChangeIsLoggedBeforeItsSignal()
{
    DeviceList list(nullptr);
    Device device(&list);
    device.setHost(loopback);
    const LogCapture log;
    const auto line = QStringLiteral("Device::setQorName() \"127.0.0.1\" \"Halle 2\"");
    int linesAtSignal = 0;
    const QObject scope;
    connect(&device, &Device::qorNameChanged, &scope,
            [&] { linesAtSignal = log.count(QtCriticalMsg, line); });
    device.setQorName(QStringLiteral("Halle 2"));
    QCOMPARE(linesAtSignal, 1);
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().constFirst().text, line);
}

void TestDevice::statusTextFollowsTheLinkWhileMonitored()
{
    const Publisher publisher;
    DeviceList list(nullptr);
    Device device(&list);
    QCOMPARE(device.stateText(), QStringLiteral("Nicht überwacht"));
    emit device.qorInterface()->receiveQorMessage(statusReport(QStringLiteral("Halle 2")));
    QCOMPARE(device.qorInterface()->state(), QorInterface::Connected);
    QCOMPARE(device.stateText(), QStringLiteral("Nicht überwacht"));

    Device monitored(&list);
    monitored.setMonitored(true);
    QCOMPARE(monitored.stateText(), QStringLiteral("Getrennt"));
    monitored.setZmqPort(publisher.port());
    monitored.setHost(loopback);
    QTRY_COMPARE(monitored.stateText(), QStringLiteral("Warte auf Verbindung ..."));
    emit monitored.qorInterface()->receiveQorMessage(statusReport(QStringLiteral("Halle 3")));
    QCOMPARE(monitored.stateText(), QStringLiteral("Verbunden"));
}

void TestDevice::displayNameIsTheReportedNameElseTheAddress()
{
    DeviceList list(nullptr);
    Device device(&list);
    device.setHost(QStringLiteral("alarm 1"));
    QCOMPARE(device.displayName(), QStringLiteral("alarm 1:5566"));
    device.setQorName(QStringLiteral("Halle 2"));
    QCOMPARE(device.displayName(), QStringLiteral("Halle 2"));
    device.setQorName(QString());
    device.setZmqPort(0);
    QCOMPARE(device.displayName(), QStringLiteral("alarm 1:0"));
}

QTEST_GUILESS_MAIN(TestDevice)
#include "tst_device.moc"
