// SPDX-License-Identifier: MIT
#include "simulatorprocess.h"

#include <QElapsedTimer>
#include <QRegularExpression>

SimulatorProcess::SimulatorProcess(const QStringList& arguments)
{
    m_process.start(QStringLiteral(UNIT_SIMULATOR_PATH), arguments);
}

SimulatorProcess::~SimulatorProcess()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
}

QString SimulatorProcess::readLine(int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    while (!m_process.canReadLine()) {
        const int rest = timeoutMs - static_cast<int>(clock.elapsed());
        if (rest <= 0 || !m_process.waitForReadyRead(rest))
            return {};
    }
    return QString::fromUtf8(m_process.readLine()).chopped(1);
}

SimulatorProcess::Ports SimulatorProcess::readReady(const QString& key)
{
    const QRegularExpression ready(
        QStringLiteral("\\Aunit %1 ready zmq=127\\.0\\.0\\.1:(\\d+) web=127\\.0\\.0\\.1:(\\d+)\\z").arg(key));
    const QRegularExpressionMatch match = ready.match(readLine());
    return { match.captured(1).toInt(), match.captured(2).toInt() };
}

void SimulatorProcess::write(const QByteArray& bytes)
{
    m_process.write(bytes);
    m_process.waitForBytesWritten();
}

QString SimulatorProcess::command(const QString& line)
{
    write(line.toUtf8() + '\n');
    return readLine();
}

int SimulatorProcess::exitCode()
{
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(10000))
        return -1;
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

QString SimulatorProcess::errors()
{
    return QString::fromUtf8(m_process.readAllStandardError());
}
