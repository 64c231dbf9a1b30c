// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QSslConfiguration>
#include <QString>
#include <QThread>
#include <QUrl>

#include <functional>

// What the server sends for one path: made by ok() or status(), and changed by the others.
class HttpAnswer {
public:
    HttpAnswer() = default;
    static HttpAnswer ok(const QByteArray& body = {}) { return status("200 OK", body); }
    static HttpAnswer status(const QByteArray& status, const QByteArray& body = {});

    // With a further header line, given without its line end.
    HttpAnswer with(const QByteArray& line) const
    {
        return changed(&HttpAnswer::m_head, m_head + line + "\r\n");
    }
    // The header announces this many bytes instead of the body's own, or nothing: then the end of the
    // connection ends the body.
    HttpAnswer claiming(int length) const { return changed(&HttpAnswer::m_length, length); }
    HttpAnswer withoutLength() const { return changed(&HttpAnswer::m_announced, false); }
    // From this byte on the body waits for the server's release(), releaseSlowly() or cut().
    HttpAnswer held(int from) const { return changed(&HttpAnswer::m_heldFrom, from); }
    // Sent in pieces of this size with a short pause between them.
    HttpAnswer trickled(int pieceSize) const { return changed(&HttpAnswer::m_pieceSize, pieceSize); }

    QByteArray body() const { return m_body; }

private:
    friend class HttpServer;

    template <typename Value> HttpAnswer changed(Value HttpAnswer::*member, Value value) const
    {
        HttpAnswer answer = *this;
        answer.*member = value;
        return answer;
    }
    QByteArray head() const;

    QByteArray m_head;
    QByteArray m_body;
    bool m_announced = true;
    int m_length = 0;
    int m_heldFrom = -1;
    int m_pieceSize = 0;
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
    // Sends what is held back: all at once, or byte by byte.
    void release();
    void releaseSlowly();
    // Drops the connections that hold something back, and those on which their paths are asked for again.
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
