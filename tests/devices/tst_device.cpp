// SPDX-License-Identifier: MIT
#include "devices/device.h"

#include "devices/devicelist.h"
#include "support/signalrecorder.h"
#include "support/units.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/publisher.h"

#include <QMetaMethod>
#include <QtTest>

#include <functional>

namespace {
const auto unresolvable = "not a host name"_s;
const auto deviceChanged = "list.deviceChanged"_s;
} // namespace

using Change = std::function<void(Device&)>;
Q_DECLARE_METATYPE(Change)

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
        QVERIFY(device.qorInterface());
        QVERIFY(!device.qorInterface()->parent());
        QVERIFY(!device.qorInterface()->isRunning());
        QCOMPARE(device.qorInterface()->state(), QorInterface::Disconnected);
    }

    void announcesItselfDuringConstruction()
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
        QCOMPARE(recorder.take(), QStringList({ "list.deviceStatesChanged"_s, "list.alertChanged"_s }));
        QVERIFY(!alertAtFirst);
        QVERIFY(alertTimeAtFirst.isNull());
    }

    void declaresItsSignalsInOrderAndNoSlots()
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

    void setterStoresThenTellsItsOwnListenersThenTheList_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("ownSignal");
        QTest::addColumn<Change>("check");
        const auto row
            = [](const char* name, const Change& change, const char* ownSignal, const Change& check) {
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
            "web scheme", [](Device& d) { d.setWebScheme("https"_s); }, "webSchemeChanged",
            [](Device& d) { QCOMPARE(d.webScheme(), "https"_s); });
        row(
            "name", [](Device& d) { d.setQorName("Halle 2"_s); }, "qorNameChanged",
            [](Device& d) { QCOMPARE(d.qorName(), "Halle 2"_s); });
        row(
            "address", [](Device& d) { d.setIpAddress("10.0.0.9"_s); }, "ipAddressChanged",
            [](Device& d) { QCOMPARE(d.ipAddress(), "10.0.0.9"_s); });
        row(
            "monitored", [](Device& d) { d.setMonitored(true); }, "monitoredChanged",
            [](Device& d) { QVERIFY(d.monitored()); });
    }

    void setterStoresThenTellsItsOwnListenersThenTheList()
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

    void equalValueIsSilent_data()
    {
        QTest::addColumn<Change>("change");
        const auto row = [](const char* name, const Change& change) { QTest::newRow(name) << change; };
        row("host", [](Device& d) { d.setHost(unresolvable); });
        row("ZeroMQ port", [](Device& d) { d.setZmqPort(5567); });
        row("web port", [](Device& d) { d.setWebPort(443); });
        row("web scheme", [](Device& d) { d.setWebScheme("https"_s); });
        row("name", [](Device& d) { d.setQorName("Halle 2"_s); });
        row("address", [](Device& d) { d.setIpAddress("10.0.0.9"_s); });
        row("monitored", [](Device& d) { d.setMonitored(true); });
    }

    void equalValueIsSilent()
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

    void nameChangeIsLoggedBeforeItsSignal()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.setHost(loopback);
        const LogCapture log;
        const auto line = "Device::setQorName() \"127.0.0.1\" \"Halle 2\""_s;
        int linesAtSignal = 0;
        const QObject scope;
        connect(&device, &Device::qorNameChanged, &scope,
                [&] { linesAtSignal = log.count(QtCriticalMsg, line); });
        device.setQorName("Halle 2"_s);
        QCOMPARE(linesAtSignal, 1);
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().text, line);
    }

    void statusTextFollowsTheLinkWhileMonitored()
    {
        const Publisher publisher;
        DeviceList list(nullptr);
        Device device(&list);
        QCOMPARE(device.stateText(), "Nicht überwacht"_s);
        emit device.qorInterface()->receiveQorMessage(statusReport("Halle 2"_s));
        QCOMPARE(device.qorInterface()->state(), QorInterface::Connected);
        QCOMPARE(device.stateText(), "Nicht überwacht"_s);

        Device monitored(&list);
        monitored.setMonitored(true);
        QCOMPARE(monitored.stateText(), "Getrennt"_s);
        monitored.setZmqPort(publisher.port());
        monitored.setHost(loopback);
        QTRY_COMPARE(monitored.stateText(), "Warte auf Verbindung ..."_s);
        emit monitored.qorInterface()->receiveQorMessage(statusReport("Halle 3"_s));
        QCOMPARE(monitored.stateText(), "Verbunden"_s);
    }

    void displayNameIsTheReportedNameElseTheAddress()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.setHost("alarm 1"_s);
        QCOMPARE(device.displayName(), "alarm 1:5566"_s);
        device.setQorName("Halle 2"_s);
        QCOMPARE(device.displayName(), "Halle 2"_s);
        device.setQorName(QString());
        device.setZmqPort(0);
        QCOMPARE(device.displayName(), "alarm 1:0"_s);
    }
};

QTEST_GUILESS_MAIN(TestDevice)
#include "tst_device.moc"
