// SPDX-License-Identifier: MIT
#include "support/httpserver.h"

#include <QMutexLocker>
#include <QPointer>
#include <QSslKey>
#include <QSslSocket>
#include <QTimer>

namespace {
constexpr int pieceIntervalMs = 5;
const QByteArray folder = "/QorMonitorUpdate/";
} // namespace

class HttpServer::Listener : public QTcpServer {
public:
    explicit Listener(const QSslConfiguration& security)
        : m_security(security)
    {
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

    void releaseSome(int bytes)
    {
        for (Held& one : m_held) {
            if (one.socket)
                one.socket->write(one.rest.left(bytes));
            one.rest.remove(0, bytes);
        }
    }

    void cut()
    {
        const auto held = std::exchange(m_held, {});
        for (const Held& one : held) {
            if (one.socket)
                one.socket->abort();
        }
    }

    mutable QMutex m_mutex;
    QHash<QByteArray, HttpAnswer> m_answers;
    HttpAnswer m_answerForUnknownPaths { "nothing here", "404 Not Found", {} };
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
        QByteArray rest;
    };

    void read(QSslSocket* socket)
    {
        QByteArray request = socket->property("request").toByteArray() + socket->readAll();
        socket->setProperty("request", request);
        if (!request.contains("\r\n\r\n"))
            return;
        socket->setProperty("request", QByteArray());
        HttpAnswer answer;
        {
            const QMutexLocker lock(&m_mutex);
            m_requests.append(request);
            answer = m_answers.value(pathOf(request), m_answerForUnknownPaths);
        }
        send(socket, answer);
    }

    void send(QSslSocket* socket, const HttpAnswer& answer)
    {
        // The client ends the connection, unless that is what ends the body: one that is closed at once may
        // look to it as lost before the answer, and then it asks again.
        const bool close = answer.length == HttpAnswer::NoLength;
        socket->setProperty("close", close);
        socket->write("HTTP/1.1 " + answer.status
                      + (close ? "\r\nConnection: close\r\n" : "\r\nConnection: keep-alive\r\n"));
        for (const QByteArray& header : answer.headers)
            socket->write(header + "\r\n");
        if (answer.length != HttpAnswer::NoLength) {
            const qint64 length
                = answer.length == HttpAnswer::BodyLength ? answer.body.size() : answer.length;
            socket->write("Content-Length: " + QByteArray::number(length) + "\r\n");
        }
        socket->write("\r\n");
        if (answer.holdFrom >= 0) {
            socket->write(answer.body.left(answer.holdFrom));
            m_held.append({ socket, answer.body.mid(answer.holdFrom) });
        } else if (answer.pieceSize > 0) {
            sendPieces(socket, answer.body, answer.pieceSize);
        } else {
            finish(socket, answer.body);
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

void HttpServer::releaseSome(int bytes)
{
    onServerThread([this, bytes] { m_listener->releaseSome(bytes); });
}

void HttpServer::cut()
{
    onServerThread([this] { m_listener->cut(); });
}

void HttpServer::onServerThread(const std::function<void()>& task)
{
    QMetaObject::invokeMethod(m_listener, task, Qt::BlockingQueuedConnection);
}
