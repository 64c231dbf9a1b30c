// SPDX-License-Identifier: MIT
#include "support/httpserver.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <QSet>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QTimer>

#include <utility>

namespace {
constexpr int pieceIntervalMs = 5;
const QByteArray folder = "/QorMonitorUpdate/";
} // namespace

HttpAnswer HttpAnswer::status(const QByteArray& status, const QByteArray& body)
{
    HttpAnswer answer;
    answer.m_head = "HTTP/1.1 " + status + "\r\n";
    answer.m_body = body;
    answer.m_length = body.size();
    return answer;
}

QByteArray HttpAnswer::head() const
{
    if (!m_announced)
        return m_head + "Connection: close\r\n\r\n";
    return m_head + "Connection: keep-alive\r\nContent-Length: " + QByteArray::number(m_length) + "\r\n\r\n";
}

class HttpServer::Listener : public QTcpServer {
public:
    explicit Listener(const QSslConfiguration& security)
        : m_security(security)
    {
        m_slowly.setInterval(pieceIntervalMs);
        connect(&m_slowly, &QTimer::timeout, this, &Listener::releaseByte);
    }

    QByteArray pathOf(const QByteArray& request) const { return request.split(' ').value(1); }

    void release()
    {
        const auto held = std::exchange(m_held, {});
        for (const Held& one : held) {
            if (one.socket)
                finish(one.socket, one.rest);
        }
    }

    void releaseSlowly() { m_slowly.start(); }

    void cut()
    {
        const auto held = std::exchange(m_held, {});
        for (const Held& one : held) {
            m_cutPaths.insert(one.path);
            if (one.socket)
                one.socket->abort();
        }
    }

    mutable QMutex m_mutex;
    QHash<QByteArray, HttpAnswer> m_answers;
    HttpAnswer m_answerForUnknownPaths = HttpAnswer::status("404 Not Found", "nothing here");
    QList<QByteArray> m_requests;

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new QSslSocket(this);
        socket->setSocketDescriptor(descriptor);
        connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QSslSocket::readyRead, this, [this, socket] { read(socket); });
        if (!m_security.isNull()) {
            socket->setSslConfiguration(m_security);
            socket->startServerEncryption();
        }
    }

private:
    struct Held {
        QPointer<QSslSocket> socket;
        QByteArray path;
        QByteArray rest;
    };

    void releaseByte()
    {
        for (Held& one : m_held) {
            if (one.socket)
                one.socket->write(one.rest.left(1));
            one.rest.remove(0, 1);
        }
    }

    void read(QSslSocket* socket)
    {
        QByteArray request = socket->property("request").toByteArray() + socket->readAll();
        socket->setProperty("request", request);
        if (!request.contains("\r\n\r\n"))
            return;
        socket->setProperty("request", QByteArray());
        const QByteArray path = pathOf(request);
        HttpAnswer answer;
        {
            const QMutexLocker lock(&m_mutex);
            m_requests.append(request);
            answer = m_answers.value(path, m_answerForUnknownPaths);
        }
        if (m_cutPaths.contains(path))
            socket->abort();
        else
            send(socket, path, answer);
    }

    void send(QSslSocket* socket, const QByteArray& path, const HttpAnswer& answer)
    {
        // Normally the client closes the connection. If the server closed it at once, the client might take
        // it for lost and ask again. Only a body without a length must end with the connection.
        socket->setProperty("close", !answer.m_announced);
        socket->write(answer.head());
        if (answer.m_heldFrom >= 0) {
            socket->write(answer.m_body.left(answer.m_heldFrom));
            m_held.append({ socket, path, answer.m_body.mid(answer.m_heldFrom) });
        } else if (answer.m_pieceSize > 0) {
            sendPieces(socket, answer.m_body, answer.m_pieceSize);
        } else {
            finish(socket, answer.m_body);
        }
    }

    static void sendPieces(QSslSocket* socket, const QByteArray& body, int pieceSize)
    {
        if (body.size() <= pieceSize) {
            finish(socket, body);
            return;
        }
        socket->write(body.left(pieceSize));
        QTimer::singleShot(pieceIntervalMs, socket, [socket, rest = body.mid(pieceSize), pieceSize] {
            sendPieces(socket, rest, pieceSize);
        });
    }

    static void finish(QSslSocket* socket, const QByteArray& rest)
    {
        socket->write(rest);
        if (socket->property("close").toBool())
            socket->disconnectFromHost();
    }

    QSslConfiguration m_security;
    QList<Held> m_held;
    QSet<QByteArray> m_cutPaths;
    QTimer m_slowly { this };
};

HttpServer::HttpServer()
    : HttpServer(QSslConfiguration())
{
}

HttpServer::HttpServer(const QSslConfiguration& security)
    : m_listener(new Listener(security))
    , m_scheme(security.isNull() ? QStringLiteral("http") : QStringLiteral("https"))
{
    m_listener->moveToThread(&m_thread);
    m_thread.start();
    onServerThread([this] {
        m_listener->listen(QHostAddress::LocalHost);
        m_port = m_listener->serverPort();
    });
}

HttpServer::~HttpServer()
{
    onServerThread([this] { delete m_listener; });
    m_thread.quit();
    m_thread.wait();
}

QString HttpServer::baseUrl() const
{
    return QStringLiteral("%1://127.0.0.1:%2%3").arg(m_scheme).arg(m_port).arg(QString::fromLatin1(folder));
}

void HttpServer::setAnswer(const QByteArray& name, const HttpAnswer& answer)
{
    const QMutexLocker lock(&m_listener->m_mutex);
    m_listener->m_answers.insert(folder + name, answer);
}

void HttpServer::setAnswerForUnknownPaths(const HttpAnswer& answer)
{
    const QMutexLocker lock(&m_listener->m_mutex);
    m_listener->m_answerForUnknownPaths = answer;
}

QList<QByteArray> HttpServer::requests() const
{
    const QMutexLocker lock(&m_listener->m_mutex);
    return m_listener->m_requests;
}

int HttpServer::requestCount(const QByteArray& name) const
{
    int count = 0;
    for (const QByteArray& request : requests())
        count += m_listener->pathOf(request) == folder + name ? 1 : 0;
    return count;
}

void HttpServer::release()
{
    onServerThread([this] { m_listener->release(); });
}

void HttpServer::releaseSlowly()
{
    onServerThread([this] { m_listener->releaseSlowly(); });
}

void HttpServer::cut()
{
    onServerThread([this] { m_listener->cut(); });
}

void HttpServer::onServerThread(const std::function<void()>& task)
{
    QMetaObject::invokeMethod(m_listener, task, Qt::BlockingQueuedConnection);
}
