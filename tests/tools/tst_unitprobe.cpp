// SPDX-License-Identifier: MIT
#include "support/platform.h"
#include "support/units.h"

#include <QJsonDocument>
#include <QProcess>
#include <QtTest>

namespace {
const auto hall = "Halle 1"_s;
const auto unknownCommand = R"({"host":"Halle 1","cmd":"Reboot"})"_s;
// Enough for a text that is published at once.
constexpr int shortSeconds = 1;
constexpr int processTimeoutMs = 20000;
} // namespace

// The real program: what it says of a unit, and its exit codes.
class TestUnitProbe : public QObject {
    Q_OBJECT

private slots:
    void cleanup()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    void tellsOfAGoodUnit()
    {
        probe({}, { newerVersionInfo(hall), statusReport(hall, { warning("Lüfter 3 steht"_s) }) });
        QCOMPARE(exitCode(), 0);
        const QStringList lines = output();
        QCOMPARE(lines.mid(0, 6),
                 QStringList({ "Gerät:    127.0.0.1:%1"_s.arg(m_publisher.port()), "Adresse:  127.0.0.1"_s,
                               "Horche 1 s ..."_s, "Status:   Verbunden"_s, "Name:     Halle 1"_s,
                               "Software: V2.1 (01. Jan 2025), verfügbar V2.2 (02. Mar 2025)"_s }));
        QCOMPARE(lines.at(6), "Texte:    1 StatusReport, 1 VersionInfo, 0 leer, 0 inkompatibel, 0 zu lang"_s);
        const QStringList messages = lines.mid(8, 3);
        QVERIFY(messages.at(0).startsWith("  confirmation "_s) && messages.at(0).endsWith(connectedText));
        QVERIFY(messages.at(1).startsWith("  warning      "_s));
        QVERIFY(messages.at(1).endsWith("Neue SW Version verfügbar V2.2"_s));
        QCOMPARE(messages.at(2), "  error        2025-03-02 08:15:00  Lüfter 3 steht"_s);
        QCOMPARE(lines.mid(11), QStringList("Ergebnis: Der Monitor versteht das Gerät."_s));
        // Nothing of the monitor's own log.
        QCOMPARE(errors(), QString());
    }

    void tellsItInJson()
    {
        probe({ "--json"_s },
              { newerVersionInfo(hall), statusReport(hall, { warning("Lüfter 3 steht"_s) }) });
        QCOMPARE(exitCode(), 0);
        const QJsonObject json = outputObject();
        QCOMPARE(json.value("verdict"_s), "fine"_s);
        QCOMPARE(json.value("host"_s), loopback);
        QCOMPARE(json.value("port"_s), m_publisher.port());
        QCOMPARE(json.value("address"_s), loopback);
        QCOMPARE(json.value("addresses"_s), QJsonArray { loopback });
        QCOMPARE(json.value("seconds"_s), shortSeconds);
        QCOMPARE(json.value("state"_s), "Verbunden"_s);
        QCOMPARE(json.value("name"_s), hall);
        QCOMPARE(json.value("localQorVersionNo"_s), "2.1"_s);
        QCOMPARE(json.value("localQorVersionDate"_s), "01. Jan 2025"_s);
        QCOMPARE(json.value("remoteQorVersionNo"_s), "2.2"_s);
        QCOMPARE(json.value("remoteQorVersionDate"_s), "02. Mar 2025"_s);
        const QJsonArray messages = json.value("messages"_s).toArray();
        QCOMPARE(messages.size(), 3);
        QCOMPARE(messages.last().toObject().value("class"_s), "error"_s);
        QCOMPARE(messages.last().toObject().value("displaytext"_s), "Lüfter 3 steht"_s);
        QCOMPARE(json.value("statusReports"_s), 1);
        QCOMPARE(json.value("versionInfos"_s), 1);
        QCOMPARE(json.value("refusals"_s), QJsonArray());
        QCOMPARE(json.value("tooLong"_s), QJsonArray());
    }

    void tellsOfASilentUnit()
    {
        probe({}, {});
        QCOMPARE(exitCode(), 1);
        const QStringList lines = output();
        QVERIFY(lines.contains("Status:   "_s + pendingText));
        QVERIFY(lines.contains("Name:     (keiner)"_s));
        QVERIFY2(lines.last().startsWith("Ergebnis: Es kam kein Text. Der Port nimmt Verbindungen an"_s),
                 qPrintable(lines.last()));
    }

    void tellsOfAPortOfNobody()
    {
        const int port = Publisher().port();
        start({ "--json"_s, "--seconds"_s, "1"_s, loopback, QString::number(port) });
        QCOMPARE(exitCode(), 1);
        const QJsonObject json = outputObject();
        QCOMPARE(json.value("verdict"_s), "nothingHeard"_s);
        QVERIFY(!json.value("portError"_s).toString().isEmpty());
    }

