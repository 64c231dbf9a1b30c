// SPDX-License-Identifier: MIT
#pragma once

#include "unitwebconnection.h"

#include <QTcpServer>

// The web interface of a unit: answers GET and HEAD of "/" with the page of the source.
class UnitWebServer : public QObject {
    Q_OBJECT

public:
    // Time for a browser to send its request.
    static constexpr int defaultTimeoutMs = 5000;
    static constexpr int maximumConnections = 64;

    explicit UnitWebServer(UnitWebConnection::PageSource page, int timeoutMs = defaultTimeoutMs,
                           QObject* parent = nullptr);

    // Port 0 lets the system choose; false with errorString() set when the port cannot be had.
    bool listen(const QString& address, quint16 port);
    // Drops the open connections, too.
    void close();
    quint16 port() const { return m_server.serverPort(); }
    QString errorString() const { return m_server.errorString(); }

private:
    void acceptConnections();

    UnitWebConnection::PageSource m_page;
    int m_timeoutMs;
    QTcpServer m_server;
};
