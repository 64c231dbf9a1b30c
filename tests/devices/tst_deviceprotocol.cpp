// SPDX-License-Identifier: MIT
// What a unit's messages do to it, well-formed or not.
#include "devices/device.h"

#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/signalrecorder.h"
#include "support/units.h"

#include <QJsonDocument>
#include <QtTest>

#include <memory>

namespace {

const auto name = "Halle 2"_s;
constexpr int deepNesting = 2000;
constexpr int hugeSize = 4 * 1024 * 1024;

QByteArray nestedArrays(int depth)
{
    return QByteArray(depth, '[') + QByteArray(depth, ']');
}

void addTexts(const std::vector<std::pair<const char*, QByteArray>>& texts)
{
    QTest::addColumn<QByteArray>("text");
    for (const auto& [what, text] : texts)
        QTest::newRow(what) << text;
}

} // namespace

class TestDeviceProtocol : public QObject {
    Q_OBJECT

private slots:
    void init() { m_unit = std::make_unique<RecordedUnit>(); }
    void cleanup() { m_unit.reset(); }

    void statusReportSetsTheNameAndTheWarnings()
    {
        device().processQorMessage(statusReport(name, { warning("Feuer"_s) }));
        QCOMPARE(device().qorName(), name);
        QCOMPARE(displayTexts(device()), QStringList({ disconnectedText, "Feuer"_s }));
        // The name counts first, and the alert follows the change that it is about.
        QCOMPARE(recorded(),
                 "qorNameChanged list.deviceChanged list.deviceStatesChanged deviceStateChanged "
                 "list.alertChanged"_s);
    }

    void statusReportWithoutWarningsClearsThem_data()
    {
        addTexts({
            { "empty array", statusReport(name) },
            { "no warnings", R"({"host":"Halle 2","cmd":"StatusReport","value":{"others":1}})" },
            { "no value", R"({"host":"Halle 2","cmd":"StatusReport"})" },
            { "warnings beside the value",
              R"({"host":"Halle 2","cmd":"StatusReport","warnings":[{"displaytext":"Feuer"}]})" },
            { "value is an array", R"({"host":"Halle 2","cmd":"StatusReport","value":[{"warnings":[{}]}]})" },
            { "warnings is an object",
              R"({"host":"Halle 2","cmd":"StatusReport","value":{"warnings":{"0":{}}}})" },
            { "warnings is null", R"({"host":"Halle 2","cmd":"StatusReport","value":{"warnings":null}})" },
        });
    }

    void statusReportWithoutWarningsClearsThem()
    {
        QFETCH(const QByteArray, text);
        device().processQorMessage(statusReport(name, { warning("Feuer"_s) }));
        recorded();
        device().processQorMessage(text);
        QCOMPARE(device().qorName(), name);
        QCOMPARE(displayTexts(device()), QStringList { disconnectedText });
        QCOMPARE(recorded(), "list.deviceStatesChanged deviceStateChanged"_s);
    }

    void identicalStatusReportEmitsNothing()
    {
        // A class of the unit's own, so that a change of what is stored would be seen.
        QJsonObject raised = warning("Feuer"_s);
        raised.insert("class"_s, "warning"_s);
        const QByteArray report = statusReport(name, { raised });
        device().processQorMessage(report);
        const LogCapture log;
        verifySilent({ report });
        QVERIFY(log.lines().isEmpty());
    }

    void statusReportEndsIncompatibility()
    {
        // A connected unit, so that the flag is about the incompatibility alone.
        receive(QByteArrayLiteral("{"));
        QVERIFY(device().alert());
        recorded();
        device().processQorMessage(statusReport(name));
        QVERIFY(!device().alert());
        QCOMPARE(displayTexts(device()), QStringList { connectedText });
        QCOMPARE(recorded(),
                 "qorNameChanged list.deviceChanged list.deviceStatesChanged deviceStateChanged "
                 "list.alertChanged"_s);
    }

