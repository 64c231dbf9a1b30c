// SPDX-License-Identifier: MIT
#include "tools/simulatorprocess.h"
#include "tools/subscriber.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QtTest>

// What a subscriber and a browser see of the real program.
class TestUnitSimulator : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void reportsComeAtTheInterval();
    void lateSubscriberGetsTheVersionData();
    void warningsAppearAndClear();
    void silenceAndSpeak();
    void restartComesBackOnTheSamePorts();
    void versionGoesOutAtOnce();
    void nameChanges();
    void intervalChanges();
    void sendPublishesTheTextAsItStands();
    void garbageArrives_data();
    void garbageArrives();
    void webPageShowsTheUnit();
    void manyCommandsAtOnceAreAnsweredInOrder();
    void unitsAreApart();

private:
    static QByteArray fetch(int port);
    QString command(const char* line) { return m_simulator->command(QString::fromUtf8(line)); }

    std::unique_ptr<SimulatorProcess> m_simulator;
    SimulatorProcess::Ports m_ports;
    SimulatorProcess::Ports m_otherPorts;
};

void TestUnitSimulator::init()
{
    m_simulator = std::make_unique<SimulatorProcess>(
        QStringList { QStringLiteral("--unit"), QStringLiteral("key=h1,name=Halle 1,interval=20"),
                      QStringLiteral("--unit"), QStringLiteral("key=h2,interval=20") });
    m_ports = m_simulator->readReady(QStringLiteral("h1"));
    m_otherPorts = m_simulator->readReady(QStringLiteral("h2"));
    QVERIFY(m_ports.zmq > 0 && m_ports.web > 0);
    QVERIFY(m_otherPorts.zmq > 0 && m_otherPorts.web > 0);
}

void TestUnitSimulator::cleanup()
{
    // Whatever the test has done, the program still ends cleanly and has complained of nothing.
    QCOMPARE(command("quit"), QStringLiteral("ok quit"));
    QCOMPARE(m_simulator->exitCode(), 0);
    QCOMPARE(m_simulator->errors(), QString());
}

void TestUnitSimulator::reportsComeAtTheInterval()
{
    QCOMPARE(command("interval h1 100"), QStringLiteral("ok interval 100 ms"));
    Subscriber subscriber(m_ports.zmq);
    const QJsonObject first = subscriber.waitForReport(QStringLiteral("StatusReport"));
    QCOMPARE(first.value(QLatin1String("host")).toString(), QStringLiteral("Halle 1"));
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < 10; ++i)
        QVERIFY(!subscriber.waitForReport(QStringLiteral("StatusReport")).isEmpty());
    const qint64 elapsed = clock.elapsed();
    QVERIFY2(elapsed > 800 && elapsed < 3000, qPrintable(QString::number(elapsed)));
}

void TestUnitSimulator::lateSubscriberGetsTheVersionData()
{
    Subscriber first(m_ports.zmq);
    QVERIFY(!first.waitForReport(QStringLiteral("VersionInfo")).isEmpty());
    Subscriber late(m_ports.zmq);
    const QJsonObject info = late.waitForReport(QStringLiteral("VersionInfo"));
    QCOMPARE(info.value(QLatin1String("localQorVersionNo")).toString(), QStringLiteral("1.200"));
    int reports = 0;
    for (int i = 0; i < 20; ++i) {
        const QVector<QByteArray> frames = late.receive();
        const QJsonObject report = QJsonDocument::fromJson(frames.value(0)).object();
        if (report.value(QLatin1String("cmd")).toString() == QLatin1String("VersionInfo"))
            break;
        ++reports;
    }
    QCOMPARE(reports, 5);
}

void TestUnitSimulator::warningsAppearAndClear()
{
    Subscriber subscriber(m_ports.zmq);
    QCOMPARE(command("warn h1 Lüfter steht"), QStringLiteral("ok 1 warnings"));
    QCOMPARE(command("warn h1 {\"displaytext\":\"b\",\"class\":\"c\"}"), QStringLiteral("ok 2 warnings"));
    const auto has = [](const QStringList& texts) {
        return [texts](const QJsonObject& report) { return warningTexts(report) == texts; };
    };
    const QJsonObject both = subscriber.waitForReport(
        QStringLiteral("StatusReport"), has({ QStringLiteral("Lüfter steht"), QStringLiteral("b") }));
    const QJsonObject warning = both.value(QLatin1String("value"))
                                    .toObject()
                                    .value(QLatin1String("warnings"))
                                    .toArray()
                                    .at(1)
                                    .toObject();
    QCOMPARE(warning.value(QLatin1String("class")).toString(), QStringLiteral("c"));
    QVERIFY(warning.contains(QLatin1String("date")) && warning.contains(QLatin1String("time")));
    QCOMPARE(command("clear h1 Lüfter steht"), QStringLiteral("ok 1 warnings"));
    QVERIFY(
        !subscriber.waitForReport(QStringLiteral("StatusReport"), has({ QStringLiteral("b") })).isEmpty());
    QCOMPARE(command("clear h1 all"), QStringLiteral("ok 0 warnings"));
    QVERIFY(!subscriber.waitForReport(QStringLiteral("StatusReport"), has({})).isEmpty());
}

