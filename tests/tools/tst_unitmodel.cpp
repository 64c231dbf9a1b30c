// SPDX-License-Identifier: MIT
#include "garbage.h"
#include "linesplitter.h"
#include "tools/subscriber.h"
#include "unit.h"
#include "unitpage.h"

#include <QJsonDocument>
#include <QtTest>

Q_DECLARE_METATYPE(QJsonParseError::ParseError)

class TestUnitModel : public QObject {
    Q_OBJECT

private slots:
    void reportHoldsNameAndWarnings();
    void versionDataStandBesideTheCommand();
    void warningKeepsItsKeysAndGetsDateAndTime();
    void clearsByNumberAndByText();
    void refusesBadSettings_data();
    void refusesBadSettings();
    void garbageHasTheFaultOfItsKind_data();
    void garbageHasTheFaultOfItsKind();
    void garbageOfALimitIsAGoodReportOfThatSize_data();
    void garbageOfALimitIsAGoodReportOfThatSize();
    void framesOfGarbage();
    void splitsLinesHoweverTheyArrive();
    void marksBadLines();
    void pageShowsNameSoftwareAndWarningsEscaped();

private:
    static UnitSettings settings();
};

UnitSettings TestUnitModel::settings()
{
    UnitSettings settings;
    settings.key = QStringLiteral("h1");
    settings.name = QStringLiteral("Hälle 1");
    return settings;
}

void TestUnitModel::reportHoldsNameAndWarnings()
{
    Unit unit(settings());
    unit.raiseWarning({ { QStringLiteral("displaytext"), QStringLiteral("Lüfter") } });
    QVERIFY(unit.statusReport().contains("H\xC3\xA4lle 1"));
    const QJsonObject report = QJsonDocument::fromJson(unit.statusReport()).object();
    QCOMPARE(report.value(QLatin1String("host")).toString(), QStringLiteral("Hälle 1"));
    QCOMPARE(report.value(QLatin1String("cmd")).toString(), QStringLiteral("StatusReport"));
    QCOMPARE(warningTexts(report), QStringList { QStringLiteral("Lüfter") });
}

void TestUnitModel::versionDataStandBesideTheCommand()
{
    Unit unit(settings());
    unit.setVersion({ QStringLiteral("1"), QStringLiteral("01. Dec 2024"), QStringLiteral("2"),
                      QStringLiteral("01. Jan 2025") });
    const QJsonObject expected { { QStringLiteral("host"), QStringLiteral("Hälle 1") },
                                 { QStringLiteral("cmd"), QStringLiteral("VersionInfo") },
                                 { QStringLiteral("localQorVersionNo"), QStringLiteral("1") },
                                 { QStringLiteral("localQorVersionDate"), QStringLiteral("01. Dec 2024") },
                                 { QStringLiteral("remoteQorVersionNo"), QStringLiteral("2") },
                                 { QStringLiteral("remoteQorVersionDate"), QStringLiteral("01. Jan 2025") } };
    QCOMPARE(QJsonDocument::fromJson(unit.versionInfo()).object(), expected);
}

void TestUnitModel::warningKeepsItsKeysAndGetsDateAndTime()
{
    const QJsonObject full { { QStringLiteral("displaytext"), QStringLiteral("a") },
                             { QStringLiteral("date"), QStringLiteral("2024-01-02") },
                             { QStringLiteral("time"), QStringLiteral("03:04:05") },
                             { QStringLiteral("class"), QStringLiteral("warning") },
                             { QStringLiteral("sensor"), 7 } };
    Unit unit(settings());
    unit.raiseWarning(full);
    unit.raiseWarning({ { QStringLiteral("displaytext"), QStringLiteral("b") } });
    QCOMPARE(unit.warnings().at(0).toObject(), full);
    const QJsonObject second = unit.warnings().at(1).toObject();
    QVERIFY(QDate::fromString(second.value(QLatin1String("date")).toString(), Qt::ISODate).isValid());
    QVERIFY(QTime::fromString(second.value(QLatin1String("time")).toString(), Qt::ISODate).isValid());
}

