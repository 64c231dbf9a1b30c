// SPDX-License-Identifier: MIT
#include "unitrunner.h"

#include "unitpage.h"

namespace {
// ZeroMQ closes its listening port on a thread of its own, so a port that was just given up may still be
// taken for a moment.
constexpr int openRetryMs = 50;
constexpr int maximumOpenAttempts = 100;

QString endpointText(const QString& address, quint16 port)
{
    const QString host
        = address.contains(QLatin1Char(':')) ? QLatin1Char('[') + address + QLatin1Char(']') : address;
    return host + QLatin1Char(':') + QString::number(port);
}
} // namespace

UnitRunner::UnitRunner(const UnitSettings& settings, zmq::context_t& context)
    : m_settings(settings)
    , m_unit(settings)
    , m_publisher(context)
    , m_web([this] { return unitPage(m_unit); })
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(settings.intervalMs);
    m_restartTimer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &UnitRunner::publishReport);
    connect(&m_restartTimer, &QTimer::timeout, this, &UnitRunner::reopenPorts);
}

std::optional<QString> UnitRunner::start()
{
    std::optional<QString> error = openPorts();
    if (!error)
        beginReports();
    return error;
}

std::optional<QString> UnitRunner::openPorts()
{
    try {
        m_publisher.bind(m_settings.address, m_settings.zmqPort);
    } catch (const zmq::error_t& error) {
        return QStringLiteral("zmq %1: %2")
            .arg(endpointText(m_settings.address, m_settings.zmqPort), QString::fromLocal8Bit(error.what()));
    }
    if (!m_web.listen(m_settings.address, m_settings.webPort)) {
        m_publisher.close();
        return QStringLiteral("web %1: %2")
            .arg(endpointText(m_settings.address, m_settings.webPort), m_web.errorString());
    }
    m_settings.zmqPort = m_publisher.port();
    m_settings.webPort = m_web.port();
    return std::nullopt;
}

void UnitRunner::beginReports()
{
    m_reportsUntilVersionInfo = 0;
    m_timer.start();
}

QString UnitRunner::readyLine() const
{
    return QStringLiteral("unit ") + m_unit.key() + QStringLiteral(" ready ") + portsText();
}

QString UnitRunner::stateLine() const
{
    const QString state = !isOpen() ? QStringLiteral("restarting")
        : m_silent                  ? QStringLiteral("silent")
                                    : QStringLiteral("speaking");
    return QStringLiteral("unit %1 %2 %3 interval=%4 warnings=%5 name=")
               .arg(m_unit.key(), state, portsText(), QString::number(intervalMs()),
                    QString::number(m_unit.warnings().size()))
        + m_unit.name();
}

QString UnitRunner::portsText() const
{
    return QStringLiteral("zmq=") + endpointText(m_settings.address, m_settings.zmqPort)
        + QStringLiteral(" web=") + endpointText(m_settings.address, m_settings.webPort);
}

void UnitRunner::setVersion(const VersionData& version)
{
    if (m_unit.version() == version)
        return;
    m_unit.setVersion(version);
    if (m_silent)
        m_reportsUntilVersionInfo = 0;
    else
        publishVersionInfo();
}

void UnitRunner::setSilent(bool silent)
{
    m_silent = silent;
}

void UnitRunner::restart(int downMs)
{
    m_timer.stop();
    m_publisher.close();
    m_web.close();
    m_unit.clearWarnings();
    m_silent = false;
    m_openAttempts = 0;
    m_restartTimer.start(downMs);
}

void UnitRunner::reopenPorts()
{
    const std::optional<QString> error = openPorts();
    if (!error) {
        beginReports();
        emit ready();
    } else if (++m_openAttempts < maximumOpenAttempts) {
        m_restartTimer.start(openRetryMs);
    } else {
        emit failed(*error);
    }
}

void UnitRunner::publishReport()
{
    if (m_silent)
        return;
    if (m_reportsUntilVersionInfo == 0) {
        publishVersionInfo();
        m_reportsUntilVersionInfo = reportsPerVersionInfo;
    }
    --m_reportsUntilVersionInfo;
    m_publisher.publish(m_unit.statusReport());
}

void UnitRunner::publishVersionInfo()
{
    m_publisher.publish(m_unit.versionInfo());
}
