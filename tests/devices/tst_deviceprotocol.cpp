// SPDX-License-Identifier: MIT
// What well-formed unit messages do to a unit.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "support/signalrecorder.h"
#include "support/units.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"

#include <QtTest>

namespace {
const auto name = "Halle 2"_s;
const auto qorNameChanged = "qorNameChanged"_s;
const auto deviceChanged = "list.deviceChanged"_s;
const auto deviceStateChanged = "deviceStateChanged"_s;
const auto deviceStatesChanged = "list.deviceStatesChanged"_s;
const auto alertChanged = "list.alertChanged"_s;
} // namespace

class TestDeviceProtocol : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_list.reset(new DeviceList(nullptr));
        m_device = new Device(m_list.data());
        m_recorder.reset(new SignalRecorder);
        m_recorder->watch(*m_list);
        m_recorder->watch(*m_device);
    }

    void cleanup()
    {
        m_recorder.reset();
        m_list.reset();
    }

    void statusReportSetsTheNameAndTheWarnings()
    {
        m_device->processQorMessage(statusReport(name, { warning("Feuer"_s) }));
        QCOMPARE(m_device->qorName(), name);
        QCOMPARE(displayTexts(*m_device), QStringList({ disconnectedText, "Feuer"_s }));
        // The name counts first, and the alert follows the change that it is about.
        QCOMPARE(m_recorder->take(),
                 QStringList({ qorNameChanged, deviceChanged, deviceStatesChanged, deviceStateChanged,
                               alertChanged }));
    }

    void statusReportWithoutWarningsClearsThem_data()
    {
        QTest::addColumn<QByteArray>("report");
        QTest::newRow("empty array") << statusReport(name);
        QTest::newRow("no warnings") << QByteArrayLiteral(
            R"({"host":"Halle 2","cmd":"StatusReport","value":{"others":1}})");
        QTest::newRow("no value") << QByteArrayLiteral(R"({"host":"Halle 2","cmd":"StatusReport"})");
        QTest::newRow("warnings beside the value") << QByteArrayLiteral(
            R"({"host":"Halle 2","cmd":"StatusReport","warnings":[{"displaytext":"Feuer"}]})");
        QTest::newRow("value is an array")
            << QByteArrayLiteral(R"({"host":"Halle 2","cmd":"StatusReport","value":[{"warnings":[{}]}]})");
        QTest::newRow("warnings is an object")
            << QByteArrayLiteral(R"({"host":"Halle 2","cmd":"StatusReport","value":{"warnings":{"0":{}}}})");
        QTest::newRow("warnings is null")
            << QByteArrayLiteral(R"({"host":"Halle 2","cmd":"StatusReport","value":{"warnings":null}})");
    }

    void statusReportWithoutWarningsClearsThem()
    {
        QFETCH(QByteArray, report);
        m_device->processQorMessage(statusReport(name, { warning("Feuer"_s) }));
        m_recorder->take();
        m_device->processQorMessage(report);
        QCOMPARE(m_device->qorName(), name);
        QCOMPARE(displayTexts(*m_device), QStringList { disconnectedText });
        QCOMPARE(m_recorder->take(), QStringList({ deviceStatesChanged, deviceStateChanged }));
    }

    void identicalStatusReportEmitsNothing()
    {
        // A class of the unit's own, so that a change of what is stored would be seen.
        QJsonObject raised = warning("Feuer"_s);
        raised.insert("class"_s, "warning"_s);
        const QByteArray report = statusReport(name, { raised });
        m_device->processQorMessage(report);
        const QJsonArray messages = m_device->messages();
        m_recorder->take();
        const LogCapture log;
        m_device->processQorMessage(report);
        QCOMPARE(m_recorder->take(), QStringList());
        QCOMPARE(m_device->messages(), messages);
        QVERIFY(log.lines().isEmpty());
    }

    void statusReportEndsIncompatibility()
    {
        // A connected unit, so that the flag is about the incompatibility alone.
        emit m_device->qorInterface()->receiveQorMessage(QByteArrayLiteral("{"));
        QVERIFY(m_device->alert());
        m_recorder->take();
        m_device->processQorMessage(statusReport(name));
        QVERIFY(!m_device->alert());
        QCOMPARE(displayTexts(*m_device), QStringList { connectedText });
        QCOMPARE(m_recorder->take(),
                 QStringList({ qorNameChanged, deviceChanged, deviceStatesChanged, deviceStateChanged,
                               alertChanged }));
    }

    void unknownCommandIsIncompatible_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("unknown") << QByteArrayLiteral(R"({"host":"Halle 2","cmd":"Reboot"})");
        QTest::newRow("lower case") << QByteArrayLiteral(R"({"host":"Halle 2","cmd":"statusreport"})");
        QTest::newRow("lower case version") << QByteArrayLiteral(R"({"host":"Halle 2","cmd":"versioninfo"})");
        QTest::newRow("blank behind") << QByteArrayLiteral(R"({"host":"Halle 2","cmd":"StatusReport "})");
        QTest::newRow("empty") << QByteArrayLiteral(R"({"host":"Halle 2","cmd":""})");
        QTest::newRow("none") << QByteArrayLiteral(R"({"host":"Halle 2"})");
        QTest::newRow("not a text") << QByteArrayLiteral(R"({"host":"Halle 2","cmd":["StatusReport"]})");
    }

    void unknownCommandIsIncompatible()
    {
        QFETCH(QByteArray, message);
        emit m_device->qorInterface()->receiveQorMessage(statusReport(name, { warning("Feuer"_s) }));
        QVERIFY(!m_device->alert());
        m_recorder->take();
        m_device->processQorMessage(message);
        QCOMPARE(m_device->qorName(), name);
        QVERIFY(m_device->alert());
        QCOMPARE(displayTexts(*m_device), QStringList({ connectedText, incompatibleText }));
        // Once for the warnings that went, once for the incompatibility, and then the flag.
        QCOMPARE(m_recorder->take(),
                 QStringList({ deviceStatesChanged, deviceStateChanged, deviceStatesChanged,
                               deviceStateChanged, alertChanged }));
    }

    void unknownCommandIsLogged()
    {
        const LogCapture log;
        m_device->processQorMessage(QByteArrayLiteral(R"({"cmd":"Reboot"})"));
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().type, QtCriticalMsg);
        QCOMPARE(log.lines().constFirst().text,
                 QStringLiteral("Device::onReceiveQorMessage() receive incompatible cmd Reboot , message "
                                "{\"cmd\":\"Reboot\"} , object QJsonObject({\"cmd\":\"Reboot\"})"));
    }

    void everyWellFormedMessageSetsTheName_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QString>("qorName");
        QTest::newRow("status report") << statusReport("Halle 3"_s) << "Halle 3"_s;
        QTest::newRow("version info") << versionInfo("Halle 3"_s, {}, {}, {}, {}) << "Halle 3"_s;
        QTest::newRow("unknown command")
            << QByteArrayLiteral(R"({"host":"Halle 3","cmd":"Reboot"})") << "Halle 3"_s;
        QTest::newRow("umlauts") << statusReport("Brücke"_s) << "Brücke"_s;
        QTest::newRow("status report without host")
            << QByteArrayLiteral(R"({"cmd":"StatusReport"})") << QString();
        QTest::newRow("version info without host")
            << QByteArrayLiteral(R"({"cmd":"VersionInfo"})") << QString();
        QTest::newRow("lower case command without host")
            << QByteArrayLiteral(R"({"cmd":"statusreport"})") << QString();
        QTest::newRow("host is not a text")
            << QByteArrayLiteral(R"({"host":7,"cmd":"StatusReport"})") << QString();
        QTest::newRow("empty object") << QByteArrayLiteral("{}") << QString();
    }

    void everyWellFormedMessageSetsTheName()
    {
        QFETCH(QByteArray, message);
        m_device->setQorName(name);
        m_recorder->take();
        m_device->processQorMessage(message);
        QTEST(m_device->qorName(), "qorName");
        QCOMPARE(m_recorder->take().mid(0, 2), QStringList({ qorNameChanged, deviceChanged }));
    }

    void versionInfoLeavesIncompatibilityAndWarnings()
    {
        m_device->setIncompatible(true);
        m_device->setWarnings({ warning("Feuer"_s) });
        m_device->processQorMessage(versionInfo(name, "1.0"_s, "01. Dec 2024"_s, "1.1"_s, "01. Jan 2025"_s));
        QCOMPARE(displayTexts(*m_device),
                 QStringList(
                     { disconnectedText, incompatibleText, "Neue SW Version verfügbar V1.1"_s, "Feuer"_s }));
    }

    void incompatibleTwiceIsSilent()
    {
        m_device->processQorMessage(QByteArrayLiteral("{}"));
        const QJsonArray messages = m_device->messages();
        m_recorder->take();
        m_device->processQorMessage(QByteArrayLiteral("nonsense"));
        m_device->processQorMessage(QByteArrayLiteral("{}"));
        QCOMPARE(m_recorder->take(), QStringList());
        QCOMPARE(m_device->messages(), messages);
    }

    void incompatibleDropsTheWarningsBeforeItIsAnnounced()
    {
        m_device->setWarnings({ warning("Feuer"_s) });
        QVector<QStringList> seen;
        const QObject scope;
        connect(m_device, &Device::deviceStateChanged, &scope, [&] { seen.append(displayTexts(*m_device)); });
        m_device->setIncompatible(true);
        m_device->setIncompatible(false);
        const QStringList incompatible { disconnectedText, incompatibleText };
        QCOMPARE(seen, QVector<QStringList>({ incompatible, incompatible, { disconnectedText } }));
    }

    void arrivesThroughTheLinkInOrder()
    {
        emit m_device->qorInterface()->receiveQorMessage(statusReport(name, { warning("Feuer"_s) }));
        QCOMPARE(m_recorder->take(),
                 QStringList({ deviceStatesChanged, deviceStateChanged, alertChanged, qorNameChanged,
                               deviceChanged, deviceStatesChanged, deviceStateChanged, alertChanged }));
        QCOMPARE(displayTexts(*m_device), QStringList({ connectedText, "Feuer"_s }));
    }

private:
    QScopedPointer<DeviceList> m_list;
    Device* m_device = nullptr;
    QScopedPointer<SignalRecorder> m_recorder;
};

QTEST_GUILESS_MAIN(TestDeviceProtocol)
#include "tst_deviceprotocol.moc"
