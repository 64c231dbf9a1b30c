// SPDX-License-Identifier: MIT
#include "app/logoutput.h"

#include "logoutputchild.h"

#include <QCommandLineParser>
#include <QTime>
#include <QtTest>

#include <cstring>

// The formatter is looked at from outside: this program starts itself, lets the copy log, and reads the
// bytes of its two streams.
class TestLogOutput : public QObject {
    Q_OBJECT

private slots:
    void levels_data();
    void levels();
    void lines_data();
    void lines();
    void fatalContext_data();
    void fatalContext();
    void unknownTypePrintsNothing();
    void timestampPrefix();
    void localEncoding();
    void installedByTheConstructorWithoutParser();
    void constructorWithParserInstallsNothing();
    void handlerDoesNotAbort();
    void toolkitEndsTheProgramAfterAFatalMessage();
    void linesOfSeveralThreadsStayWhole();
    void optionsAndTheirTexts();
    void readsOptions_data();
    void readsOptions();
    void withoutParserNothingIsReadOrAdded();
};

namespace {

struct Output {
    QByteArray out;
    QByteArray err;
    QProcess::ExitStatus status = QProcess::CrashExit;
    int code = -1;
};

// Runs this program as a child in the given role.
Output run(const QStringList& arguments)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(),
                  QStringList { QStringLiteral("--child") } + arguments);
    if (!process.waitForFinished(20000))
        return {};
    return { process.readAllStandardOutput(), process.readAllStandardError(), process.exitStatus(),
             process.exitCode() };
}

QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}

} // namespace

void TestLogOutput::levels_data()
{
    QTest::addColumn<QString>("level");
    QTest::addColumn<QByteArray>("out");
    QTest::addColumn<QByteArray>("err");
    const QByteArray errors = "(C) c\n(F) f (file.cpp:7, function)\n";
    QTest::newRow("default") << QString() << QByteArray() << errors;
    QTest::newRow("-1") << QStringLiteral("-1") << QByteArray() << QByteArray();
    QTest::newRow("0") << QStringLiteral("0") << QByteArray() << errors;
    QTest::newRow("1") << QStringLiteral("1") << QByteArray("(W) w\n") << errors;
    QTest::newRow("2") << QStringLiteral("2") << QByteArray("(I) i\n(W) w\n") << errors;
    QTest::newRow("3") << QStringLiteral("3") << QByteArray("(D) d\n(I) i\n(W) w\n") << errors;
    QTest::newRow("99") << QStringLiteral("99") << QByteArray("(D) d\n(I) i\n(W) w\n") << errors;
}

void TestLogOutput::levels()
{
    QFETCH(const QString, level);
    QStringList arguments { QStringLiteral("all"), QStringLiteral("no-color") };
    if (!level.isNull())
        arguments.append(QStringLiteral("level=") + level);
    const Output output = run(arguments);
    QTEST(output.out, "out");
    QTEST(output.err, "err");
    QCOMPARE(output.code, 0);
}

void TestLogOutput::lines_data()
{
    QTest::addColumn<bool>("coloured");
    QTest::addColumn<QByteArray>("out");
    QTest::addColumn<QByteArray>("err");
    QTest::newRow("coloured, the default") << true
                                           << QByteArray("(D) d\n\033[0m"
                                                         "\033[0;32m(I) i\n\033[0m"
                                                         "\033[0;33m(W) w\n\033[0m")
                                           << QByteArray("\033[0;31m(C) c\n\033[0m"
                                                         "\033[0;31m(F) f (file.cpp:7, function)\n\033[0m");
    QTest::newRow("plain") << false << QByteArray("(D) d\n(I) i\n(W) w\n")
                           << QByteArray("(C) c\n(F) f (file.cpp:7, function)\n");
}

void TestLogOutput::lines()
{
    QFETCH(const bool, coloured);
    QStringList arguments = words("all level=3");
    if (!coloured)
        arguments.append(QStringLiteral("no-color"));
    const Output output = run(arguments);
    QTEST(output.out, "out");
    QTEST(output.err, "err");
}

void TestLogOutput::fatalContext_data()
{
    QTest::addColumn<QString>("context");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("no file") << QStringLiteral("no-file") << QByteArray("(F) f (:7, function)\n");
    QTest::newRow("no function") << QStringLiteral("no-function") << QByteArray("(F) f (file.cpp:7, )\n");
    QTest::newRow("neither") << QStringLiteral("no-context") << QByteArray("(F) f (:0, )\n");
}

void TestLogOutput::fatalContext()
{
    QFETCH(const QString, context);
    const Output output = run({ context, QStringLiteral("no-color") });
    QTEST(output.err, "line");
    QCOMPARE(output.out, QByteArray());
}

void TestLogOutput::unknownTypePrintsNothing()
{
    const Output output = run(words("unknown-type level=3"));
    QCOMPARE(output.out + output.err, QByteArray());
    QCOMPARE(output.code, 0);
}

void TestLogOutput::timestampPrefix()
{
    const QTime before = QTime::currentTime();
    const Output output = run(words("all level=3 timestamps no-color"));
    const QTime after = QTime::currentTime();
    const QRegularExpression line(
        QStringLiteral("^\\(([DIWCF])\\) (\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d) ([diwcf])( \\(.*\\))?$"));
    const QList<QByteArray> all = (output.out + output.err).split('\n');
    QCOMPARE(all.size(), 6);
    for (int i = 0; i < 5; ++i) {
        const auto match = line.match(QString::fromLatin1(all.at(i)));
        QVERIFY2(match.hasMatch(), all.at(i).constData());
        const QTime time = QTime::fromString(match.captured(2), QStringLiteral("hh:mm:ss.zzz"));
        QVERIFY(before > after || (before <= time && time <= after));
    }
}