void TestUnitSimulator::silenceAndSpeak()
{
    Subscriber subscriber(m_ports.zmq);
    QVERIFY(!subscriber.waitForReport(QStringLiteral("StatusReport")).isEmpty());
    QCOMPARE(command("silence h1"), QStringLiteral("ok silent"));
    // The last report before the mark is the last of all.
    QCOMPARE(command("send h1 mark"), QStringLiteral("ok sent 4 bytes in 1 frames"));
    QCOMPARE(subscriber.waitFor([](const QByteArray& text) { return text == "mark"; }), QByteArray("mark"));
    QVERIFY(subscriber.receive(300).isEmpty());
    QCOMPARE(command("version h1 local 1 05. Mar 2024 remote 2 06. Mar 2024"),
             QStringLiteral("ok version 1, available 2"));
    QVERIFY(subscriber.receive(100).isEmpty());
    QCOMPARE(command("speak h1"), QStringLiteral("ok speaking"));
    const QJsonObject info = QJsonDocument::fromJson(subscriber.receive().value(0)).object();
    QCOMPARE(info.value(QLatin1String("remoteQorVersionNo")).toString(), QStringLiteral("2"));
    QVERIFY(!subscriber.waitForReport(QStringLiteral("StatusReport")).isEmpty());
}

void TestUnitSimulator::restartComesBackOnTheSamePorts()
{
    Subscriber subscriber(m_ports.zmq);
    QCOMPARE(command("warn h1 vorher"), QStringLiteral("ok 1 warnings"));
    QVERIFY(!subscriber
                 .waitForReport(QStringLiteral("StatusReport"),
                                [](const QJsonObject& report) { return !warningTexts(report).isEmpty(); })
                 .isEmpty());
    QCOMPARE(command("restart h1 0.5"), QStringLiteral("ok restarting in 500 ms"));
    QElapsedTimer clock;
    clock.start();
    QTcpSocket web;
    web.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(m_ports.web));
    QVERIFY(!web.waitForConnected());
    const SimulatorProcess::Ports again = m_simulator->readReady(QStringLiteral("h1"));
    QVERIFY(clock.elapsed() > 400);
    QCOMPARE(again.zmq, m_ports.zmq);
    QCOMPARE(again.web, m_ports.web);
    // The old subscription finds the new socket, and a new one does, too.
    QVERIFY(!subscriber
                 .waitForReport(QStringLiteral("StatusReport"),
                                [](const QJsonObject& report) { return warningTexts(report).isEmpty(); })
                 .isEmpty());
    QVERIFY(!Subscriber(again.zmq).waitForReport(QStringLiteral("VersionInfo")).isEmpty());
    QVERIFY(fetch(again.web).startsWith("HTTP/1.1 200 "));
}

void TestUnitSimulator::versionGoesOutAtOnce()
{
    // Only the change itself can bring the version data within the hour.
    Subscriber subscriber(m_ports.zmq);
    QVERIFY(!subscriber.waitForReport(QStringLiteral("StatusReport")).isEmpty());
    QCOMPARE(command("interval h1 3600000"), QStringLiteral("ok interval 3600000 ms"));
    QCOMPARE(command("version h1 local 1.2 05. Mar 2024 remote 1.3 06. Mar 2025"),
             QStringLiteral("ok version 1.2, available 1.3"));
    const QJsonObject info
        = subscriber.waitForReport(QStringLiteral("VersionInfo"), [](const QJsonObject& report) {
              return report.value(QLatin1String("remoteQorVersionNo")).toString() == QLatin1String("1.3");
          });
    QCOMPARE(info.value(QLatin1String("localQorVersionNo")).toString(), QStringLiteral("1.2"));
    QCOMPARE(info.value(QLatin1String("localQorVersionDate")).toString(), QStringLiteral("05. Mar 2024"));
    QCOMPARE(info.value(QLatin1String("remoteQorVersionDate")).toString(), QStringLiteral("06. Mar 2025"));
}

void TestUnitSimulator::nameChanges()
{
    Subscriber subscriber(m_ports.zmq);
    QCOMPARE(command("name h1 Große Halle"), QStringLiteral("ok name Große Halle"));
    QVERIFY(!subscriber
                 .waitForReport(QStringLiteral("StatusReport"),
                                [](const QJsonObject& report) {
                                    return report.value(QLatin1String("host")).toString()
                                        == QStringLiteral("Große Halle");
                                })
                 .isEmpty());
}

