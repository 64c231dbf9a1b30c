// SPDX-License-Identifier: MIT
#include "unitwebconnection.h"

#include <QRegularExpression>
#include <QTcpSocket>

namespace {
// How long the other side may go on talking after an early answer: a close while it still sends would reset
// the connection and take the answer with it.
constexpr int lingerMs = 500;

// Where the header ends, its blank line included; -1 when it has not ended yet.
int headerEnd(const QByteArray& request)
{
    const int crlf = request.indexOf("\r\n\r\n");
    const int lf = request.indexOf("\n\n");
    if (crlf < 0)
        return lf < 0 ? -1 : lf + 2;
    return lf < 0 || crlf < lf ? crlf + 4 : lf + 2;
}
} // namespace

UnitWebConnection::UnitWebConnection(QTcpSocket* socket, PageSource page, int timeoutMs, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_page(std::move(page))
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(2 * qint64 { requestLimit });
    connect(m_socket, &QTcpSocket::readyRead, this, &UnitWebConnection::readRequest);
    connect(m_socket, &QTcpSocket::disconnected, this, &UnitWebConnection::deleteLater);
    connect(&m_deadline, &QTimer::timeout, this, &UnitWebConnection::processTimeout);
    m_deadline.setSingleShot(true);
    m_deadline.start(timeoutMs);
}

void UnitWebConnection::readRequest()
{
    if (m_answered) {
        m_socket->skip(m_socket->bytesAvailable());
        return;
    }
    m_request += m_socket->readAll();
    const int end = headerEnd(m_request);
    if ((end < 0 && m_request.size() > requestLimit) || end > requestLimit)
        answerError("431 Request Header Fields Too Large");
    else if (end >= 0)
        answerRequest(m_request.left(end));
}

void UnitWebConnection::answerRequest(const QByteArray& header)
{
    static const QRegularExpression requestLine(QStringLiteral("\\A([A-Z]+) (/[!-~]*) HTTP/1\\.[01]\\r?\\n"));
    const QRegularExpressionMatch match = requestLine.match(QString::fromLatin1(header));
    if (!match.hasMatch()) {
        answerError("400 Bad Request");
        return;
    }
    const QString method = match.captured(1);
    m_isHead = method == QLatin1String("HEAD");
    if (!m_isHead && method != QLatin1String("GET"))
        answerError("405 Method Not Allowed", "Allow: GET, HEAD\r\n");
    else if (match.captured(2).section(QLatin1Char('?'), 0, 0) != QLatin1String("/"))
        answerError("404 Not Found");
    else
        answer("200 OK", m_page());
    // A browser that has asked properly has nothing more to say.
    if (m_isHead || method == QLatin1String("GET"))
        m_socket->disconnectFromHost();
}

void UnitWebConnection::answer(const QByteArray& status, const QByteArray& body,
                               const QByteArray& extraHeader)
{
    m_answered = true;
    m_request.clear();
    m_socket->write("HTTP/1.1 " + status + "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: "
                    + QByteArray::number(body.size()) + "\r\nCache-Control: no-store\r\n"
                    + "X-Content-Type-Options: nosniff\r\n" + extraHeader + "Connection: close\r\n\r\n");
    if (!m_isHead)
        m_socket->write(body);
    m_deadline.start(lingerMs);
}

void UnitWebConnection::answerError(const QByteArray& status, const QByteArray& extraHeader)
{
    answer(status, "<!DOCTYPE html>\n<title>" + status + "</title>\n<p>" + status + "</p>\n", extraHeader);
}

void UnitWebConnection::processTimeout()
{
    if (!m_answered)
        answerError("408 Request Timeout");
    else
        deleteLater();
}
