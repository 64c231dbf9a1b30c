// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>

#include <zmq.hpp>

// A unit's publisher on a loopback port that the system chose. It knows its subscribers, so that a test
// never publishes into the void. Used on the test's own thread.
class Publisher {
public:
    // Binds "tcp://<address>:*"; throws zmq::error_t.
    explicit Publisher(const QByteArray& address = "127.0.0.1");

    int port() const { return m_port; }
    // Waits until a subscriber has come, or gone; false when none has within the time.
    bool waitForSubscriber(int timeoutMs = 5000) { return waitForNotice('\1', timeoutMs); }
    bool waitForUnsubscriber(int timeoutMs = 5000) { return waitForNotice('\0', timeoutMs); }
    void send(const QByteArray& text);
    void sendFrames(const QList<QByteArray>& frames);

private:
    bool waitForNotice(char kind, int timeoutMs);

    zmq::context_t m_context;
    // Publishes like a unit's PUB socket, and hands out the subscriptions.
    zmq::socket_t m_socket;
    int m_port = 0;
};
