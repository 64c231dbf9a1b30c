// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QVector>

#include <functional>
#include <zmq.hpp>

// A subscriber to everything that one publisher on loopback sends. Used on the test's own thread.
class Subscriber {
public:
    explicit Subscriber(int port);

    // The frames of the next message; none when there is no message within the time.
    QVector<QByteArray> receive(int timeoutMs = 5000);
    // The first message with one frame that the predicate takes; null when there is none within the time.
    QByteArray waitFor(const std::function<bool(const QByteArray&)>& wanted, int timeoutMs = 5000);
    // The first report of this command ("StatusReport", "VersionInfo") that the predicate takes.
    QJsonObject waitForReport(
        const QString& cmd,
        const std::function<bool(const QJsonObject&)>& wanted = [](const QJsonObject&) { return true; },
        int timeoutMs = 5000);

private:
    zmq::context_t m_context;
    zmq::socket_t m_socket;
};

// The "displaytext"s of a status report.
QStringList warningTexts(const QJsonObject& report);
