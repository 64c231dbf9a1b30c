// SPDX-License-Identifier: MIT
// How a unit's condition follows its link, and what its own monitor messages say.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "support/signalrecorder.h"
#include "support/units.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/publisher.h"

#include <QSignalSpy>
#include <QtTest>

namespace {
const auto name = "Halle 2"_s;
const auto deviceStateChanged = "deviceStateChanged"_s;
const auto deviceStatesChanged = "list.deviceStatesChanged"_s;
const auto alertChanged = "list.alertChanged"_s;

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
    void messageHasFiveKeysOfThisMoment_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("messageClass");
        QTest::newRow("disconnected") << 0 << disconnectedText << "error"_s;
        QTest::newRow("pending") << 1 << pendingText << "warning"_s;
        QTest::newRow("connected") << 2 << connectedText << "confirmation"_s;
        QTest::newRow("incompatible") << 3 << incompatibleText << "error"_s;
        QTest::newRow("newer software") << 4 << "Neue SW Version verfügbar V1.1"_s
                                        << "warning"_s;
    }

    void messageHasFiveKeysOfThisMoment()
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
            device.updateVersionInfo("1.0"_s, "01. Dec 2024"_s, "1.1"_s, "01. Jan 2025"_s);
        const QJsonObject message = device.messages().last().toObject();
        QStringList keys = message.keys();
        keys.sort();
        QCOMPARE(keys, QStringList({ "class"_s, "date"_s, "displaytext"_s, "qorName"_s, "time"_s }));
        QTEST(member(message, "displaytext"_s), "text");
        QTEST(member(message, "class"_s), "messageClass");
        QCOMPARE(member(message, "qorName"_s), name);
        const QDateTime made
            = QDateTime::fromString(member(message, "date"_s) + QLatin1Char('T') + member(message, "time"_s),
                                    "yyyy-MM-ddThh:mm:ss"_s);
        QVERIFY(made >= before && made <= QDateTime::currentDateTime());
    }

    void everyCallMakesAFreshMessage()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.setQorName(name);
        // A name is written into the message when that is made, and stays there.
        QCOMPARE(member(firstMessage(device), "qorName"_s), QString());
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        device.updateConnectState();
        QCOMPARE(member(firstMessage(device), "qorName"_s), name);
        QCOMPARE(recorder.take(), QStringList({ deviceStatesChanged, deviceStateChanged }));
    }

    void stateIsLogged()
    {
        const LogCapture log;
        DeviceList list(nullptr);
        Device device(&list);
        QCOMPARE(log.lines().size(), 1);
        const QString disconnected = log.find(QtInfoMsg, "Device::updateConnectState() "_s);
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

    void pendingDropsWarningsAndIncompatibility()
    {
        const Publisher publisher;
        DeviceList list(nullptr);
        Device device(&list);
        device.setIncompatible(true);
        device.setWarnings({ warning("Feuer"_s) });
        QVector<QStringList> seen;
        const QObject scope;
        connect(&device, &Device::deviceStateChanged, &scope, [&] { seen.append(displayTexts(device)); });
        SignalRecorder recorder;
        recorder.watch(list);
        startMonitoring(device, publisher);
        // The new message comes first, then the warnings go, then the incompatibility.
        QCOMPARE(
            seen,
            QVector<QStringList>({ { pendingText, incompatibleText }, { pendingText }, { pendingText } }));
        QVERIFY(!device.alert());
        QStringList names = recorder.take();
        names.removeAll("list.deviceChanged"_s);
        QCOMPARE(
            names,
            QStringList({ deviceStatesChanged, deviceStatesChanged, alertChanged, deviceStatesChanged }));
    }

    void connectedKeepsWarningsAndIncompatibility()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.setIncompatible(true);
        device.setWarnings({ warning("Feuer"_s) });
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        emit device.qorInterface()->receiveQorMessage(QByteArrayLiteral(" "));
        QCOMPARE(displayTexts(device), QStringList({ connectedText, incompatibleText, "Feuer"_s }));
        QCOMPARE(recorder.take(), QStringList({ deviceStatesChanged, deviceStateChanged }));
    }

    void disconnectedDropsWarningsAndIncompatibility()
    {
        const Publisher publisher;
        DeviceList list(nullptr);
        Device device(&list);
        startMonitoring(device, publisher);
        emit device.qorInterface()->receiveQorMessage(QByteArrayLiteral("nonsense"));
        device.setWarnings({ warning("Feuer"_s) });
        QVector<QStringList> seen;
        const QObject scope;
        connect(&device, &Device::deviceStateChanged, &scope, [&] { seen.append(displayTexts(device)); });
        SignalRecorder recorder;
        recorder.watch(list);
        device.setMonitored(false);
        // The warnings go first, then the incompatibility, and the message changes last.
        QCOMPARE(seen,
                 QVector<QStringList>(
                     { { connectedText, incompatibleText }, { connectedText }, { disconnectedText } }));
        QVERIFY(device.alert());
        // The flag is raised for the link before the incompatibility ends, so it does not change at all.
        QCOMPARE(recorder.take(),
                 QStringList({ "list.deviceChanged"_s, deviceStatesChanged, deviceStatesChanged,
                               deviceStatesChanged }));
    }

    void versionMessageSurvivesEveryState()
    {
        const Publisher publisher;
        DeviceList list(nullptr);
        Device device(&list);
        const auto hint = "Neue SW Version verfügbar V1.1"_s;
        device.updateVersionInfo("1.0"_s, "01. Dec 2024"_s, "1.1"_s, "01. Jan 2025"_s);
        QCOMPARE(displayTexts(device), QStringList({ disconnectedText, hint }));
        startMonitoring(device, publisher);
        QCOMPARE(displayTexts(device), QStringList({ pendingText, hint }));
        emit device.qorInterface()->receiveQorMessage(statusReport(name));
        QCOMPARE(displayTexts(device), QStringList({ connectedText, hint }));
        device.setMonitored(false);
        QCOMPARE(displayTexts(device), QStringList({ disconnectedText, hint }));
    }

    void messagesStandInOrder()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.updateVersionInfo("1.0"_s, "01. Dec 2024"_s, "1.1"_s, "01. Jan 2025"_s);
        device.setIncompatible(true);
        device.setWarnings({ warning("Feuer"_s), warning("Störung"_s) });
        QCOMPARE(displayTexts(device),
                 QStringList({ disconnectedText, incompatibleText, "Neue SW Version verfügbar V1.1"_s,
                               "Feuer"_s, "Störung"_s }));
    }

    void alertFollowsTheLinkAndTheIncompatibility()
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

    void alertDoesNotLookAtTheMonitoredFlag()
    {
        DeviceList list(nullptr);
        Device device(&list);
        QVERIFY(!device.monitored());
        emit device.qorInterface()->receiveQorMessage(statusReport(name));
        QVERIFY(!device.alert());
        device.processQorMessage(QByteArrayLiteral("nonsense"));
        QVERIFY(device.alert());
    }

    void setAlertActsOnChangesOnly()
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

    void unitSpeaksAndFallsSilent()
    {
        Publisher publisher;
        DeviceList list(nullptr);
        Device device(&list);
        startMonitoring(device, publisher);
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport(name, { warning("Feuer"_s) }));
        QTRY_COMPARE(displayTexts(device), QStringList({ connectedText, "Feuer"_s }));
        QCOMPARE(device.qorName(), name);
        QVERIFY(!device.alert());
        QTRY_COMPARE_WITH_TIMEOUT(displayTexts(device), QStringList { disconnectedText }, 10000);
        QVERIFY(device.alert());
        QCOMPARE(device.stateText(), "Getrennt"_s);
        publisher.send(statusReport(name, { warning("Feuer"_s) }));
        QTRY_COMPARE(displayTexts(device), QStringList({ connectedText, "Feuer"_s }));
        QVERIFY(!device.alert());
    }

private:
    // Leads a unit's link to Pending, which its thread reports.
    void startMonitoring(Device& device, const Publisher& publisher)
    {
        device.setHost(loopback);
        device.setZmqPort(publisher.port());
        device.setMonitored(true);
        QTRY_COMPARE(displayTexts(device).constFirst(), pendingText);
        QCOMPARE(device.qorInterface()->state(), QorInterface::Pending);
    }
};

QTEST_GUILESS_MAIN(TestDeviceConnection)
#include "tst_deviceconnection.moc"