void TestUnitSimulator::intervalChanges()
{
    Subscriber subscriber(m_ports.zmq);
    QVERIFY(!subscriber.waitForReport(QStringLiteral("StatusReport")).isEmpty());
    QCOMPARE(command("interval h1 3600000"), QStringLiteral("ok interval 3600000 ms"));
    QCOMPARE(command("send h1 mark"), QStringLiteral("ok sent 4 bytes in 1 frames"));
    QCOMPARE(subscriber.waitFor([](const QByteArray& text) { return text == "mark"; }), QByteArray("mark"));
    QVERIFY(subscriber.receive(300).isEmpty());
    QCOMPARE(command("interval h1 10"), QStringLiteral("ok interval 10 ms"));
    QVERIFY(!subscriber.waitForReport(QStringLiteral("StatusReport")).isEmpty());
}

void TestUnitSimulator::sendPublishesTheTextAsItStands()
{
    Subscriber subscriber(m_ports.zmq);
    QVERIFY(!subscriber.receive().isEmpty());
    const QByteArray text = QByteArrayLiteral("{\"cmd\": \"\xC3\xBC\",  1}");
    QCOMPARE(m_simulator->command(QStringLiteral("send h1 ") + QString::fromUtf8(text)),
             QStringLiteral("ok sent %1 bytes in 1 frames").arg(text.size()));
    QCOMPARE(subscriber.waitFor([&text](const QByteArray& received) { return received == text; }), text);
}

void TestUnitSimulator::garbageArrives_data()
{
    QTest::addColumn<int>("frames");
    QTest::addColumn<int>("size");
    QTest::newRow("invalid-json") << 1 << -1;
    QTest::newRow("empty") << 1 << 0;
    QTest::newRow("wrong-command") << 1 << -1;
    QTest::newRow("4999") << 1 << 4999;
    QTest::newRow("5000") << 1 << 5000;
    QTest::newRow("nul") << 1 << -1;
    QTest::newRow("invalid-utf8") << 1 << -1;
    QTest::newRow("deep") << 1 << 4000;
    QTest::newRow("frames") << 4 << -1;
}

void TestUnitSimulator::garbageArrives()
{
    QFETCH(int, frames);
    QFETCH(int, size);
    Subscriber subscriber(m_ports.zmq);
    QVERIFY(!subscriber.receive().isEmpty());
    QCOMPARE(command("silence h1"), QStringLiteral("ok silent"));
    QCOMPARE(command("send h1 mark"), QStringLiteral("ok sent 4 bytes in 1 frames"));
    QVERIFY(!subscriber.waitFor([](const QByteArray& text) { return text == "mark"; }).isEmpty());
    const QString answer
        = m_simulator->command(QStringLiteral("garbage h1 ") + QString::fromLatin1(QTest::currentDataTag()));
    const QVector<QByteArray> message = subscriber.receive();
    QCOMPARE(message.size(), frames);
    int bytes = 0;
    for (const QByteArray& frame : message)
        bytes += frame.size();
    if (size >= 0)
        QCOMPARE(bytes, size);
    QCOMPARE(answer, QStringLiteral("ok sent %1 bytes in %2 frames").arg(bytes).arg(frames));
}

QByteArray TestUnitSimulator::fetch(int port)
{
    QTcpSocket client;
    client.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(port));
    client.waitForConnected();
    client.write("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    if (client.state() != QAbstractSocket::UnconnectedState)
        client.waitForDisconnected();
    return client.readAll();
}

void TestUnitSimulator::webPageShowsTheUnit()
{
    QCOMPARE(command("warn h1 Tür <offen>"), QStringLiteral("ok 1 warnings"));
    const QByteArray answer = fetch(m_ports.web);
    QVERIFY(answer.startsWith("HTTP/1.1 200 OK\r\n"));
    QVERIFY(answer.contains("<h1>Halle 1</h1>"));
    QVERIFY(answer.contains("T\xC3\xBCr &lt;offen&gt;"));
    QVERIFY(answer.contains("V1.200"));
    QVERIFY(fetch(m_otherPorts.web).contains("<h1>h2</h1>"));
}

void TestUnitSimulator::manyCommandsAtOnceAreAnsweredInOrder()
{
    QByteArray input;
    for (int i = 1; i <= 200; ++i)
        input += "warn h1 " + QByteArray::number(i) + "\n# remark\n\r\n";
    m_simulator->write(input + "nonsense\n\xFF\n");
    for (int i = 1; i <= 200; ++i)
        QCOMPARE(m_simulator->readLine(), QStringLiteral("ok %1 warnings").arg(i));
    QCOMPARE(m_simulator->readLine(), QStringLiteral("error unknown command \"nonsense\""));
    QCOMPARE(m_simulator->readLine(),
             QStringLiteral("error a command is one line of UTF-8 with at most 65536 bytes"));
}

void TestUnitSimulator::unitsAreApart()
{
    QCOMPARE(command("warn h1 nur hier"), QStringLiteral("ok 1 warnings"));
    Subscriber other(m_otherPorts.zmq);
    const QJsonObject report = other.waitForReport(QStringLiteral("StatusReport"));
    QCOMPARE(report.value(QLatin1String("host")).toString(), QStringLiteral("h2"));
    QCOMPARE(warningTexts(report), QStringList());
}

QTEST_GUILESS_MAIN(TestUnitSimulator)
#include "tst_unitsimulator.moc"