    void tellsThatTheMonitorNeedsIpv4()
    {
        start({ "--seconds"_s, "1"_s, "::1"_s });
        QCOMPARE(exitCode(), 1);
        QCOMPARE(output().last(),
                 "Ergebnis: Es kam kein Text. Der Monitor erreicht ein Gerät nur über IPv4."_s);
    }

    void tellsOfAnUnknownHost()
    {
        start({ "no..host"_s });
        QCOMPARE(exitCode(), 3);
        QCOMPARE(output(),
                 QStringList(
                     { "Gerät:    no..host:5566"_s, "Ergebnis: Zu diesem Namen gibt es keine Adresse."_s }));
        start({ "--json"_s, "no..host"_s, "7000"_s });
        QCOMPARE(exitCode(), 3);
        const QJsonObject json = outputObject();
        QCOMPARE(json.value("verdict"_s), "noAddress"_s);
        QCOMPARE(json.value("port"_s), 7000);
        QCOMPARE(json.value("addresses"_s), QJsonArray());
    }

    void tellsOfTextsThatAreTooLong()
    {
        const QByteArray report = statusReport(hall);
        const QByteArrayList texts { report.leftJustified(4999), report.leftJustified(5000),
                                     report.leftJustified(6000), report.leftJustified(5000) };
        probe({}, texts);
        QCOMPARE(exitCode(), 4);
        const QStringList lines = output();
        QVERIFY(
            lines.contains("Texte:    1 StatusReport, 0 VersionInfo, 0 leer, 0 inkompatibel, 3 zu lang"_s));
        const int at = lines.indexOf("Zu lang, der Monitor verwirft mehr als 4999 Bytes:"_s);
        QCOMPARE(lines.mid(at + 1, 2), QStringList({ "  2 mal 5000 Bytes"_s, "  1 mal 6000 Bytes"_s }));
        probe({ "--json"_s }, { texts.at(1) });
        QCOMPARE(exitCode(), 4);
        const QJsonObject json = outputObject();
        // The monitor itself hears nothing of such a unit.
        QCOMPARE(json.value("state"_s), pendingText);
        QCOMPARE(json.value("tooLong"_s),
                 (QJsonArray { QJsonObject { { "size"_s, 5000 }, { "count"_s, 1 } } }));
        QCOMPARE(json.value("dropped"_s), 1);
    }

    void whatAUnitSaysSteersNoTerminal()
    {
        const auto steering = QStringLiteral("a\u009b2J\u202eb\u2028c");
        const QByteArray report = statusReport(steering);
        probe({}, { report });
        QCOMPARE(exitCode(), 0);
        const QStringList lines = output();
        QVERIFY2(lines.contains("Name:     a 2J b c"_s), qPrintable(lines.join(QLatin1Char('\n'))));
        probe({ "--json"_s }, { report });
        QCOMPARE(exitCode(), 0);
        const QString json = output().join(QLatin1Char('\n'));
        QVERIFY2(json.contains("\"a\\u009b2J\\u202eb\\u2028c\""_s), qPrintable(json));
    }

    void tellsWhatIsIncompatible()
    {
        probe({},
              { unknownCommand.toUtf8(), unknownCommand.toUtf8(), R"({"host":"Halle 1"})", R"({"host" 7})" });
        QCOMPARE(exitCode(), 4);
        const QStringList lines = output();
        QVERIFY(
            lines.contains("Texte:    0 StatusReport, 0 VersionInfo, 0 leer, 4 inkompatibel, 0 zu lang"_s));
        QCOMPARE(lines.filter(incompatibleText).size(), 1);
        const QStringList faults = lines.mid(lines.indexOf("Inkompatibel:"_s) + 1);
        QCOMPARE(faults.mid(0, 4),
                 QStringList({ "  2 mal unbekanntes Kommando \"Reboot\""_s, "    "_s + unknownCommand,
                               "  1 mal ohne Kommando (\"cmd\")"_s, "    {\"host\":\"Halle 1\"}"_s }));
        QVERIFY(faults.at(4).startsWith("  1 mal kein JSON, ab Byte "_s));
    }

    void remembersWhatWasIncompatible()
    {
        probe({ "--json"_s }, { unknownCommand.toUtf8(), "", statusReport(hall) });
        QCOMPARE(exitCode(), 4);
        const QJsonObject json = outputObject();
        QCOMPARE(json.value("verdict"_s), "faulty"_s);
        QCOMPARE(json.value("refusals"_s),
                 (QJsonArray { QJsonObject { { "reason"_s, "unbekanntes Kommando \"Reboot\""_s },
                                             { "text"_s, unknownCommand },
                                             { "count"_s, 1 } } }));
        QCOMPARE(json.value("blanks"_s), 1);
        // The monitor itself has forgotten it.
        QCOMPARE(json.value("messages"_s).toArray().size(), 1);
    }

