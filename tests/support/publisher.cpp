// SPDX-License-Identifier: MIT
#include "support/publisher.h"

#include <QElapsedTimer>

Publisher::Publisher(const QByteArray& address)
    : m_socket(m_context, zmq::socket_type::xpub)
{
    m_socket.set(zmq::sockopt::linger, 0);
    // Reports every subscriber, even while an earlier one is still connected.
    m_socket.set(zmq::sockopt::xpub_verboser, 1);
    m_socket.bind("tcp://" + address.toStdString() + ":*");
    const std::string endpoint = m_socket.get(zmq::sockopt::last_endpoint);
    m_port = std::stoi(endpoint.substr(endpoint.rfind(':') + 1));
}

bool Publisher::waitForNotice(char kind, int timeoutMs)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (elapsed.elapsed() < timeoutMs) {
        m_socket.set(zmq::sockopt::rcvtimeo, static_cast<int>(timeoutMs - elapsed.elapsed()));
        zmq::message_t notice;
        if (m_socket.recv(notice) && notice.size() > 0 && *notice.data<char>() == kind)
            return true;
    }
    return false;
}

void Publisher::send(const QByteArray& text)
{
    sendFrames({ text });
}

void Publisher::sendFrames(const QList<QByteArray>& frames)
{
    for (int i = 0; i < frames.size(); ++i) {
        const QByteArray& frame = frames.at(i);
        m_socket.send(zmq::buffer(frame.constData(), static_cast<size_t>(frame.size())),
                      i + 1 < frames.size() ? zmq::send_flags::sndmore : zmq::send_flags::none);
    }
}
