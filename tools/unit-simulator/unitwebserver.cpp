// SPDX-License-Identifier: MIT
#include "unitwebserver.h"

#include <QHostAddress>
#include <QTcpSocket>

UnitWebServer::UnitWebServer(UnitWebConnection::PageSource page, int timeoutMs, QObject* parent)
    : QObject(parent)
    , m_page(std::move(page))
    , m_timeoutMs(timeoutMs)
{
    connect(&m_server, &QTcpServer::newConnection, this, &UnitWebServer::acceptConnections);
}

bool UnitWebServer::listen(const QString& address, quint16 port)
{
    return m_server.listen(QHostAddress(address), port);
}

void UnitWebServer::close()
{
    m_server.close();
    qDeleteAll(findChildren<UnitWebConnection*>(QString(), Qt::FindDirectChildrenOnly));
}

void UnitWebServer::acceptConnections()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        const auto open = findChildren<UnitWebConnection*>(QString(), Qt::FindDirectChildrenOnly);
        if (open.size() >= maximumConnections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        // Deletes itself when its socket is closed.
        new UnitWebConnection(socket, m_page, m_timeoutMs, this);
    }
}
