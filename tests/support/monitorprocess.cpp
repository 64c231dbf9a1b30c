// SPDX-License-Identifier: MIT
#include "support/monitorprocess.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QTest>

QVariant MonitorHome::setting(const QString& key) const
{
    return QSettings(Platform::programStore(path()), Platform::programStoreFormat()).value(key);
}

void MonitorHome::writeSetting(const QString& key, const QVariant& value) const
{
    QSettings(Platform::programStore(path()), Platform::programStoreFormat()).setValue(key, value);
}

bool MonitorHome::hasInstanceName() const
{
    return Platform::isServerName(path(), QStringLiteral("qor-monitor"));
}

void MonitorHome::writeUnit(int index, int zmqPort, bool monitored) const
{
    const QString group = QStringLiteral("Device%1/").arg(index);
    writeSetting(group + QStringLiteral("Host"), QStringLiteral("127.0.0.1"));
    writeSetting(group + QStringLiteral("ZmqPort"), zmqPort);
    writeSetting(group + QStringLiteral("WebPort"), 80);
    writeSetting(group + QStringLiteral("WebScheme"), QStringLiteral("http"));
    writeSetting(group + QStringLiteral("Monitored"), monitored);
}

MonitorProcess::MonitorProcess(const MonitorHome& home, const QStringList& arguments,
                               const QString& messagePattern)
{
    // No test asks the update server. Written once: a store that a test has spoilt or locked is to stay so.
    const auto autoCheck = QStringLiteral("AutoCheckUpdates");
    if (!home.setting(autoCheck).isValid())
        home.writeSetting(autoCheck, false);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("QT_PLUGIN_PATH"), QStringLiteral(MONITOR_DRIVER_PATH));
    environment.insert(QStringLiteral("QT_FORCE_STDERR_LOGGING"), QStringLiteral("1"));
    environment.remove(QStringLiteral("QT_LOGGING_RULES"));
    const auto patternVariable = QStringLiteral("QT_MESSAGE_PATTERN");
    environment.remove(patternVariable);
    if (!messagePattern.isEmpty())
        environment.insert(patternVariable, messagePattern);
    for (const auto& variable : { "HOME", "TMPDIR", "XDG_RUNTIME_DIR", "TMP", "TEMP" })
        environment.insert(QLatin1String(variable), home.path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path(QStringLiteral("config")));
    m_process.setProcessEnvironment(environment);
    // A file and no pipe: what a program that has ended wrote last is there for sure.
    m_logFile.open();
    m_process.setStandardErrorFile(m_logFile.fileName());
    m_process.start(QStringLiteral(MONITOR_PROGRAM),
                    QStringList { QStringLiteral("-plugin"), QStringLiteral("monitordriver") } + arguments);
}

MonitorProcess::~MonitorProcess()
{
    if (isRunning())
        kill();
}

int MonitorProcess::waitForExitCode()
{
    constexpr int noExitCode = -1000;
    if (isRunning() && !m_process.waitForFinished(timeoutMs))
        return noExitCode;
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : noExitCode;
}

QString MonitorProcess::log()
{
    QFile file(m_logFile.fileName());
    file.open(QIODevice::ReadOnly);
    return QString::fromUtf8(Platform::withLineFeeds(file.readAll()));
}

bool MonitorProcess::logs(const QString& line)
{
    const auto isLogged = [&] { return log().split(QLatin1Char('\n')).contains(line); };
    return isRunning() ? QTest::qWaitFor(isLogged, lineTimeoutMs) : isLogged();
}

bool MonitorProcess::waitForWindow()
{
    return QTest::qWaitFor([this] { return order("state") == "shown"; }, timeoutMs);
}

QByteArray MonitorProcess::order(const QByteArray& text)
{
    m_process.write(text + '\n');
    QElapsedTimer elapsed;
    elapsed.start();
    while (isRunning() && !m_process.canReadLine() && elapsed.elapsed() < timeoutMs)
        m_process.waitForReadyRead(100);
    return m_process.readLine().trimmed();
}

void MonitorProcess::send(const QByteArray& orders)
{
    m_process.write(orders);
    m_process.waitForBytesWritten(timeoutMs);
}

bool MonitorProcess::kill()
{
    m_process.kill();
    return m_process.waitForFinished(timeoutMs);
}
