// SPDX-License-Identifier: MIT
#include "app/logoutput.h"

#include "logoutputchild.h"
#include "support/literals.h"

#include <QCommandLineParser>
#include <QTime>
#include <QtTest>

#include <cstring>

// The formatter is looked at from outside: this program starts itself, lets the copy log, and reads the
// bytes of its two streams.
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
    process.start(QCoreApplication::applicationFilePath(), QStringList { "--child"_s } + arguments);
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

class TestLogOutput : public QObject {
    Q_OBJECT

private slots:
    void levels_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<QByteArray>("err");
        const QByteArray errors = "(C) c\n(F) f (file.cpp:7, function)\n";
        QTest::newRow("default") << QString() << QByteArray() << errors;
        QTest::newRow("-1") << "-1"_s << QByteArray() << QByteArray();
        QTest::newRow("0") << "0"_s << QByteArray() << errors;
        QTest::newRow("1") << "1"_s << QByteArray("(W) w\n") << errors;
        QTest::newRow("2") << "2"_s << QByteArray("(I) i\n(W) w\n") << errors;
        QTest::newRow("3") << "3"_s << QByteArray("(D) d\n(I) i\n(W) w\n") << errors;
        QTest::newRow("99") << "99"_s << QByteArray("(D) d\n(I) i\n(W) w\n") << errors;
    }

    void levels()
    {
        QFETCH(const QString, level);
        QStringList arguments { "all"_s, "no-color"_s };
        if (!level.isNull())
            arguments.append("level="_s + level);
        const Output output = run(arguments);
        QTEST(output.out, "out");
        QTEST(output.err, "err");
        QCOMPARE(output.code, 0);
    }

    void lines_data()
    {
        QTest::addColumn<bool>("coloured");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<QByteArray>("err");
        QTest::newRow("coloured, the default")
            << true
            << QByteArray("(D) d\n\033[0m"
                          "\033[0;32m(I) i\n\033[0m"
                          "\033[0;33m(W) w\n\033[0m")
            << QByteArray("\033[0;31m(C) c\n\033[0m"
                          "\033[0;31m(F) f (file.cpp:7, function)\n\033[0m");
        QTest::newRow("plain") << false << QByteArray("(D) d\n(I) i\n(W) w\n")
                               << QByteArray("(C) c\n(F) f (file.cpp:7, function)\n");
    }

    void lines()
    {
        QFETCH(const bool, coloured);
        QStringList arguments = words("all level=3");
        if (!coloured)
            arguments.append("no-color"_s);
        const Output output = run(arguments);
        QTEST(output.out, "out");
        QTEST(output.err, "err");
    }

    void fatalContext_data()
    {
        QTest::addColumn<QString>("context");
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("no file") << "no-file"_s << QByteArray("(F) f (:7, function)\n");
        QTest::newRow("no function") << "no-function"_s << QByteArray("(F) f (file.cpp:7, )\n");
        QTest::newRow("neither") << "no-context"_s << QByteArray("(F) f (:0, )\n");
    }

    void fatalContext()
    {
        QFETCH(const QString, context);
        const Output output = run({ context, "no-color"_s });
        QTEST(output.err, "line");
        QCOMPARE(output.out, QByteArray());
    }

    void unknownTypePrintsNothing()
    {
        const Output output = run(words("unknown-type level=3"));
        QCOMPARE(output.out + output.err, QByteArray());
        QCOMPARE(output.code, 0);
    }

    void timestampPrefix()
    {
        const QTime before = QTime::currentTime();
        const Output output = run(words("all level=3 timestamps no-color"));
        const QTime after = QTime::currentTime();
        const QRegularExpression line(
            "^\\(([DIWCF])\\) (\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d) ([diwcf])( \\(.*\\))?$"_s);
        const QList<QByteArray> all = (output.out + output.err).split('\n');
        QCOMPARE(all.size(), 6);
        for (int i = 0; i < 5; ++i) {
            const auto match = line.match(QString::fromLatin1(all.at(i)));
            QVERIFY2(match.hasMatch(), all.at(i).constData());
            const QTime time = QTime::fromString(match.captured(2), "hh:mm:ss.zzz"_s);
            QVERIFY(before > after || (before <= time && time <= after));
        }
    }

    void localEncoding()
    {
        const Output output = run(words("umlauts no-color"));
        QCOMPARE(output.err, QByteArray("(C) ") + "Gerät %s %n"_s.toLocal8Bit() + '\n');
    }

    void installedByTheConstructorWithoutParser()
    {
        const Output output = run(words("installed level=3 no-color"));
        QCOMPARE(output.out, QByteArray("(D) through the macro\n"));
        QCOMPARE(output.err, QByteArray("(C) through the macro\n"));
    }

    void constructorWithParserInstallsNothing()
    {
        const Output output = run(words("with-parser level=3 no-color"));
        QCOMPARE(output.out, QByteArray());
        QCOMPARE(output.err, QByteArray("through the macro\nthrough the macro\n"));
    }

    void handlerDoesNotAbort()
    {
        const Output output = run(words("handle-fatal no-color"));
        QCOMPARE(output.status, QProcess::NormalExit);
        QCOMPARE(output.code, 0);
        QCOMPARE(output.err, QByteArray("(F) f (file.cpp:7, function)\n(C) still here\n"));
    }

    void toolkitEndsTheProgramAfterAFatalMessage()
    {
        const Output output = run(words("fatal no-color"));
        QCOMPARE(output.status, QProcess::CrashExit);
        QVERIFY2(output.err.startsWith("(F) the end ("), output.err.constData());
        QVERIFY(!output.err.contains("still here"));
    }

    void linesOfSeveralThreadsStayWhole()
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

    void optionsAndTheirTexts()
    {
        QCommandLineParser parser;
        const LogOutput log(&parser);
        QVERIFY(parser.parse(words("program")));
        QCOMPARE(parser.value("debuglevel"_s), "0"_s);
        const QString help = parser.helpText().simplified();
        QVERIFY2(help.contains("--debuglevel <debuglevel> debug level (default: 0)"_s), qPrintable(help));
        QVERIFY2(help.contains("--timestamps use timestamps for debug output"_s), qPrintable(help));
        QVERIFY2(help.contains("--no-color switch off debug colored output"_s), qPrintable(help));
        // A flag takes no value.
        QVERIFY(!parser.parse(words("program --timestamps=1")));
        QVERIFY(!parser.parse(words("program --no-color=1")));
    }

    void readsOptions_data()
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
        QTest::newRow("no number") << words("--no-color --debuglevel abc") << QByteArray()
                                   << "(C) c\n" + fatal;
        QTest::newRow("not decimal") << words("--no-color --debuglevel 0x3") << QByteArray()
                                     << "(C) c\n" + fatal;
        QTest::newRow("none: what was set before is reset")
            << words("nothing-else") << QByteArray()
            << QByteArray("\033[0;31m(C) c\n\033[0m\033[0;31m(F) f (file.cpp:7, function)\n\033[0m");
    }

    void readsOptions()
    {
        QFETCH(const QStringList, options);
        const Output output = run(QStringList { "read-options"_s } + options);
        QTEST(output.out, "out");
        QTEST(output.err, "err");
        const Output stamped = run(words("read-options --no-color --debuglevel 3 --timestamps"));
        QVERIFY(stamped.out.indexOf(':') > 0);
    }

    void withoutParserNothingIsReadOrAdded()
    {
        const Output output = run(words("null-parser level=1 no-color"));
        QCOMPARE(output.out, QByteArray("(W) w\n"));
    }
};

int main(int argc, char* argv[])
{
    if (argc > 2 && std::strcmp(argv[1], "--child") == 0)
        return runAsLogChild(argc, argv);
    const QCoreApplication application(argc, argv);
    TestLogOutput test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_logoutput.moc"
