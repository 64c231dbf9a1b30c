// SPDX-License-Identifier: MIT
#pragma once

#include <QProcess>
#include <QStringList>

// The simulator as a process of its own, with its standard streams in the test's hands.
class SimulatorProcess {
public:
    struct Ports {
        int zmq = 0;
        int web = 0;
    };

    // Does not wait for anything.
    explicit SimulatorProcess(const QStringList& arguments);
    ~SimulatorProcess();
    Q_DISABLE_COPY_MOVE(SimulatorProcess)

    // The next line of standard output without its line break; null when there is none within the time.
    QString readLine(int timeoutMs = 5000);
    // Takes the next line as a ready line of this unit; ports of 0 when it is none.
    Ports readReady(const QString& key);
    void write(const QByteArray& bytes);
    // The line that answers a command.
    QString command(const QString& line);
    QProcess& process() { return m_process; }
    // Waits for the end; -1 when the process does not end, or crashes.
    int exitCode();
    QString errors();

private:
    QProcess m_process;
};
