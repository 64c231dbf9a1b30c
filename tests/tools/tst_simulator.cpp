// SPDX-License-Identifier: MIT
#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"
#include "simulator.h"
#include "support/logcapture.h"
#include "support/literals.h"

#include <QtTest>

class TestSimulator : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        Scenario scenario;
        // Only a command makes such a unit report within the test.
        scenario.setUnit("key=h1,name=Halle 1,interval=3600000"_s);
        scenario.setUnit("key=h2"_s);
        m_simulator = std::make_unique<Simulator>(scenario);
    }

    void refusesWrongCommands_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::newRow("") << "error unknown command \"\"";
        QTest::newRow("WARN h1 x") << "error unknown command \"WARN h1 x\"";
        QTest::newRow("quit now") << "error unknown command \"quit now\"";
        QTest::newRow("warn h1 a\nb") << "error unknown command \"warn h1 a\nb\"";
        QTest::newRow("warn") << "error usage: warn UNIT TEXT";
        QTest::newRow("warn h1") << "error usage: warn UNIT TEXT";
        QTest::newRow("warn h3 x") << "error unknown unit \"h3\"";
        QTest::newRow("clear h1") << "error usage: clear UNIT all|TEXT";
        QTest::newRow("clear h1 %1") << "error there is no warning \"%1\"";
        QTest::newRow("version h1 local 1") << "error a version is: local NO DATE remote NO DATE";
        QTest::newRow("silence") << "error usage: silence UNIT";
        QTest::newRow("silence h1 now") << "error usage: silence UNIT";
        QTest::newRow("speak h1 now") << "error usage: speak UNIT";
        QTest::newRow("restart h1") << "error usage: restart UNIT SECONDS";
        QTest::newRow("restart h1 soon") << "error \"soon\" is no time of 0 to 3600 seconds";
        QTest::newRow("restart h1 nan") << "error \"nan\" is no time of 0 to 3600 seconds";
        QTest::newRow("restart h1 -1") << "error \"-1\" is no time of 0 to 3600 seconds";
        QTest::newRow("restart h1 3601") << "error \"3601\" is no time of 0 to 3600 seconds";
    }

    void refusesWrongCommands()
    {
        QFETCH(const QString, answer);
        const QByteArrayList before = texts("h1");
        QCOMPARE(execute(QTest::currentDataTag()), answer);
        QCOMPARE(texts("h1"), before);
    }

    void commandsReachTheirUnitOnly()
    {
        const QByteArrayList other = texts("h2");
        QCOMPARE(execute("  warn  h1  Lüfter  3 steht "), "ok"_s);
        QVERIFY(texts("h1").last().contains("\"Lüfter  3 steht\""));
        QCOMPARE(execute("silence h1"), "ok"_s);
        QVERIFY(texts("h1").isEmpty());
        QCOMPARE(texts("h2"), other);
    }

    // What is played is what the monitor's user sees, and at once.
    void monitorFollowsEveryCommand()
    {
        const LogCapture log;
        m_simulator->start();
        DeviceList list(nullptr);
        const int port = m_simulator->unit("h1"_s).zmqPort();
        Device* device = list.addDevice("127.0.0.1"_s, port, 80, "http"_s);
        device->setMonitored(true);
        const QString connected = "confirmation Verbindung hergestellt"_s;
        QTRY_VERIFY((execute("speak h1"), device->qorName() == "Halle 1"_s));
        QTRY_COMPARE(messages(*device), QStringList { connected });

        execute("version h1 local 1.2 05. Mar 2024 remote 1.3 06. Mar 2025");
        execute("warn h1 Lüfter steht");
        QTRY_COMPARE(
            messages(*device),
            (QStringList { connected, "warning Neue SW Version verfügbar V1.3"_s, "error Lüfter steht"_s }));
        execute("version h1 local 1.3 06. Mar 2025 remote 1.3 06. Mar 2025");
        execute("clear h1 Lüfter steht");
        QTRY_COMPARE(messages(*device), QStringList { connected });

        const QStringList incompatible { connected, "error QOR Version inkompatibel"_s };
        for (const char* garbage : { "garbage h1 no-json", "garbage h1 unknown-command" }) {
            execute(garbage);
            QTRY_COMPARE(messages(*device), incompatible);
            execute("speak h1");
            QTRY_COMPARE(messages(*device), QStringList { connected });
        }
        const QSignalSpy received(device->qorInterface(), &QorInterface::receiveQorMessage);
        execute("garbage h1 too-long");
        execute("speak h1");
        execute("warn h1 danach");
        QTRY_COMPARE(messages(*device), (QStringList { connected, "error danach"_s }));
        QCOMPARE(received.size(), 4);
    }

    void demonstrationShowsMuchSoonAndLeavesNoWarning()
    {
        const Scenario scenario = Scenario::fromFile(QStringLiteral(DEMO_SCENARIO));
        QCOMPARE(scenario.units.size(), 3);
        QVERIFY(scenario.repeatMs > 0);
        Simulator simulator(scenario);
        const auto count = [&](const char* part) {
            int sum = 0;
            for (const UnitServer::Settings& unit : scenario.units)
                sum += simulator.unit(unit.key).unit().texts().join().count(part);
            return sum;
        };
        int soonWarnings = 0;
        int soonHints = 0;
        for (const Scenario::Step& step : scenario.steps) {
            QCOMPARE(simulator.execute(step.command), "ok"_s);
            // scripts/demo takes its picture then.
            if (step.atMs <= 3000) {
                soonWarnings = count("displaytext");
                soonHints = count("\"remoteQorVersionNo\":\"1.210\"");
            }
        }
        QCOMPARE(soonWarnings, 1);
        QCOMPARE(soonHints, 1);
        QCOMPARE(count("displaytext"), 0);
    }

private:
    QString execute(const char* line) { return m_simulator->execute(QString::fromUtf8(line)); }
    QByteArrayList texts(const char* key) const
    {
        return m_simulator->unit(QString::fromUtf8(key)).unit().texts();
    }

    // "class displaytext" of every monitor message.
    static QStringList messages(const Device& device)
    {
        QStringList texts;
        const QJsonArray all = device.messages();
        for (const QJsonValue& message : all)
            texts.append(message["class"_s].toString() + QLatin1Char(' ')
                         + message["displaytext"_s].toString());
        return texts;
    }

    std::unique_ptr<Simulator> m_simulator;
};

QTEST_GUILESS_MAIN(TestSimulator)
#include "tst_simulator.moc"
