// SPDX-License-Identifier: MIT
#include "commandinterpreter.h"
#include "scenario.h"
#include "scenarioplayer.h"
#include "simulator.h"

#include <QSignalSpy>
#include <QtTest>

class TestUnitScenario : public QObject {
    Q_OBJECT

private slots:
    void errorsSayThePlace_data();
    void errorsSayThePlace();
    void readsUnitsAndSortsSteps();
    void theExampleOfTheHelpIsGood();
    void theDemonstrationShowsEverythingAfterFourSeconds();
    void aRoundOfTheDemonstrationLeavesNoWarning();
    void playsInTimeAndAgain();

private:
    static Scenario demo();
};

void TestUnitScenario::errorsSayThePlace_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* name, const char* json, const char* error) {
        QTest::newRow(name) << QByteArray(json) << QString::fromUtf8(error);
    };
    row("syntax", "{\n  \"units\": [}\n", "line 2, column 14: object is missing after a comma");
    row("array", "[]", "line 1, column 1: the scenario is no object");
    row("no units", "{}", "units: is no array");
    row("unit is a number", R"({"units":[1]})", "units[0]: is no object");
    row("no key", R"({"units":[{"name":"x"}]})", "units[0]: the unit has no \"key\"");
    row("same key", R"({"units":[{"key":"a"},{"key":"a"}]})", "units[1]: the key \"a\" is taken");
    row("port", R"({"units":[{"key":"a","port":65536}]})",
        "units[0].port: \"65536\" is no port of 0 to 65535");
    row("broken port", R"({"units":[{"key":"a","port":1.5}]})",
        "units[0].port: \"1.5\" is no port of 0 to 65535");
    row("mistyped", R"({"units":[{"key":"a","prot":1}]})", "units[0].prot: unknown field \"prot\"");
    row("address", R"({"units":[{"key":"a","address":true}]})", "units[0].address: is no string");
    row("date", R"({"units":[{"key":"a","version":{"local":{"number":"1","date":"5.3.2024"}}}]})",
        "units[0].version.local.date: \"5.3.2024\" is no date such as 05. Mar 2024");
    row("no remote", R"({"units":[{"key":"a","version":{"local":{"number":"1","date":"05. Mar 2024"}}}]})",
        "units[0].version.remote: is no object");
    row("warning", R"({"units":[{"key":"a","warnings":[{}]}]})",
        "units[0].warnings[0]: the warning has no \"displaytext\"");
    row("root key", R"({"units":[],"unit":1})", "unit: unknown key");
    row("no time", R"({"units":[],"timeline":[{"command":"list"}]})",
        "timeline[0].at: is no time of 0 to 86400 seconds");
    row("negative time", R"({"units":[],"timeline":[{"at":-1,"command":"list"}]})",
        "timeline[0].at: is no time of 0 to 86400 seconds");
    row("no command", R"({"units":[],"timeline":[{"at":1,"command":"list"},{"at":1}]})",
        "timeline[1].command: is no string");
    row("step key", R"({"units":[],"timeline":[{"at":1,"command":"list","unit":"a"}]})",
        "timeline[0].unit: unknown key");
    row("early repeat", R"({"units":[],"timeline":[{"at":5,"command":"list"}],"repeat":4})",
        "repeat: comes before the last step");
    row("no repeat", R"({"units":[],"repeat":0})", "repeat: is no time of 0.1 to 86400 seconds");
}

void TestUnitScenario::errorsSayThePlace()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, error);
    const auto result = parseScenario(json);
    QVERIFY(std::holds_alternative<ScenarioError>(result));
    QCOMPARE(std::get<ScenarioError>(result).text, error);
}

