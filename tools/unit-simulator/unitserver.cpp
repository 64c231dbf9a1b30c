// SPDX-License-Identifier: MIT
#include "unitserver.h"

#include "inputerror.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>

#include <zmq.hpp>

// Each has its own ZeroMQ context. The end of the context waits until ZeroMQ has closed the port, so that the
// port can be opened again at once.
struct UnitServer::Ports {
    zmq::context_t context;
    zmq::socket_t publisher { context, zmq::socket_type::pub };
    QTcpServer web;
};

UnitServer::UnitServer(const Settings& settings)
    : m_settings(settings)
    , m_unit(settings.name)
{
    m_clock.setTimerType(Qt::PreciseTimer);
    m_clock.setInterval(settings.intervalMs);
    m_downTime.setSingleShot(true);
    connect(&m_clock, &QTimer::timeout, this, &UnitServer::report);
    connect(&m_downTime, &QTimer::timeout, this, &UnitServer::reopen);
}

UnitServer::~UnitServer() = default;

void UnitServer::open()
{
    auto ports = std::make_unique<Ports>();
    const QString zmqEndpoint = endpoint(m_settings.zmqPort);
    try {
        // Unsent reports are lost, as with a unit that loses its power.
        ports->publisher.set(zmq::sockopt::linger, 0);
        ports->publisher.set(zmq::sockopt::ipv6, zmqEndpoint.startsWith(QLatin1Char('[')));
        ports->publisher.bind("tcp://" + zmqEndpoint.toStdString());
    } catch (const zmq::error_t& error) {
        throw InputError(QStringLiteral("zmq %1: %2").arg(zmqEndpoint, QString::fromLocal8Bit(error.what())));
    }
    if (!ports->web.listen(QHostAddress(m_settings.address), m_settings.webPort))
        throw InputError(
            QStringLiteral("web %1: %2").arg(endpoint(m_settings.webPort), ports->web.errorString()));
    connect(&ports->web, &QTcpServer::newConnection, this, &UnitServer::answerBrowser);

    const QString bound = QString::fromStdString(ports->publisher.get(zmq::sockopt::last_endpoint));
    m_settings.zmqPort = bound.section(QLatin1Char(':'), -1).toUShort();
    m_settings.webPort = ports->web.serverPort();
    m_ports = std::move(ports);
    report();
}

QString UnitServer::readyLine() const
{
    return QStringLiteral("unit %1 ready zmq=%2 web=%3")
        .arg(key(), endpoint(m_settings.zmqPort), endpoint(m_settings.webPort));
}

QString UnitServer::endpoint(quint16 port) const
{
    const bool isIpv6 = m_settings.address.contains(QLatin1Char(':'));
    return (isIpv6 ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2"))
        .arg(m_settings.address, QString::number(port));
}

void UnitServer::answerBrowser()
{
    QTcpSocket* browser = m_ports->web.nextPendingConnection();
    connect(browser, &QTcpSocket::disconnected, browser, &QTcpSocket::deleteLater);
    connect(browser, &QTcpSocket::readyRead, this, [this, browser] {
        // An answer to half a request would be lost with the other half.
        if (!browser->peek(browser->bytesAvailable()).contains("\r\n\r\n"))
            return;
        browser->readAll();
        browser->write("HTTP/1.0 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n\r\n" + m_unit.page());
        browser->disconnectFromHost();
    });
}

void UnitServer::report()
{
    m_clock.start();
    if (!m_ports)
        return;
    for (const QByteArray& text : m_unit.texts())
        m_ports->publisher.send(zmq::buffer(text.constData(), static_cast<size_t>(text.size())),
                                zmq::send_flags::dontwait);
}

void UnitServer::restart(int downMs)
{
    m_ports.reset();
    m_unit.clearAllWarnings();
    m_unit.speak();
    m_downTime.start(downMs);
}

void UnitServer::reopen()
{
    try {
        open();
        emit announced(readyLine());
    } catch (const InputError& error) {
        emit announced(QStringLiteral("unit %1 failed: %2").arg(key(), error.text()));
    }
}
