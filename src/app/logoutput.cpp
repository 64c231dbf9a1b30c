// SPDX-License-Identifier: MIT
#include "app/logoutput.h"

#include <QCommandLineParser>
#include <QTime>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

qint32 debugLevel = 0;
bool useTimestamps = false;
bool noColor = false;

const auto debugLevelOption = QStringLiteral("debuglevel");
const auto timestampsOption = QStringLiteral("timestamps");
const auto noColorOption = QStringLiteral("no-color");

// How the messages of one type are printed, and from which debug level on.
struct Format {
    QtMsgType type;
    int minimumLevel;
    FILE* stream;
    char tag;
    const char* colour;
};

const std::array<Format, 5> formats { {
    // Without a colour of its own, so that debug lines keep the terminal's.
    { QtDebugMsg, 3, stdout, 'D', "" },
    { QtInfoMsg, 2, stdout, 'I', "\033[0;32m" },
    { QtWarningMsg, 1, stdout, 'W', "\033[0;33m" },
    { QtCriticalMsg, 0, stderr, 'C', "\033[0;31m" },
    { QtFatalMsg, 0, stderr, 'F', "\033[0;31m" },
} };

// Where a message comes from; Qt reads a null text as an empty one.
QByteArray origin(const QMessageLogContext& context)
{
    return QByteArray(" (") + context.file + ':' + QByteArray::number(static_cast<uint>(context.line)) + ", "
        + context.function + ')';
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

// Neither flushes nor aborts: Qt ends the process after a fatal message.
void LogOutput::logMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& msg)
{
    const auto* const format = std::find_if(formats.cbegin(), formats.cend(),
                                            [type](const Format& known) { return known.type == type; });
    if (format == formats.cend() || debugLevel < format->minimumLevel)
        return;
    const QByteArray prefix = useTimestamps
        ? QTime::currentTime().toString(QStringLiteral("hh:mm:ss.zzz")).toLocal8Bit() + ' '
        : QByteArray();
    const QByteArray suffix = type == QtFatalMsg ? origin(context) : QByteArray();
    // A single call, so that the lines of several threads stay whole. The colour ends behind the line break.
    std::fprintf(format->stream, "%s(%c) %s%s%s\n%s", noColor ? "" : format->colour, format->tag,
                 prefix.constData(), msg.toLocal8Bit().constData(), suffix.constData(),
                 noColor ? "" : "\033[0m");
}
