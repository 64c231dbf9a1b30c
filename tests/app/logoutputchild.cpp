// SPDX-License-Identifier: MIT
#include "logoutputchild.h"

#include "app/logoutput.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <csignal>
#include <thread>
#include <vector>

namespace {

void logAll()
{
    const QMessageLogContext context("file.cpp", 7, "function", "category");
    const auto log = [&context](QtMsgType type, const char* text) {
        LogOutput::logMessageHandler(type, context, QString::fromLatin1(text));
    };
    log(QtDebugMsg, "d");
    log(QtInfoMsg, "i");
    log(QtWarningMsg, "w");
    log(QtCriticalMsg, "c");
    log(QtFatalMsg, "f");
}

void logFrom(const QMessageLogContext& context, QtMsgType type, const QString& text)
{
    LogOutput::logMessageHandler(type, context, text);
}

void logFromThreads()
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([text = QString(200, QLatin1Char(static_cast<char>('a' + thread)))] {
            const QMessageLogContext context;
            for (int i = 0; i < 500; ++i)
                logFrom(context, QtDebugMsg, text);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

void logThroughMacros()
{
    qDebug("through the macro");
    qCritical("through the macro");
}

void readOptions(const QStringList& arguments)
{
    // Everything opposite to the defaults, to see that it is written anew.
    LogOutput::setDebugLevel(3);
    LogOutput::setUseTimestamps(true);
    LogOutput::setNoColor(true);
    QCommandLineParser parser;
    LogOutput log(&parser);
    parser.parse(arguments);
    log.readOptions();
    logAll();
}

void logInRole(const QString& role, const QStringList& arguments)
{
    const QMessageLogContext context("file.cpp", 7, "function", "category");
    if (role == QLatin1String("all"))
        logAll();
    else if (role == QLatin1String("no-file"))
        logFrom({ nullptr, 7, "function", "c" }, QtFatalMsg, QStringLiteral("f"));
    else if (role == QLatin1String("no-function"))
        logFrom({ "file.cpp", 7, nullptr, "c" }, QtFatalMsg, QStringLiteral("f"));
    else if (role == QLatin1String("no-context"))
        logFrom({}, QtFatalMsg, QStringLiteral("f"));
    else if (role == QLatin1String("unknown-type"))
        logFrom(context, static_cast<QtMsgType>(QtInfoMsg + 1), QStringLiteral("?"));
    else if (role == QLatin1String("umlauts"))
        logFrom(context, QtCriticalMsg, QStringLiteral("Gerät %s %n"));
    else if (role == QLatin1String("handle-fatal")) {
        logFrom(context, QtFatalMsg, QStringLiteral("f"));
        logFrom(context, QtCriticalMsg, QStringLiteral("still here"));
    } else if (role == QLatin1String("threads"))
        logFromThreads();
    else if (role == QLatin1String("read-options"))
        readOptions(arguments);
}

void constructInRole(const QString& role)
{
    if (role == QLatin1String("installed")) {
        const LogOutput log;
        logThroughMacros();
    } else if (role == QLatin1String("with-parser")) {
        QCommandLineParser parser;
        const LogOutput log(&parser);
        logThroughMacros();
    } else if (role == QLatin1String("null-parser")) {
        LogOutput log(nullptr);
        log.readOptions();
        logAll();
    } else if (role == QLatin1String("fatal")) {
        std::signal(SIGABRT, SIG_DFL);
        const LogOutput log;
        qFatal("the end");
    }
}

} // namespace

int runAsLogChild(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(2);
    for (const QString& argument : arguments) {
        if (argument.startsWith(QLatin1String("level=")))
            LogOutput::setDebugLevel(argument.midRef(6).toInt());
        if (argument == QLatin1String("timestamps"))
            LogOutput::setUseTimestamps(true);
        if (argument == QLatin1String("no-color"))
            LogOutput::setNoColor(true);
    }
    logInRole(arguments.constFirst(), arguments);
    constructInRole(arguments.constFirst());
    return 0;
}
