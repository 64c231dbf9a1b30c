// SPDX-License-Identifier: MIT
#pragma once

#include "support/platform.h"

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QTemporaryFile>

// The folder that monitors see as their user's: settings, temporary files and with them the instance name.
class MonitorHome {
public:
    MonitorHome() { Platform::clearProgramStore(); }

    QString path(const QString& name = {}) const { return m_directory.filePath(name); }
    QVariant setting(const QString& key) const;
    void writeSetting(const QString& key, const QVariant& value) const;
    // Whether a monitor has the instance name, or what one has left of it.
    bool hasInstanceName() const;
    // Writes the group "Device<index>" of a unit on the loopback address.
    void writeUnit(int index, int zmqPort, bool monitored = true) const;

private:
    QTemporaryDir m_directory;
};

// The real program, without a screen, in a home of the test's own. Ends with this object at the latest.
class MonitorProcess {
public:
    static constexpr int timeoutMs = 20000;
    static constexpr int lineTimeoutMs = 2000;

    // Each message is logged by the pattern, if there is one; else as Qt does by itself.
    explicit MonitorProcess(const MonitorHome& home, const QStringList& arguments = {},
                            const QString& messagePattern = {});
    ~MonitorProcess();
    Q_DISABLE_COPY_MOVE(MonitorProcess)

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    // Waits for the program's own end; -1000 when it has not come or was a crash.
    int waitForExitCode();
    // What the program has logged so far.
    QString log();
    // Whether it has logged this line; a running program is given a moment for it.
    bool logs(const QString& line);
    // True once the event loop has answered while the window was shown.
    bool waitForWindow();
    // Gives one order of the driver plugin to the running program and returns its answer.
    QByteArray order(const QByteArray& text);
    // Gives orders, one a line, and waits for no answer.
    void send(const QByteArray& orders);
    // How many answers have come that order() has not returned.
    int answersLeft() { return m_process.readAllStandardOutput().count('\n'); }
    // Ends the program as the system would: at once, with nothing tidied up.
    bool kill();

private:
    QProcess m_process;
    QTemporaryFile m_logFile;
};
