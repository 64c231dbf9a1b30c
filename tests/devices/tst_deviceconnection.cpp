// SPDX-License-Identifier: MIT
// How a unit's condition follows its link, and what its own monitor messages say.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "devices/signalrecorder.h"
#include "devices/unittexts.h"
#include "link/qorinterface.h"
#include "support/logcapture.h"
#include "support/publisher.h"

#include <QSignalSpy>
#include <QtTest>

namespace {
const auto loopback = QStringLiteral("127.0.0.1");
const auto name = QStringLiteral("Halle 2");
const auto deviceStateChanged = QStringLiteral("deviceStateChanged");
const auto deviceStatesChanged = QStringLiteral("list.deviceStatesChanged");
const auto alertChanged = QStringLiteral("list.alertChanged");

QJsonObject firstMessage(const Device& device)
{
    return device.messages().first().toObject();
}

QString member(const QJsonObject& message, const QString& key)
{
    return message.value(key).toString();
}
} // namespace

class TestDeviceConnection : public QObject {
    Q_OBJECT

private slots:
    void messageHasFiveKeysOfThisMoment_data();
    void messageHasFiveKeysOfThisMoment();
    void everyCallMakesAFreshMessage();
    void stateIsLogged();
    void pendingDropsWarningsAndIncompatibility();
    void connectedKeepsWarningsAndIncompatibility();
    void disconnectedDropsWarningsAndIncompatibility();
    void versionMessageSurvivesEveryState();
    void messagesStandInOrder();
    void alertFollowsTheLinkAndTheIncompatibility();
    void alertDoesNotLookAtTheMonitoredFlag();
    void setAlertActsOnChangesOnly();
    void unitSpeaksAndFallsSilent();

private:
    void startMonitoring(Device& device, const Publisher& publisher);
};

// Leads a unit's link to Pending, which its thread reports.
void TestDeviceConnection::startMonitoring(Device& device, const Publisher& publisher)
{
    device.setHost(loopback);
    device.setZmqPort(publisher.port());
    device.setMonitored(true);
    QTRY_COMPARE(displayTexts(device).constFirst(), pendingText());
    QCOMPARE(device.qorInterface()->state(), QorInterface::Pending);
}

void TestDeviceConnection::messageHasFiveKeysOfThisMoment_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("messageClass");
    QTest::newRow("disconnected") << 0 << disconnectedText() << QStringLiteral("error");
    QTest::newRow("pending") << 1 << pendingText() << QStringLiteral("warning");
    QTest::newRow("connected") << 2 << connectedText() << QStringLiteral("confirmation");
    QTest::newRow("incompatible") << 3 << incompatibleText() << QStringLiteral("error");
    QTest::newRow("newer software") << 4 << QStringLiteral("Neue SW Version verfügbar V1.1")
                                    << QStringLiteral("warning");
}

void TestDeviceConnection::messageHasFiveKeysOfThisMoment()
{
    QFETCH(int, state);
    const Publisher publisher;
    const QDateTime before = QDateTime::currentDateTime().addMSecs(-1000);
    DeviceList list(nullptr);
    Device device(&list);
    device.setQorName(name);
    if (state == 0)
        device.updateConnectState();
    else if (state == 1)
        startMonitoring(device, publisher);
    else if (state == 2)
        emit device.qorInterface()->receiveQorMessage(statusReport(name));
    else if (state == 3)
        device.setIncompatible(true);
    else
        device.updateVersionInfo(QStringLiteral("1.0"), QStringLiteral("01. Dec 2024"), QStringLiteral("1.1"),
                                 QStringLiteral("01. Jan 2025"));
    const QJsonObject message = device.messages().last().toObject();
    QStringList keys = message.keys();
    keys.sort();
    QCOMPARE(keys,
             QStringList({ QStringLiteral("class"), QStringLiteral("date"), QStringLiteral("displaytext"),
                           QStringLiteral("qorName"), QStringLiteral("time") }));
    QTEST(member(message, QStringLiteral("displaytext")), "text");
    QTEST(member(message, QStringLiteral("class")), "messageClass");
    QCOMPARE(member(message, QStringLiteral("qorName")), name);
    const QDateTime made = QDateTime::fromString(member(message, QStringLiteral("date")) + QLatin1Char('T')
                                                     + member(message, QStringLiteral("time")),
                                                 QStringLiteral("yyyy-MM-ddThh:mm:ss"));
    QVERIFY(made >= before && made <= QDateTime::currentDateTime());
}