void TestUnitModel::clearsByNumberAndByText()
{
    Unit unit(settings());
    for (const QString& text : { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") })
        unit.raiseWarning({ { QStringLiteral("displaytext"), text } });
    QVERIFY(!unit.clearWarning(0));
    QVERIFY(!unit.clearWarning(4));
    QVERIFY(!unit.clearWarning(QStringLiteral("B")));
    QCOMPARE(unit.warnings().size(), 3);
    QVERIFY(unit.clearWarning(QStringLiteral("b")));
    QVERIFY(unit.clearWarning(2));
    QCOMPARE(warningTexts(QJsonDocument::fromJson(unit.statusReport()).object()),
             QStringList { QStringLiteral("a") });
    unit.clearWarnings();
    QVERIFY(unit.warnings().isEmpty());
}

void TestUnitModel::refusesBadSettings_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("good");
    const auto row = [](const char* name, const char* field, const QString& text, bool good) {
        QTest::newRow(name) << QString::fromLatin1(field) << text << good;
    };
    row("port 0", "port", QStringLiteral("0"), true);
    row("port 65535", "port", QStringLiteral("65535"), true);
    row("port 65536", "port", QStringLiteral("65536"), false);
    row("port -1", "web", QStringLiteral("-1"), false);
    row("port empty", "web", QString(), false);
    row("interval 10", "interval", QStringLiteral("10"), true);
    row("interval 9", "interval", QStringLiteral("9"), false);
    row("interval 3600001", "interval", QStringLiteral("3600001"), false);
    row("key", "key", QStringLiteral("a-B_9"), true);
    row("key with blank", "key", QStringLiteral("a b"), false);
    row("key with line break", "key", QStringLiteral("a\n"), false);
    row("address", "address", QStringLiteral("::1"), true);
    row("address name", "address", QStringLiteral("unit.example"), false);
    row("name of 200", "name", QString(200, QLatin1Char('x')), true);
    row("name of 201", "name", QString(201, QLatin1Char('x')), false);
    row("unknown field", "ports", QStringLiteral("1"), false);
}

void TestUnitModel::refusesBadSettings()
{
    QFETCH(QString, field);
    QFETCH(QString, text);
    QFETCH(bool, good);
    UnitSettings settings;
    QCOMPARE(!settings.set(field, text).has_value(), good);
}

void TestUnitModel::garbageHasTheFaultOfItsKind_data()
{
    QTest::addColumn<QJsonParseError::ParseError>("error");
    QTest::newRow("invalid-json") << QJsonParseError::UnterminatedObject;
    QTest::newRow("empty") << QJsonParseError::IllegalValue;
    QTest::newRow("wrong-command") << QJsonParseError::NoError;
    QTest::newRow("invalid-utf8") << QJsonParseError::IllegalUTF8String;
    QTest::newRow("deep") << QJsonParseError::DeepNesting;
}

void TestUnitModel::garbageHasTheFaultOfItsKind()
{
    QFETCH(QJsonParseError::ParseError, error);
    const QVector<QByteArray> frames
        = makeGarbage(QString::fromLatin1(QTest::currentDataTag()), Unit(settings())).frames;
    QCOMPARE(frames.size(), 1);
    QJsonParseError actual;
    const QJsonObject report = QJsonDocument::fromJson(frames.first(), &actual).object();
    QCOMPARE(actual.error, error);
    QVERIFY(report.value(QLatin1String("cmd")).toString() != QLatin1String("StatusReport"));
}

void TestUnitModel::garbageOfALimitIsAGoodReportOfThatSize_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("warningLength");
    QTest::newRow("4999") << 4999 << 10;
    QTest::newRow("5000") << 5000 << 10;
    QTest::newRow("4999 with warnings that do not fit") << 4999 << 6000;
}

void TestUnitModel::garbageOfALimitIsAGoodReportOfThatSize()
{
    QFETCH(int, size);
    QFETCH(int, warningLength);
    Unit unit(settings());
    unit.raiseWarning({ { QStringLiteral("displaytext"), QString(warningLength, QLatin1Char('w')) } });
    const QVector<QByteArray> frames = makeGarbage(QString::number(size), unit).frames;
    QCOMPARE(frames.size(), 1);
    QCOMPARE(frames.first().size(), size);
    const QJsonObject report = QJsonDocument::fromJson(frames.first()).object();
    QCOMPARE(report.value(QLatin1String("cmd")).toString(), QStringLiteral("StatusReport"));
    QCOMPARE(warningTexts(report).size(), warningLength < size ? 1 : 0);
}

void TestUnitModel::framesOfGarbage()
{
    const Unit unit(settings());
    QCOMPARE(makeGarbage(QStringLiteral("frames"), unit).frames,
             (QVector<QByteArray> { "part one", unit.statusReport(), QByteArray(), unit.versionInfo() }));
    const QByteArray nul = makeGarbage(QStringLiteral("nul"), unit).frames.value(0);
    QCOMPARE(nul.count('\0'), 1);
    QCOMPARE(nul.size(), unit.statusReport().size() + 1);
    QVERIFY(makeGarbage(QStringLiteral("nothing"), unit).frames.isEmpty());
    for (const QString& kind : garbageKinds())
        QVERIFY2(!makeGarbage(kind, unit).frames.isEmpty(), qPrintable(kind));
}

void TestUnitModel::splitsLinesHoweverTheyArrive()
{
    LineSplitter splitter;
    QVERIFY(splitter.feed("na").isEmpty());
    QCOMPARE(splitter.feed("me\r\n\nsecond\nL\xC3"),
             (QVector<LineSplitter::Line> { QStringLiteral("name"), QString(QLatin1String("")),
                                            QStringLiteral("second") }));
    QVERIFY(splitter.feed("\xBC").isEmpty());
    QCOMPARE(splitter.finish(), QVector<LineSplitter::Line> { QStringLiteral("Lü") });
    QVERIFY(splitter.finish().isEmpty());
}

void TestUnitModel::marksBadLines()
{
    LineSplitter splitter;
    for (int i = 0; i < 5; ++i)
        QVERIFY(splitter.feed(QByteArray(LineSplitter::longestLine / 2, 'x')).isEmpty());
    QCOMPARE(splitter.feed("\nlist\n\xFF\n"),
             (QVector<LineSplitter::Line> { std::nullopt, QStringLiteral("list"), std::nullopt }));
    const QByteArray longest(LineSplitter::longestLine, 'x');
    QCOMPARE(splitter.feed(longest + '\n'), QVector<LineSplitter::Line> { QString::fromLatin1(longest) });
}

void TestUnitModel::pageShowsNameSoftwareAndWarningsEscaped()
{
    UnitSettings odd = settings();
    odd.name = QStringLiteral("<b>%1 & Co");
    Unit unit(odd);
    QVERIFY(unitPage(unit).contains("Keine Meldungen"));
    unit.raiseWarning({ { QStringLiteral("displaytext"), QStringLiteral("<script>ü") } });
    const QByteArray page = unitPage(unit);
    QVERIFY(page.contains("<h1>&lt;b&gt;%1 &amp; Co</h1>"));
    QVERIFY(page.contains("<td>&lt;script&gt;\xC3\xBC</td>"));
    QVERIFY(page.contains("V1.200 (05. Mar 2024)"));
    QVERIFY(!page.contains("<script>"));
}

QTEST_GUILESS_MAIN(TestUnitModel)
#include "tst_unitmodel.moc"