void TestLogOutput::localEncoding()
{
    const Output output = run(words("umlauts no-color"));
    QCOMPARE(output.err, QByteArray("(C) ") + QStringLiteral("Gerät %s %n").toLocal8Bit() + '\n');
}

void TestLogOutput::installedByTheConstructorWithoutParser()
{
    const Output output = run(words("installed level=3 no-color"));
    QCOMPARE(output.out, QByteArray("(D) through the macro\n"));
    QCOMPARE(output.err, QByteArray("(C) through the macro\n"));
}

void TestLogOutput::constructorWithParserInstallsNothing()
{
    const Output output = run(words("with-parser level=3 no-color"));
    QCOMPARE(output.out, QByteArray());
    QCOMPARE(output.err, QByteArray("through the macro\nthrough the macro\n"));
}

void TestLogOutput::handlerDoesNotAbort()
{
    const Output output = run(words("handle-fatal no-color"));
    QCOMPARE(output.status, QProcess::NormalExit);
    QCOMPARE(output.code, 0);
    QCOMPARE(output.err, QByteArray("(F) f (file.cpp:7, function)\n(C) still here\n"));
}

void TestLogOutput::toolkitEndsTheProgramAfterAFatalMessage()
{
    const Output output = run(words("fatal no-color"));
    QCOMPARE(output.status, QProcess::CrashExit);
    QVERIFY2(output.err.startsWith("(F) the end ("), output.err.constData());
    QVERIFY(!output.err.contains("still here"));
}

void TestLogOutput::linesOfSeveralThreadsStayWhole()
{
    const Output output = run(words("threads level=3 no-color"));
    QList<QByteArray> all = output.out.split('\n');
    QVERIFY(all.takeLast().isEmpty());
    QCOMPARE(all.size(), 4 * 500);
    QMap<QByteArray, int> counts;
    for (const QByteArray& line : qAsConst(all))
        ++counts[line];
    QCOMPARE(counts.size(), 4);
    for (int thread = 0; thread < 4; ++thread)
        QCOMPARE(counts.value("(D) " + QByteArray(200, static_cast<char>('a' + thread))), 500);
}

void TestLogOutput::optionsAndTheirTexts()
{
    QCommandLineParser parser;
    const LogOutput log(&parser);
    QVERIFY(parser.parse(words("program")));
    QCOMPARE(parser.value(QStringLiteral("debuglevel")), QStringLiteral("0"));
    const QString help = parser.helpText().simplified();
    QVERIFY2(help.contains(QStringLiteral("--debuglevel <debuglevel> debug level (default: 0)")),
             qPrintable(help));
    QVERIFY2(help.contains(QStringLiteral("--timestamps use timestamps for debug output")), qPrintable(help));
    QVERIFY2(help.contains(QStringLiteral("--no-color switch off debug colored output")), qPrintable(help));
    // A flag takes no value.
    QVERIFY(!parser.parse(words("program --timestamps=1")));
    QVERIFY(!parser.parse(words("program --no-color=1")));
}

void TestLogOutput::readsOptions_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("out");
    QTest::addColumn<QByteArray>("err");
    const QByteArray all = "(D) d\n(I) i\n(W) w\n";
    const QByteArray fatal = "(F) f (file.cpp:7, function)\n";
    QTest::newRow("level 3") << words("--no-color --debuglevel 3") << all << "(C) c\n" + fatal;
    QTest::newRow("level 1") << words("--no-color --debuglevel=1") << QByteArray("(W) w\n")
                             << "(C) c\n" + fatal;
    QTest::newRow("level -1") << words("--no-color --debuglevel=-1") << QByteArray() << QByteArray();
    QTest::newRow("no number") << words("--no-color --debuglevel abc") << QByteArray() << "(C) c\n" + fatal;
    QTest::newRow("not decimal") << words("--no-color --debuglevel 0x3") << QByteArray() << "(C) c\n" + fatal;
    QTest::newRow("none: what was set before is reset")
        << words("nothing-else") << QByteArray()
        << QByteArray("\033[0;31m(C) c\n\033[0m\033[0;31m(F) f (file.cpp:7, function)\n\033[0m");
}

void TestLogOutput::readsOptions()
{
    QFETCH(const QStringList, options);
    const Output output = run(QStringList { QStringLiteral("read-options") } + options);
    QTEST(output.out, "out");
    QTEST(output.err, "err");
    const Output stamped = run(words("read-options --no-color --debuglevel 3 --timestamps"));
    QVERIFY(stamped.out.indexOf(':') > 0);
}

void TestLogOutput::withoutParserNothingIsReadOrAdded()
{
    const Output output = run(words("null-parser level=1 no-color"));
    QCOMPARE(output.out, QByteArray("(W) w\n"));
}

int main(int argc, char* argv[])
{
    if (argc > 2 && std::strcmp(argv[1], "--child") == 0)
        return runAsLogChild(argc, argv);
    const QCoreApplication application(argc, argv);
    TestLogOutput test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_logoutput.moc"
