// SPDX-License-Identifier: MIT
#include "inputerror.h"
#include "scenario.h"
#include "support/literals.h"

#include <QtTest>

class TestScenario : public QObject {
    Q_OBJECT

private slots:
    void readsUnitsAndSortsSteps()
    {
        const Scenario scenario = Scenario::fromJson(R"({
            "timeline": [ { "at": 2, "command": "late" }, { "at": 0.25, "command": "early" },
                          { "at": 2, "command": "later" } ],
            "units": [ { "key": "a", "port": 5566, "web": "8080", "interval": 50, "address": "::1" },
                       { "name": "Zweite, daneben" } ],
            "repeat": 2.5 })");
        QCOMPARE(units(scenario), "a (a) ::1 5566 8080 50; unit2 (Zweite, daneben) 127.0.0.1 0 0 1000; "_s);
        QString order;
        for (const Scenario::Step& step : scenario.steps)
            order += "%1 %2; "_s.arg(step.atMs).arg(step.command);
        QCOMPARE(order, "250 early; 2000 late; 2000 later; "_s);
        QCOMPARE(scenario.repeatMs, 2500);
    }

    void fieldsChangeTheUnitWithTheirKey()
    {
        Scenario scenario
            = Scenario::fromJson(R"({ "units": [ { "key": "a" }, { "key": "b", "web": 7 } ] })");
        scenario.setUnit("key=b,name=Neu, anders = gut,port=5"_s);
        scenario.setUnit("name=Dritte"_s);
        QCOMPARE(units(scenario),
                 QStringLiteral("a (a) 127.0.0.1 0 0 1000; b (Neu, anders = gut) 127.0.0.1 5 7 1000; "
                                "unit3 (Dritte) 127.0.0.1 0 0 1000; "));
    }

    void wrongScenariosAreRefused_data()
    {
        QTest::addColumn<QString>("error");
        const char* stepError = "a step has \"at\" and \"command\", and nothing else";
        const char* timeError = "\"at\" and \"repeat\" are seconds, of 0 to 86400";
        QTest::newRow(R"({"units":[})") << "byte 11: object is missing after a comma";
        QTest::newRow(R"({"unit":[]})") << "unknown key \"unit\"";
        QTest::newRow(R"({"units":[{"prot":1}]})") << "unknown field \"prot\" of a unit";
        QTest::newRow(R"({"units":[{"key":"a b"}]})") << "\"a b\" is no key of letters, digits, - and _";
        QTest::newRow(R"({"units":[{"key":"a\n"}]})") << "\"a\n\" is no key of letters, digits, - and _";
        QTest::newRow(R"({"units":[{"port":65536}]})") << "\"65536\" is no number of 0 to 65535";
        QTest::newRow(R"({"units":[{"port":1.5}]})") << "\"1.5\" is no number of 0 to 65535";
        QTest::newRow(R"({"units":[{"web":-1}]})") << "\"-1\" is no number of 0 to 65535";
        QTest::newRow(R"({"units":[{"web":""}]})") << "\"\" is no number of 0 to 65535";
        QTest::newRow(R"({"units":[{"interval":9}]})") << "\"9\" is no number of 10 to 86400000";
        QTest::newRow(R"({"units":[{"address":"unit.example"}]})") << "\"unit.example\" is no IP address";
        QTest::newRow(R"({"timeline":[{"command":"quit"}]})") << stepError;
        QTest::newRow(R"({"timeline":[{"at":1}]})") << stepError;
        QTest::newRow(R"({"timeline":[{"at":1,"command":2}]})") << stepError;
        QTest::newRow(R"({"timeline":[{"at":1,"command":"quit","unit":"a"}]})") << stepError;
        QTest::newRow(R"({"timeline":[{"at":-1,"command":"quit"}]})") << timeError;
        QTest::newRow(R"({"timeline":[{"at":"1","command":"quit"}]})") << timeError;
        QTest::newRow(R"({"repeat":86401})") << timeError;
        QTest::newRow(R"({"timeline":[{"at":5,"command":"quit"}],"repeat":4})")
            << "\"repeat\" comes before the last step";
    }

    void wrongScenariosAreRefused()
    {
        QFETCH(const QString, error);
        QCOMPARE(errorOf([] { Scenario::fromJson(QTest::currentDataTag()); }), error);
    }

    void wrongFieldsAreRefused()
    {
        QCOMPARE(errorOf([] { Scenario().setUnit("port"_s); }), "\"port\" is no FIELD=VALUE"_s);
        QCOMPARE(errorOf([] { Scenario().setUnit("port=5,ports=6"_s); }),
                 "unknown field \"ports\" of a unit"_s);
    }

private:
    static QString units(const Scenario& scenario)
    {
        QString text;
        for (const UnitServer::Settings& unit : scenario.units)
            text += "%1 (%2) %3 "_s.arg(unit.key, unit.name, unit.address)
                + "%1 %2 %3; "_s.arg(unit.zmqPort).arg(unit.webPort).arg(unit.intervalMs);
        return text;
    }

    template <typename Function> static QString errorOf(Function function)
    {
        try {
            function();
            return "no error"_s;
        } catch (const InputError& error) {
            return error.text();
        }
    }
};

QTEST_GUILESS_MAIN(TestScenario)
#include "tst_scenario.moc"
