// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

class QCommandLineParser;
class QMessageLogContext;
class QString;

// Turns the program's messages into console lines with a one-letter tag, filtered by a debug level,
// optionally time-stamped and coloured. The program does not install it and logs through Qt's own output. It
// is ready for a start-up that installs it.
//
// The settings are plain globals: set them before any other thread logs. The handler itself takes no lock
// and is called from every thread; each line is one call of fprintf.
class LogOutput {
public:
    // Installs logMessageHandler.
    LogOutput();
    // Adds the options "debuglevel", "timestamps" and "no-color" to the parser, unless it is null, and
    // installs nothing. The parser is not owned.
    explicit LogOutput(QCommandLineParser* parser);

    // Takes the settings from the parser, which must have processed the command line; nothing without one.
    void readOptions();

    // Errors at 0, warnings too at 1, information at 2, everything at 3, nothing below 0.
    static void setDebugLevel(int level);
    static void setUseTimestamps(bool on);
    static void setNoColor(bool on);

    static void logMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& msg);

private:
    QCommandLineParser* m_parser = nullptr;
};
