// SPDX-License-Identifier: MIT
#include "unitpublisher.h"

#include <QHostAddress>

UnitPublisher::UnitPublisher(zmq::context_t& context)
    : m_context(context)
{
}

void UnitPublisher::bind(const QString& address, quint16 port)
{
    const bool isIpv6 = QHostAddress(address).protocol() == QAbstractSocket::IPv6Protocol;
    const QString pattern = isIpv6 ? QStringLiteral("tcp://[%1]:%2") : QStringLiteral("tcp://%1:%2");
    const QString portText = port == 0 ? QStringLiteral("*") : QString::number(port);

    zmq::socket_t socket(m_context, zmq::socket_type::pub);
    socket.set(zmq::sockopt::linger, 0);
    socket.set(zmq::sockopt::ipv6, isIpv6);
    socket.bind(pattern.arg(address, portText).toStdString());
    const QString endpoint = QString::fromStdString(socket.get(zmq::sockopt::last_endpoint));
    m_port = endpoint.mid(endpoint.lastIndexOf(QLatin1Char(':')) + 1).toUShort();
    m_socket = std::move(socket);
}

void UnitPublisher::close()
{
    m_socket.close();
    m_port = 0;
}

void UnitPublisher::publish(const QByteArray& text)
{
    publishFrames({ text });
}

void UnitPublisher::publishFrames(const QVector<QByteArray>& frames)
{
    if (!isOpen())
        return;
    for (int i = 0; i < frames.size(); ++i) {
        const QByteArray& frame = frames.at(i);
        const bool isLast = i + 1 == frames.size();
        m_socket.send(zmq::buffer(frame.constData(), static_cast<size_t>(frame.size())),
                      isLast ? zmq::send_flags::dontwait
                             : zmq::send_flags::dontwait | zmq::send_flags::sndmore);
    }
}
