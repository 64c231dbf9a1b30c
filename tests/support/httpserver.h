// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMetaType>
#include <QMutex>
#include <QSslConfiguration>
#include <QString>
#include <QTcpServer>
#include <QThread>
#include <QUrl>

#include <functional>

// What the server sends for one path.
struct HttpAnswer {
    QByteArray body = {};
    QByteArray status = "200 OK";
    // Further header lines, without line ends.
    QList<QByteArray> headers = {};
    // The content length that the header claims; the body's own by default, none with NoLength.
    enum { BodyLength = -1, NoLength = -2 };
    qint64 length = BodyLength;
    // From this byte on the body waits for release() or cut(); -1 sends it all.
    int holdFrom = -1;
    // Sent in pieces of this size with a short pause between them; 0 sends it at once.
    int pieceSize = 0;
};

Q_DECLARE_METATYPE(HttpAnswer)

// A real HTTP or HTTPS server on a loopback port that the system chose. It lives in a thread of its own, so
// that a message box of the program under test does not hold it up. Unknown paths get a 404 with a body.
class HttpServer {
public:
    HttpServer();
    // Speaks HTTPS with the certificate and key of the configuration.
    explicit HttpServer(const QSslConfiguration& security);
    ~HttpServer();
    Q_DISABLE_COPY_MOVE(HttpServer)

    // "http://127.0.0.1:<port>/QorMonitorUpdate/", or the same with https.
    QString baseUrl() const;
    QUrl url(const QString& name) const { return QUrl(baseUrl() + name); }
    // For the path under the base URL.
    void setAnswer(const QByteArray& name, const HttpAnswer& answer);
    // In place of the 404.
    void setAnswerForUnknownPaths(const HttpAnswer& answer);
    // The requests so far, in order: header lines as they came, the request line first.
    QList<QByteArray> requests() const;
    int requestCount(const QByteArray& name) const;
    // Sends what is held back, or only the next bytes of it.
    void release();
    void releaseSome(int bytes);
    // Drops the connections that hold something back.
    void cut();

private:
    class Listener;

    void onServerThread(const std::function<void()>& task);

    QThread m_thread;
    // Deleted on its own thread before that ends.
    Listener* m_listener;
    QString m_scheme;
    quint16 m_port = 0;
};
