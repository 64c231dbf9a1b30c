// SPDX-License-Identifier: MIT
#include "tools/simulatorprocess.h"
#include "tools/subscriber.h"

#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

// How the real program starts and ends.
class TestUnitSimulatorProcess : public QObject {
    Q_OBJECT

private slots:
    void refusesBadArguments_data();
    void refusesBadArguments();
    void refusesBadScenarios_data();
    void refusesBadScenarios();
    void refusesATakenPort_data();
    void refusesATakenPort();
    void helpExplainsCommandsAndScenarios();
    void endsWithStandardInput();
    void staysWhenAsked();
    void endsBySignal_data();
    void endsBySignal();
    void playsAScenario();
    void argumentsChangeTheUnitsOfAScenario();

private:
    QString writeScenario(const QByteArray& json);

    QTemporaryDir m_directory;
};

QString TestUnitSimulatorProcess::writeScenario(const QByteArray& json)
{
    QFile file(m_directory.filePath(QStringLiteral("scenario.json")));
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size())
        return {};
    return file.fileName();
}

void TestUnitSimulatorProcess::refusesBadArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* name, const QStringList& arguments, const char* error) {
        QTest::newRow(name) << arguments << QString::fromLatin1(error);
    };
    const QString unit = QStringLiteral("--unit");
    row("nothing", {}, "there is no unit: give --unit or --scenario");
    row("unknown option", { QStringLiteral("--units") }, "Unknown option 'units'.");
    row("positional", { unit, QStringLiteral("port=0"), QStringLiteral("extra") },
        "unexpected argument \"extra\"");
    row("port", { unit, QStringLiteral("name=a,port=x") },
        "--unit \"name=a,port=x\": \"x\" is no port of 0 to 65535");
    row("field", { unit, QStringLiteral("ports=1") }, "--unit \"ports=1\": unknown field \"ports\"");
    row("no field", { unit, QStringLiteral("port=0,") }, "--unit \"port=0,\": \"\" is no FIELD=VALUE");
    row("same key", { unit, QStringLiteral("key=a"), unit, QStringLiteral("key=a") },
        "--unit \"key=a\": the key \"a\" is taken");
    row("key", { unit, QStringLiteral("key=a b") },
        "--unit \"key=a b\": \"a b\" is no key: 1 to 40 letters, digits, - or _");
    row("no file", { QStringLiteral("--scenario"), QStringLiteral("/nowhere/s.json") },
        "/nowhere/s.json: No such file or directory");
}

void TestUnitSimulatorProcess::refusesBadArguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, error);
    SimulatorProcess simulator(arguments);
    QCOMPARE(simulator.exitCode(), 2);
    QCOMPARE(simulator.errors(), QStringLiteral("unit-simulator: ") + error + QLatin1Char('\n'));
    QCOMPARE(simulator.readLine(0), QString());
}

void TestUnitSimulatorProcess::refusesBadScenarios_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("error");
    QTest::newRow("syntax") << QByteArray("{\n\"units\": x }")
                            << QStringLiteral("line 2, column 10: illegal number");
    QTest::newRow("unit") << QByteArray(R"({"units":[{"key":"a","interval":1}]})")
                          << QStringLiteral(
                                 "units[0].interval: \"1\" is no interval of 10 to 3600000 milliseconds");
    QTest::newRow("command") << QByteArray(R"({"units":[{"key":"a"}],"timeline":[{"at":9,"command":"list"},
                                             {"at":1,"command":"warn b x"}]})")
                             << QStringLiteral("timeline[1].command: unknown unit \"b\"");
    QTest::newRow("no units") << QByteArray(R"({"units":[]})") << QString();
}

void TestUnitSimulatorProcess::refusesBadScenarios()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, error);
    const QString file = writeScenario(json);
    SimulatorProcess simulator({ QStringLiteral("--scenario"), file });
    QCOMPARE(simulator.exitCode(), 2);
    const QString expected = error.isEmpty() ? QStringLiteral("there is no unit: give --unit or --scenario")
                                             : file + QStringLiteral(": ") + error;
    QCOMPARE(simulator.errors(), QStringLiteral("unit-simulator: ") + expected + QLatin1Char('\n'));
}

void TestUnitSimulatorProcess::refusesATakenPort_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("kind");
    QTest::newRow("zmq") << QStringLiteral("port") << QStringLiteral("zmq");
    QTest::newRow("web") << QStringLiteral("web") << QStringLiteral("web");
}

void TestUnitSimulatorProcess::refusesATakenPort()
{
    QFETCH(QString, field);
    QFETCH(QString, kind);
    QTcpServer taken;
    QVERIFY(taken.listen(QHostAddress::LocalHost));
    const QString port = QString::number(taken.serverPort());
    SimulatorProcess simulator({ QStringLiteral("--unit"), QStringLiteral("key=first"),
                                 QStringLiteral("--unit"),
                                 QStringLiteral("key=second,") + field + QLatin1Char('=') + port });
    QCOMPARE(simulator.exitCode(), 2);
    const QString begin = QStringLiteral("unit-simulator: unit second: %1 127.0.0.1:%2: ").arg(kind, port);
    const QString errors = simulator.errors();
    QVERIFY2(errors.startsWith(begin), qPrintable(errors));
    QVERIFY(errors.size() > begin.size() + 1);
    // No unit has announced itself when one cannot play.
    QCOMPARE(simulator.readLine(0), QString());
}