void TestDeviceConnection::everyCallMakesAFreshMessage()
{
    DeviceList list(nullptr);
    Device device(&list);
    device.setQorName(name);
    // A name is written into the message when that is made, and stays there.
    QCOMPARE(member(firstMessage(device), QStringLiteral("qorName")), QString());
    SignalRecorder recorder;
    recorder.watch(list);
    recorder.watch(device);
    device.updateConnectState();
    QCOMPARE(member(firstMessage(device), QStringLiteral("qorName")), name);
    QCOMPARE(recorder.take(), QStringList({ deviceStatesChanged, deviceStateChanged }));
}

void TestDeviceConnection::stateIsLogged()
{
    const LogCapture log;
    DeviceList list(nullptr);
    Device device(&list);
    QCOMPARE(log.lines().size(), 1);
    const QString disconnected = log.find(QtInfoMsg, QStringLiteral("Device::updateConnectState() "));
    QVERIFY(disconnected.endsWith(QLatin1String("Disconnected")));
    const Publisher publisher;
    startMonitoring(device, publisher);
    emit device.qorInterface()->receiveQorMessage(statusReport(name));
    QStringList states;
    for (const LogCapture::Line& line : log.lines()) {
        if (line.type == QtInfoMsg)
            states.append(line.text);
    }
    QCOMPARE(states.size(), 3);
    QVERIFY(states.at(1).startsWith(QLatin1String("Device::updateConnectState() ")));
    QVERIFY(states.at(1).endsWith(QLatin1String("Pending")));
    QVERIFY(states.at(2).endsWith(QLatin1String("Connected")));
}

void TestDeviceConnection::pendingDropsWarningsAndIncompatibility()
{
    const Publisher publisher;
    DeviceList list(nullptr);
    Device device(&list);
    device.setIncompatible(true);
    device.setWarnings({ warning(QStringLiteral("Feuer")) });
    QVector<QStringList> seen;
    const QObject scope;
    connect(&device, &Device::deviceStateChanged, &scope, [&] { seen.append(displayTexts(device)); });
    SignalRecorder recorder;
    recorder.watch(list);
    startMonitoring(device, publisher);
    // The new message comes first, then the warnings go, then the incompatibility.
    QCOMPARE(seen,
             QVector<QStringList>(
                 { { pendingText(), incompatibleText() }, { pendingText() }, { pendingText() } }));
    QVERIFY(!device.alert());
    QStringList names = recorder.take();
    names.removeAll(QStringLiteral("list.deviceChanged"));
    QCOMPARE(names,
             QStringList({ deviceStatesChanged, deviceStatesChanged, alertChanged, deviceStatesChanged }));
}

void TestDeviceConnection::connectedKeepsWarningsAndIncompatibility()
{
    DeviceList list(nullptr);
    Device device(&list);
    device.setIncompatible(true);
    device.setWarnings({ warning(QStringLiteral("Feuer")) });
    SignalRecorder recorder;
    recorder.watch(list);
    recorder.watch(device);
    emit device.qorInterface()->receiveQorMessage(QByteArrayLiteral(" "));
    QCOMPARE(displayTexts(device),
             QStringList({ connectedText(), incompatibleText(), QStringLiteral("Feuer") }));
    QCOMPARE(recorder.take(), QStringList({ deviceStatesChanged, deviceStateChanged }));
}

void TestDeviceConnection::disconnectedDropsWarningsAndIncompatibility()
{
    const Publisher publisher;
    DeviceList list(nullptr);
    Device device(&list);
    startMonitoring(device, publisher);
    emit device.qorInterface()->receiveQorMessage(QByteArrayLiteral("nonsense"));
    device.setWarnings({ warning(QStringLiteral("Feuer")) });
    QVector<QStringList> seen;
    const QObject scope;
    connect(&device, &Device::deviceStateChanged, &scope, [&] { seen.append(displayTexts(device)); });
    SignalRecorder recorder;
    recorder.watch(list);
    device.setMonitored(false);
    // The warnings go first, then the incompatibility, and the message changes last.
    QCOMPARE(seen,
             QVector<QStringList>(
                 { { connectedText(), incompatibleText() }, { connectedText() }, { disconnectedText() } }));
    QVERIFY(device.alert());
    // The flag is raised for the link before the incompatibility ends, so it does not change at all.
    QCOMPARE(recorder.take(),
             QStringList({ QStringLiteral("list.deviceChanged"), deviceStatesChanged, deviceStatesChanged,
                           deviceStatesChanged }));
}

void TestDeviceConnection::versionMessageSurvivesEveryState()
{
    const Publisher publisher;
    DeviceList list(nullptr);
    Device device(&list);
    const auto hint = QStringLiteral("Neue SW Version verfügbar V1.1");
    device.updateVersionInfo(QStringLiteral("1.0"), QStringLiteral("01. Dec 2024"), QStringLiteral("1.1"),
                             QStringLiteral("01. Jan 2025"));
    QCOMPARE(displayTexts(device), QStringList({ disconnectedText(), hint }));
    startMonitoring(device, publisher);
    QCOMPARE(displayTexts(device), QStringList({ pendingText(), hint }));
    emit device.qorInterface()->receiveQorMessage(statusReport(name));
    QCOMPARE(displayTexts(device), QStringList({ connectedText(), hint }));
    device.setMonitored(false);
    QCOMPARE(displayTexts(device), QStringList({ disconnectedText(), hint }));
}