    void tellsOfAUnitThatSpeaksTooRarely()
    {
        start({ "--json"_s, "--seconds"_s, "7"_s, loopback, QString::number(m_publisher.port()) });
        QVERIFY(m_publisher.waitForSubscriber(processTimeoutMs));
        m_publisher.send(statusReport(hall));
        QCOMPARE(exitCode(), 4);
        const QJsonObject json = outputObject();
        QCOMPARE(json.value("silences"_s), 1);
        QCOMPARE(json.value("verdictText"_s), "Das Gerät ist zu hören, aber es schweigt zu lange."_s);
        QCOMPARE(json.value("state"_s), "Getrennt"_s);
    }

    void unitDoesNotSteerTheTerminal()
    {
        probe({}, { statusReport("Halle\x1b[2J\n1"_s), "\x1b[2J" });
        QCOMPARE(exitCode(), 4);
        const QStringList lines = output();
        QVERIFY(lines.contains("Name:     Halle [2J 1"_s));
        QVERIFY(!lines.join(QString()).contains(QLatin1Char('\x1b')));
    }

    void refusesWrongArguments_data()
    {
        QTest::addColumn<QString>("error");
        QTest::newRow("") << "HOST fehlt"_s;
        QTest::newRow("127.0.0.1 x") << "\"x\" ist keine Zahl von 1 bis 65535"_s;
        QTest::newRow("127.0.0.1 0") << "\"0\" ist keine Zahl von 1 bis 65535"_s;
        QTest::newRow("127.0.0.1 65536") << "\"65536\" ist keine Zahl von 1 bis 65535"_s;
        QTest::newRow("127.0.0.1:5566") << "HOST und PORT stehen getrennt: 127.0.0.1 5566"_s;
        QTest::newRow("127.0.0.1 5566 5567") << "\"5567\" ist zu viel"_s;
        QTest::newRow("127.0.0.1 --seconds 0") << "\"0\" ist keine Zahl von 1 bis 3600"_s;
        QTest::newRow("127.0.0.1 --seconds 1.5") << "\"1.5\" ist keine Zahl von 1 bis 3600"_s;
        QTest::newRow("127.0.0.1 --second 1") << "Unbekannte Option"_s;
    }

    void refusesWrongArguments()
    {
        QFETCH(const QString, error);
        start(QString::fromLatin1(QTest::currentDataTag()).split(QLatin1Char(' '), Qt::SkipEmptyParts));
        QCOMPARE(exitCode(), 2);
        QCOMPARE(m_process.readAllStandardOutput(), QByteArray());
        const QString said = errors();
        QVERIFY2(said.startsWith("unit-probe: "_s + error), qPrintable(said));
    }

    void helpAndVersionEndAtOnce()
    {
        start({ "--help"_s });
        QCOMPARE(exitCode(), 0);
        const QString help = output().join(QLatin1Char('\n'));
        for (const auto& part :
             { "HOST [PORT]"_s, "--json"_s, "--seconds <N>"_s, "Exit-Codes:\n  0  "_s, "\n  5  "_s })
            QVERIFY2(help.contains(part), qPrintable(help));
        start({ "--version"_s });
        QCOMPARE(exitCode(), 0);
        QVERIFY(output().first().startsWith("unit-probe 1."_s));
    }

private:
    void start(const QStringList& arguments) { m_process.start(QStringLiteral(UNIT_PROBE), arguments); }

    // Lets it listen to a unit that publishes these texts.
    void probe(const QStringList& options, const QByteArrayList& texts)
    {
        start(options
              + QStringList { "--seconds"_s, QString::number(shortSeconds), loopback,
                              QString::number(m_publisher.port()) });
        QVERIFY(m_publisher.waitForSubscriber(processTimeoutMs));
        for (const QByteArray& text : texts)
            m_publisher.send(text);
    }

    // -1 when the process does not end, or crashes.
    int exitCode()
    {
        if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(processTimeoutMs))
            return -1;
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    QStringList output()
    {
        return QString::fromUtf8(Platform::withLineFeeds(m_process.readAllStandardOutput()))
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    QJsonObject outputObject() { return QJsonDocument::fromJson(m_process.readAllStandardOutput()).object(); }

    QString errors() { return QString::fromUtf8(m_process.readAllStandardError()); }

    Publisher m_publisher;
    QProcess m_process;
};

QTEST_GUILESS_MAIN(TestUnitProbe)
#include "tst_unitprobe.moc"
