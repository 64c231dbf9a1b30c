// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <zmq.hpp>

// A unit's ZeroMQ publisher socket, which can be closed and bound again. The context must outlive it.
class UnitPublisher {
public:
    explicit UnitPublisher(zmq::context_t& context);

    // Port 0 lets the system choose. Throws zmq::error_t, and then the socket stays closed.
    void bind(const QString& address, quint16 port);
    // Drops what is still to be sent, as a unit does that loses its power.
    void close();
    bool isOpen() const { return static_cast<bool>(m_socket); }
    // The bound port; 0 while closed.
    quint16 port() const { return m_port; }

    // Never blocks; nobody hears it while the socket is closed.
    void publish(const QByteArray& text);
    void publishFrames(const QVector<QByteArray>& frames);

private:
    zmq::context_t& m_context;
    zmq::socket_t m_socket;
    quint16 m_port = 0;
};