void TestDeviceConnection::messagesStandInOrder()
{
    DeviceList list(nullptr);
    Device device(&list);
    device.updateVersionInfo(QStringLiteral("1.0"), QStringLiteral("01. Dec 2024"), QStringLiteral("1.1"),
                             QStringLiteral("01. Jan 2025"));
    device.setIncompatible(true);
    device.setWarnings({ warning(QStringLiteral("Feuer")), warning(QStringLiteral("Störung")) });
    QCOMPARE(displayTexts(device),
             QStringList({ disconnectedText(), incompatibleText(),
                           QStringLiteral("Neue SW Version verfügbar V1.1"), QStringLiteral("Feuer"),
                           QStringLiteral("Störung") }));
}

void TestDeviceConnection::alertFollowsTheLinkAndTheIncompatibility()
{
    const Publisher publisher;
    DeviceList list(nullptr);
    Device device(&list);
    QSignalSpy alertSpy(&list, &DeviceList::alertChanged);
    startMonitoring(device, publisher);
    QVERIFY(!device.alert());
    QCOMPARE(alertSpy.count(), 1);
    const QDateTime before = QDateTime::currentDateTime();
    device.setIncompatible(true);
    QVERIFY(device.alert());
    QVERIFY(device.alertTime() >= before && device.alertTime() <= QDateTime::currentDateTime());
    const QDateTime raised = device.alertTime();
    QCOMPARE(alertSpy.count(), 2);
    device.updateAlert();
    QCOMPARE(alertSpy.count(), 2);
    QCOMPARE(device.alertTime(), raised);
    device.setIncompatible(false);
    QVERIFY(!device.alert());
    QCOMPARE(alertSpy.count(), 3);
    emit device.qorInterface()->receiveQorMessage(statusReport(name));
    QVERIFY(!device.alert());
    QCOMPARE(alertSpy.count(), 3);
    device.setMonitored(false);
    QVERIFY(device.alert());
    QCOMPARE(alertSpy.count(), 4);
}

void TestDeviceConnection::alertDoesNotLookAtTheMonitoredFlag()
{
    DeviceList list(nullptr);
    Device device(&list);
    QVERIFY(!device.monitored());
    emit device.qorInterface()->receiveQorMessage(statusReport(name));
    QVERIFY(!device.alert());
    device.processQorMessage(QByteArrayLiteral("nonsense"));
    QVERIFY(device.alert());
}

void TestDeviceConnection::setAlertActsOnChangesOnly()
{
    DeviceList list(nullptr);
    Device device(&list);
    const QDateTime constructed = device.alertTime();
    SignalRecorder recorder;
    recorder.watch(list);
    recorder.watch(device);
    device.setAlert(true);
    QCOMPARE(recorder.take(), QStringList());
    QCOMPARE(device.alertTime(), constructed);
    QTRY_VERIFY(QDateTime::currentDateTime() > constructed);
    device.setAlert(false);
    QVERIFY(!device.alert());
    QVERIFY(device.alertTime() > constructed);
    QCOMPARE(recorder.take(), QStringList { alertChanged });
    // The next judgement of the unit's condition raises it again.
    device.updateAlert();
    QVERIFY(device.alert());
    QCOMPARE(recorder.take(), QStringList { alertChanged });
}

void TestDeviceConnection::unitSpeaksAndFallsSilent()
{
    Publisher publisher;
    DeviceList list(nullptr);
    Device device(&list);
    startMonitoring(device, publisher);
    QVERIFY(publisher.waitForSubscriber());
    publisher.send(statusReport(name, { warning(QStringLiteral("Feuer")) }));
    QTRY_COMPARE(displayTexts(device), QStringList({ connectedText(), QStringLiteral("Feuer") }));
    QCOMPARE(device.qorName(), name);
    QVERIFY(!device.alert());
    QTRY_COMPARE_WITH_TIMEOUT(displayTexts(device), QStringList { disconnectedText() }, 10000);
    QVERIFY(device.alert());
    QCOMPARE(device.stateText(), QStringLiteral("Getrennt"));
    publisher.send(statusReport(name, { warning(QStringLiteral("Feuer")) }));
    QTRY_COMPARE(displayTexts(device), QStringList({ connectedText(), QStringLiteral("Feuer") }));
    QVERIFY(!device.alert());
}

QTEST_GUILESS_MAIN(TestDeviceConnection)
#include "tst_deviceconnection.moc"
