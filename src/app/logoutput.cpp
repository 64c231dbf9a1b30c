// SPDX-License-Identifier: MIT
#include "app/logoutput.h"

#include <QCommandLineParser>
#include <QTime>

#include <cstdio>

namespace {

qint32 debugLevel = 0;
bool useTimestamps = false;
bool noColor = false;

const auto debugLevelOption = QStringLiteral("debuglevel");
const auto timestampsOption = QStringLiteral("timestamps");
const auto noColorOption = QStringLiteral("no-color");

enum MinimumLevel {
    FatalLevel = 0,
    CriticalLevel = 0,
    WarningLevel = 1,
    InfoLevel = 2,
    DebugLevel = 3,
};

void printFatal(const char* prefix, const char* text, const QMessageLogContext& context)
{
    const char* file = context.file ? context.file : "";
    const char* function = context.function ? context.function : "";
    const auto line = static_cast<unsigned int>(context.line);
    if (noColor)
        std::fprintf(stderr, "(F) %s%s (%s:%u, %s)\n", prefix, text, file, line, function);
    else
        std::fprintf(stderr, "\033[0;31m(F) %s%s (%s:%u, %s)\n\033[0m", prefix, text, file, line, function);
}

} // namespace

LogOutput::LogOutput()
{
    qInstallMessageHandler(&LogOutput::logMessageHandler);
}

LogOutput::LogOutput(QCommandLineParser* parser)
    : m_parser(parser)
{
    if (!m_parser)
        return;
    m_parser->addOption({ debugLevelOption, QStringLiteral("debug level (default: 0)"), debugLevelOption,
                          QStringLiteral("0") });
    m_parser->addOption({ timestampsOption, QStringLiteral("use timestamps for debug output") });
    m_parser->addOption({ noColorOption, QStringLiteral("switch off debug colored output") });
}

void LogOutput::readOptions()
{
    if (!m_parser)
        return;
    setDebugLevel(m_parser->value(debugLevelOption).toInt());
    setUseTimestamps(m_parser->isSet(timestampsOption));
    setNoColor(m_parser->isSet(noColorOption));
}

void LogOutput::setDebugLevel(int level)
{
    debugLevel = level;
}

void LogOutput::setUseTimestamps(bool on)
{
    useTimestamps = on;
}

void LogOutput::setNoColor(bool on)
{
    noColor = on;
}

// Neither flushes nor aborts: the toolkit ends the process after a fatal message. The colour is reset behind
// the line break on purpose.
void LogOutput::logMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& msg)
{
    const QByteArray text = msg.toLocal8Bit();
    QByteArray prefix;
    if (useTimestamps)
        prefix = QTime::currentTime().toString(QStringLiteral("hh:mm:ss.zzz")).toLocal8Bit() + ' ';
    switch (type) {
    case QtDebugMsg:
        // Without a colour of its own, so that debug lines keep the terminal's.
        if (debugLevel >= DebugLevel)
            std::fprintf(stdout, noColor ? "(D) %s%s\n" : "(D) %s%s\n\033[0m", prefix.constData(),
                         text.constData());
        break;
    case QtInfoMsg:
        if (debugLevel >= InfoLevel)
            std::fprintf(stdout, noColor ? "(I) %s%s\n" : "\033[0;32m(I) %s%s\n\033[0m", prefix.constData(),
                         text.constData());
        break;
    case QtWarningMsg:
        if (debugLevel >= WarningLevel)
            std::fprintf(stdout, noColor ? "(W) %s%s\n" : "\033[0;33m(W) %s%s\n\033[0m", prefix.constData(),
                         text.constData());
        break;
    case QtCriticalMsg:
        if (debugLevel >= CriticalLevel)
            std::fprintf(stderr, noColor ? "(C) %s%s\n" : "\033[0;31m(C) %s%s\n\033[0m", prefix.constData(),
                         text.constData());
        break;
    case QtFatalMsg:
        if (debugLevel >= FatalLevel)
            printFatal(prefix.constData(), text.constData(), context);
        break;
    }
}
