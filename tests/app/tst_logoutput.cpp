// SPDX-License-Identifier: MIT
// The formatter is looked at from outside: this program starts itself, lets the copy log in some role, and
// reads the bytes of its two streams.
#include "app/logoutput.h"

#include "support/literals.h"
#include "support/platform.h"

#include <QCommandLineParser>
#include <QTextCodec>
#include <QTime>
#include <QtTest>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <thread>
#include <vector>

namespace {

constexpr int threads = 4;
constexpr int linesOfAThread = 500;

QByteArray textOfThread(int thread)
{
    return QByteArray(200, static_cast<char>('a' + thread));
}

void log(QtMsgType type, const QString& text, const QMessageLogContext& context)
{
    LogOutput::logMessageHandler(type, context, text);
}

void log(QtMsgType type, const QString& text)
{
    log(type, text, { "file.cpp", 7, "function", "category" });
}

void logAll()
{
    log(QtDebugMsg, "d"_s);
    log(QtInfoMsg, "i"_s);
    log(QtWarningMsg, "w"_s);
    log(QtCriticalMsg, "c"_s);
    log(QtFatalMsg, "f"_s);
}

void logThroughMacros()
{
    qDebug("through the macro");
    qCritical("through the macro");
}

void logFromThreads()
{
    std::vector<std::thread> running;
    for (int i = 0; i < threads; ++i) {
        running.emplace_back([text = QString::fromLatin1(textOfThread(i))] {
            for (int line = 0; line < linesOfAThread; ++line)
                log(QtDebugMsg, text);
        });
    }
    for (std::thread& thread : running)
        thread.join();
}

void readOptions()
{
    // Everything opposite to the defaults, to see that it is written anew.
    LogOutput::setDebugLevel(3);
    LogOutput::setUseTimestamps(true);
    LogOutput::setNoColor(true);
    QCommandLineParser parser;
    LogOutput output(&parser);
    parser.parse(QCoreApplication::arguments().mid(2));
    output.readOptions();
    logAll();
}

const std::map<QString, std::function<void()>> roles {
    { "all"_s, logAll },
    { "no-file"_s,
      [] {
          log(QtFatalMsg, "f"_s, { nullptr, 7, "function", "c" });
      } },
    { "no-function"_s,
      [] {
          log(QtFatalMsg, "f"_s, { "file.cpp", 7, nullptr, "c" });
      } },
    { "no-context"_s, [] { log(QtFatalMsg, "f"_s, {}); } },
    { "unknown-type"_s, [] { log(static_cast<QtMsgType>(QtInfoMsg + 1), "?"_s); } },
    { "umlauts"_s, [] { log(QtCriticalMsg, "Gerät %s %n"_s); } },
    { "other-encoding"_s,
      [] {
          QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO 8859-1"));
          log(QtCriticalMsg, "Gerät"_s);
      } },
    { "leave-without-flush"_s,
      [] {
          logAll();
          std::_Exit(0);
      } },
    { "go-on-after-fatal"_s,
      [] {
          log(QtFatalMsg, "f"_s);
          log(QtCriticalMsg, "still here"_s);
      } },
    { "threads"_s, logFromThreads },
    { "read-options"_s, readOptions },
    { "installed"_s,
      [] {
          const LogOutput output;
          logThroughMacros();
      } },
    { "with-parser"_s,
      [] {
          QCommandLineParser parser;
          const LogOutput output(&parser);
          logThroughMacros();
      } },
    { "null-parser"_s,
      [] {
          LogOutput output(nullptr);
          output.readOptions();
          logAll();
      } },
    { "fatal"_s,
      [] {
          std::signal(SIGABRT, SIG_DFL);
          const LogOutput output;
          qFatal("the end");
      } },
};

int runAsChild()
{
    const QStringList arguments = QCoreApplication::arguments().mid(2);
    for (const QString& argument : arguments) {
        if (argument.startsWith("level="_s))
            LogOutput::setDebugLevel(argument.midRef(6).toInt());
        if (argument == "timestamps"_s)
            LogOutput::setUseTimestamps(true);
        if (argument == "no-color"_s)
            LogOutput::setNoColor(true);
    }
    roles.at(arguments.constFirst())();
    return 0;
}

QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}

struct Output {
    QByteArray out;
    QByteArray err;
    QProcess::ExitStatus status = QProcess::CrashExit;
    int code = -1;
};

// Runs this program as a child, with a role and its settings.
Output run(const char* arguments)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), QStringList { "--child"_s } + words(arguments));
    if (!process.waitForFinished(20000))
        return {};
    return { Platform::withLineFeeds(process.readAllStandardOutput()),
             Platform::withLineFeeds(process.readAllStandardError()), process.exitStatus(),
             process.exitCode() };
}

} // namespace