    void incompatibilityEndsBeforeTheWarningsCome()
    {
        receive(QByteArrayLiteral("{"));
        QVector<QStringList> seen;
        const QObject here;
        connect(&device(), &Device::deviceStateChanged, &here, [&] { seen.append(displayTexts(device())); });
        device().processQorMessage(statusReport(name, { warning("Feuer"_s) }));
        QCOMPARE(seen, QVector<QStringList>({ { connectedText }, { connectedText, "Feuer"_s } }));
    }

    void unknownCommandIsIncompatible_data()
    {
        addTexts({
            { "unknown", R"({"host":"Halle 2","cmd":"Reboot"})" },
            { "lower case", R"({"host":"Halle 2","cmd":"statusreport"})" },
            { "lower case version", R"({"host":"Halle 2","cmd":"versioninfo"})" },
            { "blank behind", R"({"host":"Halle 2","cmd":"StatusReport "})" },
            { "empty", R"({"host":"Halle 2","cmd":""})" },
            { "none", R"({"host":"Halle 2"})" },
            { "not a text", R"({"host":"Halle 2","cmd":["StatusReport"]})" },
        });
    }

    void unknownCommandIsIncompatible()
    {
        QFETCH(const QByteArray, text);
        receive(statusReport(name, { warning("Feuer"_s) }));
        QVERIFY(!device().alert());
        recorded();
        device().processQorMessage(text);
        QCOMPARE(device().qorName(), name);
        QVERIFY(device().alert());
        QCOMPARE(displayTexts(device()), QStringList({ connectedText, incompatibleText }));
        // Once for the warnings that went, once for the incompatibility, and then the flag.
        QCOMPARE(recorded(),
                 "list.deviceStatesChanged deviceStateChanged list.deviceStatesChanged deviceStateChanged "
                 "list.alertChanged"_s);
    }

    void unknownCommandIsLogged()
    {
        const LogCapture log;
        device().processQorMessage(QByteArrayLiteral(R"({"cmd":"Reboot"})"));
        QCOMPARE(log.taggedLines(),
                 QStringList("C Device::onReceiveQorMessage() receive incompatible cmd Reboot , message "
                             "{\"cmd\":\"Reboot\"} , object QJsonObject({\"cmd\":\"Reboot\"})"_s));
    }