void TestUnitSimulatorProcess::helpExplainsCommandsAndScenarios()
{
    SimulatorProcess simulator({ QStringLiteral("--help") });
    QCOMPARE(simulator.exitCode(), 0);
    const QString help = QString::fromUtf8(simulator.process().readAllStandardOutput());
    for (const char* part : { "--unit", "--scenario", "--stay", "restart UNIT [SECONDS]", "wrong-command",
                              "\"timeline\": [", "Exit codes" })
        QVERIFY2(help.contains(QLatin1String(part)), part);
}

void TestUnitSimulatorProcess::endsWithStandardInput()
{
    SimulatorProcess simulator({ QStringLiteral("--unit"), QStringLiteral("key=a") });
    QVERIFY(simulator.readReady(QStringLiteral("a")).zmq > 0);
    simulator.write("warn a without a line break");
    simulator.process().closeWriteChannel();
    QCOMPARE(simulator.readLine(), QStringLiteral("ok 1 warnings"));
    QCOMPARE(simulator.exitCode(), 0);
}

void TestUnitSimulatorProcess::staysWhenAsked()
{
    SimulatorProcess simulator(
        { QStringLiteral("--stay"), QStringLiteral("--unit"), QStringLiteral("key=a,interval=20") });
    const SimulatorProcess::Ports ports = simulator.readReady(QStringLiteral("a"));
    QVERIFY(ports.zmq > 0);
    simulator.write("list\nname a Nachher\n");
    simulator.process().closeWriteChannel();
    Subscriber subscriber(ports.zmq);
    QVERIFY(!simulator.process().waitForFinished(300));
    for (int i = 0; i < 10; ++i) {
        const QJsonObject report = subscriber.waitForReport(QStringLiteral("StatusReport"));
        QCOMPARE(report.value(QLatin1String("host")).toString(), QStringLiteral("Nachher"));
    }
    simulator.process().terminate();
    QCOMPARE(simulator.exitCode(), 0);
}

void TestUnitSimulatorProcess::endsBySignal_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void TestUnitSimulatorProcess::endsBySignal()
{
#ifdef Q_OS_UNIX
    QFETCH(int, signal);
    SimulatorProcess simulator({ QStringLiteral("--unit"), QStringLiteral("key=a") });
    QVERIFY(simulator.readReady(QStringLiteral("a")).zmq > 0);
    QCOMPARE(::kill(static_cast<pid_t>(simulator.process().processId()), signal), 0);
    // An end by the signal itself would be no normal exit.
    QCOMPARE(simulator.exitCode(), 0);
#endif
}

void TestUnitSimulatorProcess::playsAScenario()
{
    const QString file = writeScenario(R"({
        "units": [ { "key": "a", "name": "Anlage", "interval": 20 } ],
        "timeline": [ { "at": 0.3, "command": "clear a 2" }, { "at": 0.1, "command": "warn a Über" },
                      { "at": 0.6, "command": "quit" } ] })");
    SimulatorProcess simulator({ QStringLiteral("--scenario"), file });
    const SimulatorProcess::Ports ports = simulator.readReady(QStringLiteral("a"));
    Subscriber subscriber(ports.zmq);
    QVERIFY(!subscriber
                 .waitForReport(QStringLiteral("StatusReport"),
                                [](const QJsonObject& report) {
                                    return warningTexts(report) == QStringList { QStringLiteral("Über") };
                                })
                 .isEmpty());
    QCOMPARE(simulator.readLine(), QStringLiteral("step 0.1 ok 1 warnings"));
    QCOMPARE(simulator.readLine(), QStringLiteral("step 0.3 error unit a has no warning \"2\""));
    QCOMPARE(simulator.readLine(), QStringLiteral("step 0.6 ok quit"));
    QCOMPARE(simulator.exitCode(), 0);
}

void TestUnitSimulatorProcess::argumentsChangeTheUnitsOfAScenario()
{
    const QString file
        = writeScenario(R"({ "units": [ { "key": "a", "name": "A" }, { "key": "b", "name": "B" } ] })");
    SimulatorProcess simulator({ QStringLiteral("--scenario"), file, QStringLiteral("--unit"),
                                 QStringLiteral("key=b,name=Neu\\, anders"), QStringLiteral("--unit"),
                                 QStringLiteral("name=Dritte") });
    for (const QString& key : { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("unit3") })
        QVERIFY2(simulator.readReady(key).zmq > 0, qPrintable(key));
    QCOMPARE(simulator.command(QStringLiteral("list")), QStringLiteral("ok 3 units"));
    for (const QString& name :
         { QStringLiteral("A"), QStringLiteral("Neu, anders"), QStringLiteral("Dritte") })
        QVERIFY(simulator.readLine().endsWith(QStringLiteral(" warnings=0 name=") + name));
}

QTEST_GUILESS_MAIN(TestUnitSimulatorProcess)
#include "tst_unitsimulatorprocess.moc"
