// SPDX-License-Identifier: MIT
// What a unit says that cannot be read.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "support/signalrecorder.h"
#include "support/units.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"

#include <QJsonDocument>
#include <QtTest>

namespace {
const auto name = "Halle 2"_s;
constexpr int deepNesting = 2000;
constexpr int hugeSize = 4 * 1024 * 1024;

QByteArray nestedArrays(int depth)
{
    return QByteArray(depth, '[') + QByteArray(depth, ']');
}
} // namespace

class TestDeviceBadInput : public QObject {
    Q_OBJECT

private slots:
    void blankTextIsSkipped_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("null") << QByteArray();
        QTest::newRow("empty") << QByteArrayLiteral("");
        QTest::newRow("blanks and line breaks") << QByteArrayLiteral(" \r\n\t \n");
    }

    void blankTextIsSkipped()
    {
        QFETCH(QByteArray, text);
        DeviceList list(nullptr);
        Device device(&list);
        device.processQorMessage(statusReport(name, { warning("Feuer"_s) }));
        const QJsonArray messages = device.messages();
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        const LogCapture log;
        device.processQorMessage(text);
        QCOMPARE(recorder.take(), QStringList());
        QCOMPARE(device.qorName(), name);
        QCOMPARE(device.messages(), messages);
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().type, QtWarningMsg);
        QCOMPARE(log.lines().constFirst().text, "Device::processQorMessage() skip empty message"_s);
    }

    void unreadableTextIsIncompatible_data()
    {
        QTest::addColumn<QByteArray>("text");
        const auto row = [](const char* what, const QByteArray& text) { QTest::newRow(what) << text; };
        row("words", QByteArrayLiteral("Guten Tag"));
        row("cut off", statusReport(name).chopped(1));
        row("something behind the object", statusReport(name) + '}');
        row("two objects", statusReport(name) + statusReport(name));
        row("scalar", QByteArrayLiteral("7"));
        row("text", QByteArrayLiteral("\"StatusReport\""));
        row("null word", QByteArrayLiteral("null"));
        row("invalid UTF-8", QByteArrayLiteral("{\"host\":\"Br\xfc\x63ke\",\"cmd\":\"StatusReport\"}"));
        row("UTF-8 that ends in a character",
            QByteArrayLiteral("{\"host\":\"Br\xc3\",\"cmd\":\"StatusReport\"}"));
        row("UTF-16", QByteArrayLiteral("\xff\xfe{\0}\0"));
        row("zero byte", QByteArrayLiteral("\0"));
        row("zero byte behind the object", statusReport(name) + '\0');
        row("zero byte in front of the object", '\0' + statusReport(name));
        row("nested too deeply", nestedArrays(deepNesting));
        row("nested and cut off", QByteArray(deepNesting, '['));
        row("warnings nested too deeply",
            QByteArrayLiteral(R"({"host":"x","cmd":"StatusReport","value":{"warnings":)")
                + nestedArrays(deepNesting) + QByteArrayLiteral("}}"));
        row("huge", QByteArray(hugeSize, 'x'));
    }

    void unreadableTextIsIncompatible()
    {
        QFETCH(QByteArray, text);
        DeviceList list(nullptr);
        Device device(&list);
        QorInterface* link = device.qorInterface();
        const QByteArray report = statusReport(name, { warning("Feuer"_s) });
        emit link->receiveQorMessage(report);
        const LogCapture log;
        emit link->receiveQorMessage(text);
        QCOMPARE(log.count(QtWarningMsg, "Device::processQorMessage() parse error "_s), 1);
        QCOMPARE(displayTexts(device), QStringList({ connectedText, incompatibleText }));
        QVERIFY(device.alert());
        // Nothing of such a text is believed, its name neither.
        QCOMPARE(device.qorName(), name);

        emit link->receiveQorMessage(report);
        QCOMPARE(displayTexts(device), QStringList({ connectedText, "Feuer"_s }));
        QVERIFY(!device.alert());
    }

    void parseErrorIsLogged()
    {
        const QByteArray text = QByteArrayLiteral("{\"host\" 7}");
        QJsonParseError error {};
        QJsonDocument::fromJson(text, &error);
        QVERIFY(error.error != QJsonParseError::NoError && error.offset > 0);
        DeviceList list(nullptr);
        Device device(&list);
        const LogCapture log;
        device.processQorMessage(text);
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().type, QtWarningMsg);
        QCOMPARE(log.lines().constFirst().text,
                 "Device::processQorMessage() parse error %1 at offset %2 \nMessage: {\"host\" 7}"_s.arg(
                     error.errorString(), QString::number(error.offset)));
    }

    void validTextThatIsNoObjectIsIncompatible_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty array") << QByteArrayLiteral("[]");
        QTest::newRow("array of a report") << '[' + statusReport(name) + ']';
        QTest::newRow("array of scalars") << QByteArrayLiteral("[1,\"StatusReport\",null]");
        QTest::newRow("nested just deeply enough") << nestedArrays(1000);
    }

    void validTextThatIsNoObjectIsIncompatible()
    {
        QFETCH(QByteArray, text);
        DeviceList list(nullptr);
        Device device(&list);
        QorInterface* link = device.qorInterface();
        emit link->receiveQorMessage(statusReport(name));
        const LogCapture log;
        emit link->receiveQorMessage(text);
        QCOMPARE(log.count(QtCriticalMsg, "Device::onReceiveQorMessage() receive incompatible cmd  ,"_s), 1);
        QCOMPARE(device.qorName(), QString());
        QCOMPARE(displayTexts(device), QStringList({ connectedText, incompatibleText }));
        QVERIFY(device.alert());

        emit link->receiveQorMessage(statusReport(name));
        QCOMPARE(device.qorName(), name);
        QCOMPARE(displayTexts(device), QStringList { connectedText });
        QVERIFY(!device.alert());
    }

    void wrongTypesReadAsMissing_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("qorName");
        QTest::addColumn<bool>("incompatible");
        for (const char* value : { "null", "true", "7", "1e308", "[]", "{}", "[\"Halle 2\"]" }) {
            const auto row
                = [value](const char* key, const char* text, const QString& qorName, bool incompatible) {
                      QTest::addRow("%s is %s", key, value)
                          << QByteArray(text).replace('?', value) << qorName << incompatible;
                  };
            row("host", R"({"host":?,"cmd":"StatusReport"})", {}, false);
            row("cmd", R"({"host":"Halle 2","cmd":?})", name, true);
            row("value", R"({"host":"Halle 2","cmd":"StatusReport","value":?})", name, false);
            row("local number", R"({"host":"Halle 2","cmd":"VersionInfo","localQorVersionNo":?})", name,
                false);
            row("remote number", R"({"host":"Halle 2","cmd":"VersionInfo","remoteQorVersionNo":?})", name,
                false);
            row("local date",
                R"({"host":"Halle 2","cmd":"VersionInfo","localQorVersionNo":"1","localQorVersionDate":?})",
                name, false);
            row("remote date",
                R"({"host":"Halle 2","cmd":"VersionInfo","localQorVersionNo":"1","remoteQorVersionDate":?})",
                name, false);
        }
    }

    void wrongTypesReadAsMissing()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, incompatible);
        DeviceList list(nullptr);
        Device device(&list);
        emit device.qorInterface()->receiveQorMessage(text);
        QTEST(device.qorName(), "qorName");
        QCOMPARE(displayTexts(device),
                 incompatible ? QStringList({ connectedText, incompatibleText })
                              : QStringList { connectedText });
        QCOMPARE(device.alert(), incompatible);
    }

    void hugeReportIsRead()
    {
        const QString longText(hugeSize, QLatin1Char('x'));
        DeviceList list(nullptr);
        Device device(&list);
        device.processQorMessage(statusReport(longText, { warning(longText) }));
        QCOMPARE(device.qorName().size(), hugeSize);
        QCOMPARE(displayTexts(device).constLast().size(), hugeSize);
    }
};

QTEST_GUILESS_MAIN(TestDeviceBadInput)
#include "tst_devicebadinput.moc"