    void everyWellFormedMessageSetsTheName_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("qorName");
        const auto row = [](const char* what, const QByteArray& text, const QString& qorName) {
            QTest::newRow(what) << text << qorName;
        };
        row("status report", statusReport("Halle 3"_s), "Halle 3"_s);
        row("version info", versionInfo("Halle 3"_s, {}, {}, {}, {}), "Halle 3"_s);
        row("unknown command", R"({"host":"Halle 3","cmd":"Reboot"})", "Halle 3"_s);
        row("umlauts", statusReport("Brücke"_s), "Brücke"_s);
        row("status report without host", R"({"cmd":"StatusReport"})", {});
        row("version info without host", R"({"cmd":"VersionInfo"})", {});
        row("lower case command without host", R"({"cmd":"statusreport"})", {});
        row("host is not a text", R"({"host":7,"cmd":"StatusReport"})", {});
        row("empty object", "{}", {});
    }

    void everyWellFormedMessageSetsTheName()
    {
        QFETCH(const QByteArray, text);
        device().setQorName(name);
        recorded();
        device().processQorMessage(text);
        QTEST(device().qorName(), "qorName");
        QVERIFY(recorded().startsWith("qorNameChanged list.deviceChanged"_s));
    }

    void versionInfoLeavesIncompatibilityAndWarnings()
    {
        device().setIncompatible(true);
        device().setWarnings({ warning("Feuer"_s) });
        device().processQorMessage(newerVersionInfo(name));
        QCOMPARE(displayTexts(device()),
                 QStringList(
                     { disconnectedText, incompatibleText, "Neue SW Version verfügbar V2.2"_s, "Feuer"_s }));
    }

    void incompatibleTwiceIsSilent()
    {
        device().processQorMessage(QByteArrayLiteral("{}"));
        verifySilent({ "nonsense", "{}" });
    }

    void arrivesThroughTheLinkInOrder()
    {
        receive(statusReport(name, { warning("Feuer"_s) }));
        QCOMPARE(recorded(),
                 "list.deviceStatesChanged deviceStateChanged list.alertChanged qorNameChanged "
                 "list.deviceChanged list.deviceStatesChanged deviceStateChanged list.alertChanged"_s);
        QCOMPARE(displayTexts(device()), QStringList({ connectedText, "Feuer"_s }));
    }

    void blankTextIsSkipped_data()
    {
        addTexts({ { "null", {} }, { "empty", "" }, { "blanks and line breaks", " \r\n\t \n" } });
    }

    void blankTextIsSkipped()
    {
        QFETCH(const QByteArray, text);
        device().processQorMessage(statusReport(name, { warning("Feuer"_s) }));
        const LogCapture log;
        verifySilent({ text });
        QCOMPARE(device().qorName(), name);
        QCOMPARE(log.taggedLines(), QStringList("W Device::processQorMessage() skip empty message"_s));
    }

    void unreadableTextIsIncompatible_data()
    {
        addTexts({
            { "words", "Guten Tag" },
            { "cut off", statusReport(name).chopped(1) },
            { "something behind the object", statusReport(name) + '}' },
            { "two objects", statusReport(name) + statusReport(name) },
            { "scalar", "7" },
            { "text", "\"StatusReport\"" },
            { "null word", "null" },
            { "invalid UTF-8", "{\"host\":\"Br\xfc\x63ke\",\"cmd\":\"StatusReport\"}" },
            { "UTF-8 that ends in a character", "{\"host\":\"Br\xc3\",\"cmd\":\"StatusReport\"}" },
            { "UTF-16", QByteArrayLiteral("\xff\xfe{\0}\0") },
            { "zero byte", QByteArrayLiteral("\0") },
            { "zero byte behind the object", statusReport(name) + '\0' },
            { "zero byte in front of the object", '\0' + statusReport(name) },
            { "nested too deeply", nestedArrays(deepNesting) },
            { "nested and cut off", QByteArray(deepNesting, '[') },
            { "warnings nested too deeply",
              R"({"host":"x","cmd":"StatusReport","value":{"warnings":)" + nestedArrays(deepNesting) + "}}" },
            { "huge", QByteArray(hugeSize, 'x') },
        });
    }

    void unreadableTextIsIncompatible()
    {
        QFETCH(const QByteArray, text);
        receive(statusReport(name, { warning("Feuer"_s) }));
        const LogCapture log;
        receive(text);
        QCOMPARE(log.count(QtWarningMsg, "Device::processQorMessage() parse error "_s), 1);
        QCOMPARE(displayTexts(device()), QStringList({ connectedText, incompatibleText }));
        QVERIFY(device().alert());
        // Nothing of such a text is believed, its name neither.
        QCOMPARE(device().qorName(), name);
        verifyReadsAgain();
    }

    void parseErrorIsLogged()
    {
        const QByteArray text = QByteArrayLiteral("{\"host\" 7}");
        QJsonParseError error {};
        QJsonDocument::fromJson(text, &error);
        QVERIFY(error.error != QJsonParseError::NoError && error.offset > 0);
        const LogCapture log;
        device().processQorMessage(text);
        QCOMPARE(
            log.taggedLines(),
            QStringList(
                "W Device::processQorMessage() parse error %1 at offset %2 \nMessage: {\"host\" 7}"_s.arg(
                    error.errorString(), QString::number(error.offset))));
    }

    void validTextThatIsNoObjectIsIncompatible_data()
    {
        addTexts({
            { "empty array", "[]" },
            { "array of a report", '[' + statusReport(name) + ']' },
            { "array of scalars", "[1,\"StatusReport\",null]" },
            { "nested just deeply enough", nestedArrays(1000) },
        });
    }

    void validTextThatIsNoObjectIsIncompatible()
    {
        QFETCH(const QByteArray, text);
        receive(statusReport(name));
        const LogCapture log;
        receive(text);
        QCOMPARE(log.count(QtCriticalMsg, "Device::onReceiveQorMessage() receive incompatible cmd  ,"_s), 1);
        QCOMPARE(device().qorName(), QString());
        QCOMPARE(displayTexts(device()), QStringList({ connectedText, incompatibleText }));
        QVERIFY(device().alert());
        verifyReadsAgain();
    }

    void wrongTypesReadAsMissing_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("qorName");
        QTest::addColumn<bool>("incompatible");
        for (const char* value : { "null", "true", "7", "1e308", "[]", "{}", "[\"Halle 2\"]" }) {
            const auto row = [value](const char* key, const char* text, const QString& qorName = name,
                                     bool incompatible = false) {
                QTest::addRow("%s is %s", key, value)
                    << QByteArray(text).replace('?', value) << qorName << incompatible;
            };
            row("host", R"({"host":?,"cmd":"StatusReport"})", {});
            row("cmd", R"({"host":"Halle 2","cmd":?})", name, true);
            row("value", R"({"host":"Halle 2","cmd":"StatusReport","value":?})");
            row("local number", R"({"host":"Halle 2","cmd":"VersionInfo","localQorVersionNo":?})");
            row("remote number", R"({"host":"Halle 2","cmd":"VersionInfo","remoteQorVersionNo":?})");
            row("local date",
                R"({"host":"Halle 2","cmd":"VersionInfo","localQorVersionNo":"1","localQorVersionDate":?})");
            row("remote date",
                R"({"host":"Halle 2","cmd":"VersionInfo","localQorVersionNo":"1","remoteQorVersionDate":?})");
        }
    }

    void wrongTypesReadAsMissing()
    {
        QFETCH(const QByteArray, text);
        QFETCH(const bool, incompatible);
        receive(text);
        QTEST(device().qorName(), "qorName");
        QCOMPARE(displayTexts(device()).mid(1), incompatible ? QStringList(incompatibleText) : QStringList());
        QCOMPARE(device().alert(), incompatible);
    }

    void hugeReportIsRead()
    {
        const QString longText(hugeSize, QLatin1Char('x'));
        device().processQorMessage(statusReport(longText, { warning(longText) }));
        QCOMPARE(device().qorName().size(), hugeSize);
        QCOMPARE(displayTexts(device()).constLast().size(), hugeSize);
    }

private:
    Device& device() const { return m_unit->device; }
    // What has been signalled since the last call.
    QString recorded() const { return m_unit->recorder.take(); }
    void receive(const QByteArray& text) const { emit device().qorInterface()->receiveQorMessage(text); }

    // Texts that change nothing and are not announced.
    void verifySilent(const QByteArrayList& texts) const
    {
        const QJsonArray messages = device().messages();
        recorded();
        for (const QByteArray& text : texts)
            device().processQorMessage(text);
        QCOMPARE(recorded(), QString());
        QCOMPARE(device().messages(), messages);
    }

    void verifyReadsAgain() const
    {
        receive(statusReport(name, { warning("Feuer"_s) }));
        QCOMPARE(device().qorName(), name);
        QCOMPARE(displayTexts(device()), QStringList({ connectedText, "Feuer"_s }));
        QVERIFY(!device().alert());
    }

    std::unique_ptr<RecordedUnit> m_unit;
};

QTEST_GUILESS_MAIN(TestDeviceProtocol)
#include "tst_deviceprotocol.moc"