class TestLogOutput : public QObject {
    Q_OBJECT

private slots:
    void printsTheBytes_data()
    {
        QTest::addColumn<QByteArray>("arguments");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<QByteArray>("err");
        const auto row
            = [](const char* name, const char* arguments, const QByteArray& out, const QByteArray& err) {
                  QTest::newRow(name) << QByteArray(arguments) << out << err;
              };
        const QByteArray all = "(D) d\n(I) i\n(W) w\n";
        const QByteArray errors = "(C) c\n(F) f (file.cpp:7, function)\n";
        const QByteArray colouredErrors
            = "\033[0;31m(C) c\n\033[0m\033[0;31m(F) f (file.cpp:7, function)\n\033[0m";
        row("default level", "all no-color", "", errors);
        row("level -1", "all no-color level=-1", "", "");
        row("level 0", "all no-color level=0", "", errors);
        row("level 1", "all no-color level=1", "(W) w\n", errors);
        row("level 2", "all no-color level=2", "(I) i\n(W) w\n", errors);
        row("level 3", "all no-color level=3", all, errors);
        row("level 99", "all no-color level=99", all, errors);
        row("coloured, the default", "all level=3",
            "(D) d\n\033[0m\033[0;32m(I) i\n\033[0m\033[0;33m(W) w\n\033[0m", colouredErrors);
        row("fatal without file", "no-file no-color", "", "(F) f (:7, function)\n");
        row("fatal without function", "no-function no-color", "", "(F) f (file.cpp:7, )\n");
        row("fatal without context", "no-context no-color", "", "(F) f (:0, )\n");
        row("unknown type", "unknown-type no-color level=3", "", "");
        row("local encoding", "umlauts no-color", "", "(C) " + "Gerät %s %n"_s.toLocal8Bit() + '\n');
        row("another local encoding", "other-encoding no-color", "", "(C) Ger\xe4t\n");
#ifndef Q_OS_WIN
        // There every end writes what is left.
        row("the handler does not flush", "leave-without-flush no-color level=3", "", errors);
#endif
        row("the handler does not abort", "go-on-after-fatal no-color", "",
            "(F) f (file.cpp:7, function)\n(C) still here\n");
        row("installed by the constructor without parser", "installed no-color level=3",
            "(D) through the macro\n", "(C) through the macro\n");
        row("not installed by the one with a parser", "with-parser no-color level=3", "",
            "through the macro\nthrough the macro\n");
        row("nothing is read or added without a parser", "null-parser no-color level=1", "(W) w\n", errors);
        row("option level 3", "read-options --no-color --debuglevel 3", all, errors);
        row("option level 1", "read-options --no-color --debuglevel=1", "(W) w\n", errors);
        row("option level -1", "read-options --no-color --debuglevel=-1", "", "");
        row("option level is no number", "read-options --no-color --debuglevel abc", "", errors);
        row("option level is not decimal", "read-options --no-color --debuglevel 0x3", "", errors);
        row("no options, what was set before is reset", "read-options nothing-else", "", colouredErrors);
    }

    void printsTheBytes()
    {
        QFETCH(const QByteArray, arguments);
        const Output output = run(arguments.constData());
        QTEST(output.out, "out");
        QTEST(output.err, "err");
        QCOMPARE(output.status, QProcess::NormalExit);
        QCOMPARE(output.code, 0);
    }

    void timestampPrefix_data()
    {
        QTest::addColumn<QByteArray>("arguments");
        QTest::newRow("set") << QByteArray("all level=3 timestamps no-color");
        QTest::newRow("by option") << QByteArray("read-options --no-color --debuglevel 3 --timestamps");
    }

    void timestampPrefix()
    {
        QFETCH(const QByteArray, arguments);
        const QTime before = QTime::currentTime();
        const Output output = run(arguments.constData());
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

    void qtEndsTheProgramAfterAFatalMessage()
    {
        const Output output = run("fatal no-color");
        QCOMPARE(output.status, QProcess::CrashExit);
        QVERIFY2(output.err.startsWith("(F) the end ("), output.err.constData());
    }

    void linesOfSeveralThreadsStayWhole()
    {
        QList<QByteArray> all = run("threads level=3 no-color").out.split('\n');
        QVERIFY(all.takeLast().isEmpty());
        QCOMPARE(all.size(), threads * linesOfAThread);
        for (int i = 0; i < threads; ++i)
            QCOMPARE(all.count("(D) " + textOfThread(i)), linesOfAThread);
    }

    void optionsAndTheirTexts()
    {
        QCommandLineParser parser;
        const LogOutput output(&parser);
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
};

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc > 2 && std::strcmp(argv[1], "--child") == 0)
        return runAsChild();
    TestLogOutput test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_logoutput.moc"