void TestUnitScenario::readsUnitsAndSortsSteps()
{
    const auto result = parseScenario(R"({ "units": [ { "key": "a", "port": 5566, "web": "8080",
        "interval": 50, "warnings": [ { "displaytext": "w", "level": 2 } ] } ],
        "timeline": [ { "at": 2, "command": "late" }, { "at": 0.25, "command": "early" },
                      { "at": 2, "command": "later" } ], "repeat": 2.5 })");
    QVERIFY(std::holds_alternative<Scenario>(result));
    const auto& scenario = std::get<Scenario>(result);
    QCOMPARE(scenario.units.size(), 1);
    const UnitSettings& unit = scenario.units.first();
    QCOMPARE(unit.name, QStringLiteral("a"));
    QCOMPARE(unit.address, QStringLiteral("127.0.0.1"));
    QCOMPARE(int(unit.zmqPort), 5566);
    QCOMPARE(int(unit.webPort), 8080);
    QCOMPARE(unit.intervalMs, 50);
    QCOMPARE(unit.warnings.first().toObject().value(QLatin1String("level")).toInt(), 2);
    QStringList order;
    for (const ScenarioStep& step : scenario.steps)
        order.append(step.place + QLatin1Char(' ') + step.command);
    QCOMPARE(order,
             (QStringList { QStringLiteral("timeline[1].command early"),
                            QStringLiteral("timeline[0].command late"),
                            QStringLiteral("timeline[2].command later") }));
    QCOMPARE(scenario.steps.first().atMs, 250);
    QCOMPARE(scenario.repeatMs, std::optional<qint64>(2500));
}

void TestUnitScenario::theExampleOfTheHelpIsGood()
{
    const QString help = scenarioHelp();
    const auto result = parseScenario(help.mid(help.indexOf(QStringLiteral("\n  {"))).toUtf8());
    if (const auto* error = std::get_if<ScenarioError>(&result))
        QFAIL(qPrintable(error->text));
    const auto& scenario = std::get<Scenario>(result);
    Simulator simulator(scenario.units);
    const CommandInterpreter interpreter(simulator);
    QCOMPARE(scenario.steps.size(), 2);
    for (const ScenarioStep& step : scenario.steps)
        QCOMPARE(interpreter.check(step.command), QString());
}

Scenario TestUnitScenario::demo()
{
    const auto result = loadScenario(QStringLiteral(UNIT_SIMULATOR_SCENARIOS "/demo.json"));
    if (const auto* error = std::get_if<ScenarioError>(&result))
        qWarning("%s", qPrintable(error->text));
    return std::holds_alternative<Scenario>(result) ? std::get<Scenario>(result) : Scenario();
}

void TestUnitScenario::theDemonstrationShowsEverythingAfterFourSeconds()
{
    const Scenario scenario = demo();
    QCOMPARE(scenario.units.size(), 3);
    Simulator simulator(scenario.units);
    CommandInterpreter interpreter(simulator);
    for (const ScenarioStep& step : scenario.steps) {
        if (step.atMs <= 3000)
            QVERIFY2(interpreter.execute(step.command).startsWith(QStringLiteral("ok")),
                     qPrintable(step.command));
    }
    int warnings = 0;
    int newer = 0;
    for (const auto& unit : simulator.units()) {
        warnings += unit->unit().warnings().size();
        newer += unit->unit().version().remoteNo != unit->unit().version().localNo ? 1 : 0;
    }
    QVERIFY(warnings > 0);
    QCOMPARE(newer, 1);
}

void TestUnitScenario::aRoundOfTheDemonstrationLeavesNoWarning()
{
    const Scenario scenario = demo();
    QVERIFY(scenario.repeatMs.has_value());
    Simulator simulator(scenario.units);
    CommandInterpreter interpreter(simulator);
    for (const ScenarioStep& step : scenario.steps)
        QVERIFY2(interpreter.execute(step.command).startsWith(QStringLiteral("ok")),
                 qPrintable(step.command));
    for (const auto& unit : simulator.units())
        QVERIFY(unit->unit().warnings().isEmpty());
}

void TestUnitScenario::playsInTimeAndAgain()
{
    Scenario scenario;
    scenario.steps = { { 0, QStringLiteral("a"), {} }, { 100, QStringLiteral("b"), {} } };
    scenario.repeatMs = 250;
    ScenarioPlayer player(scenario);
    QElapsedTimer clock;
    QVector<qint64> times;
    QString commands;
    connect(&player, &ScenarioPlayer::due, this, [&](const ScenarioStep& step) {
        times.append(clock.elapsed());
        commands += step.command;
    });
    clock.start();
    player.start();
    QTRY_VERIFY(times.size() >= 4);
    QVERIFY(commands.startsWith(QStringLiteral("abab")));
    // Never early; how late depends on the machine.
    const QVector<qint64> wanted { 0, 100, 250, 350 };
    for (int i = 0; i < wanted.size(); ++i)
        QVERIFY2(times.at(i) >= wanted.at(i), qPrintable(QString::number(times.at(i))));
}

QTEST_GUILESS_MAIN(TestUnitScenario)
#include "tst_unitscenario.moc"
