// SPDX-License-Identifier: MIT
#include "commandinterpreter.h"
#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"
#include "simulator.h"
#include "support/logcapture.h"

#include <QtTest>

// The monitor's own device on a simulated unit: what is played is what the user sees.
class TestSimulatedDevice : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void showsNameWarningAndVersion();
    void takesEveryKindOfGarbage_data();
    void takesEveryKindOfGarbage();
    void followsARestart();

private:
    QString execute(const char* line) { return m_interpreter->execute(QString::fromUtf8(line)); }
    // "class displaytext" of every monitor message.
    QStringList messages() const;

    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<Simulator> m_simulator;
    std::unique_ptr<CommandInterpreter> m_interpreter;
    std::unique_ptr<DeviceList> m_list;
    Device* m_device = nullptr;
};

void TestSimulatedDevice::init()
{
    m_log = std::make_unique<LogCapture>();
    UnitSettings settings;
    settings.key = QStringLiteral("h1");
    settings.name = QStringLiteral("Halle 1");
    settings.intervalMs = 20;
    m_simulator = std::make_unique<Simulator>(QVector<UnitSettings> { settings });
    m_interpreter = std::make_unique<CommandInterpreter>(*m_simulator);
    QCOMPARE(m_simulator->start(), std::optional<QString>());
    m_list = std::make_unique<DeviceList>(nullptr);
    m_device = m_list->addDevice(QStringLiteral("127.0.0.1"), m_simulator->units().front()->zmqPort(), 80,
                                 QStringLiteral("http"));
    m_device->setMonitored(true);
    QTRY_COMPARE(messages(), QStringList { QStringLiteral("confirmation Verbindung hergestellt") });
    QTRY_COMPARE(m_device->qorName(), QStringLiteral("Halle 1"));
}

void TestSimulatedDevice::cleanup()
{
    m_list.reset();
    m_interpreter.reset();
    m_simulator.reset();
    m_log.reset();
}

QStringList TestSimulatedDevice::messages() const
{
    QStringList texts;
    for (const QJsonValue& value : m_device->messages()) {
        const QJsonObject message = value.toObject();
        texts.append(message.value(QLatin1String("class")).toString() + QLatin1Char(' ')
                     + message.value(QLatin1String("displaytext")).toString());
    }
    return texts;
}

void TestSimulatedDevice::showsNameWarningAndVersion()
{
    execute("name h1 Große Halle");
    execute("version h1 local 1.2 05. Mar 2024 remote 1.3 06. Mar 2025");
    execute("warn h1 {\"displaytext\":\"Lüfter steht\",\"class\":\"warning\"}");
    QTRY_COMPARE(m_device->qorName(), QStringLiteral("Große Halle"));
    QTRY_COMPARE(messages(),
                 (QStringList { QStringLiteral("confirmation Verbindung hergestellt"),
                                QStringLiteral("warning Neue SW Version verfügbar V1.3"),
                                QStringLiteral("error Lüfter steht") }));
    execute("version h1 local 1.3 06. Mar 2025 remote 1.3 06. Mar 2025");
    execute("clear h1 all");
    QTRY_COMPARE(messages(), QStringList { QStringLiteral("confirmation Verbindung hergestellt") });
}

void TestSimulatedDevice::takesEveryKindOfGarbage_data()
{
    QTest::addColumn<bool>("incompatible");
    QTest::newRow("invalid-json") << true;
    QTest::newRow("empty") << false;
    QTest::newRow("wrong-command") << true;
    QTest::newRow("4999") << false;
    QTest::newRow("5000") << false;
    QTest::newRow("nul") << true;
    QTest::newRow("invalid-utf8") << true;
    QTest::newRow("deep") << true;
}

void TestSimulatedDevice::takesEveryKindOfGarbage()
{
    QFETCH(bool, incompatible);
    execute("silence h1");
    const QSignalSpy received(m_device->qorInterface(), &QorInterface::receiveQorMessage);
    execute("send h1 {\"host\":\"mark\",\"cmd\":\"StatusReport\"}");
    QTRY_COMPARE(m_device->qorName(), QStringLiteral("mark"));
    const int before = received.count();
    const QString kind = QString::fromLatin1(QTest::currentDataTag());
    QVERIFY(m_interpreter->execute(QStringLiteral("garbage h1 ") + kind).startsWith(QStringLiteral("ok")));
    // Version data leave the incompatible state alone, so they can tell that the garbage has been through.
    execute("send h1 {\"host\":\"behind\",\"cmd\":\"VersionInfo\"}");
    QTRY_COMPARE(m_device->qorName(), QStringLiteral("behind"));
    QCOMPARE(received.count() - before, kind == QLatin1String("5000") ? 1 : 2);
    QCOMPARE(messages().contains(QStringLiteral("error QOR Version inkompatibel")), incompatible);
}

void TestSimulatedDevice::followsARestart()
{
    QSignalSpy ready(m_simulator.get(), &Simulator::announced);
    execute("warn h1 vorher");
    QTRY_VERIFY(messages().contains(QStringLiteral("error vorher")));
    execute("restart h1 0.2");
    QTRY_COMPARE(ready.count(), 1);
    execute("warn h1 nachher");
    QTRY_COMPARE(messages(),
                 (QStringList { QStringLiteral("confirmation Verbindung hergestellt"),
                                QStringLiteral("error nachher") }));
}

QTEST_GUILESS_MAIN(TestSimulatedDevice)
#include "tst_simulateddevice.moc"
