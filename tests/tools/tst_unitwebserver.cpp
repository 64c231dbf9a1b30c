// SPDX-License-Identifier: MIT
#include "unitwebserver.h"

#include <QTcpSocket>
#include <QtTest>

namespace {
// Short where a test waits for it, long where a slow machine must not run into it.
constexpr int shortTimeoutMs = 300;
const QByteArray page = QByteArrayLiteral("<p>Gr\xC3\xBC\xC3\x9F"
                                          "e</p>");
} // namespace

class TestUnitWebServer : public QObject {
    Q_OBJECT

private slots:
    void init() { serve(UnitWebServer::defaultTimeoutMs); }
    void answersRequests_data();
    void answersRequests();
    void requestMayArriveInPieces();
    void halfRequestTimesOut();
    void endlessRequestIsRefusedEarly();
    void slowRequestIsNotWaitedForPastTheDeadline();
    void tooManyConnectionsAreDropped();
    void closeFreesThePort();

private:
    void serve(int timeoutMs);
    std::unique_ptr<QTcpSocket> connectClient();
    // Everything the server says until it closes.
    static QByteArray readToEnd(QTcpSocket& client);

    std::unique_ptr<UnitWebServer> m_server;
};

void TestUnitWebServer::serve(int timeoutMs)
{
    m_server = std::make_unique<UnitWebServer>([] { return page; }, timeoutMs);
    QVERIFY(m_server->listen(QStringLiteral("127.0.0.1"), 0));
}

std::unique_ptr<QTcpSocket> TestUnitWebServer::connectClient()
{
    auto client = std::make_unique<QTcpSocket>();
    client->connectToHost(QStringLiteral("127.0.0.1"), m_server->port());
    client->waitForConnected();
    return client;
}

QByteArray TestUnitWebServer::readToEnd(QTcpSocket& client)
{
    if (!QTest::qWaitFor([&client] { return client.state() == QAbstractSocket::UnconnectedState; }))
        return "not closed";
    return client.readAll();
}

void TestUnitWebServer::answersRequests_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("status");
    const auto row = [](const char* name, const QByteArray& request, const char* status) {
        QTest::newRow(name) << request << QByteArray(status);
    };
    row("get", "GET / HTTP/1.1\r\nHost: x\r\n\r\n", "200 OK");
    row("get 1.0 with bare line feeds", "GET / HTTP/1.0\n\n", "200 OK");
    row("query", "GET /?a=b HTTP/1.1\r\n\r\n", "200 OK");
    row("head", "HEAD / HTTP/1.1\r\n\r\n", "200 OK");
    row("other path", "GET /favicon.ico HTTP/1.1\r\n\r\n", "404 Not Found");
    row("post", "POST / HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc", "405 Method Not Allowed");
    row("garbage", QByteArray("\x16\x03\x01\0\xFF\r\n\r\n", 9), "400 Bad Request");
    row("no version", "GET /\r\n\r\n", "400 Bad Request");
    row("long header", "GET / HTTP/1.1\r\nA: " + QByteArray(9000, 'a') + "\r\n\r\n",
        "431 Request Header Fields Too Large");
}

void TestUnitWebServer::answersRequests()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, status);
    const auto client = connectClient();
    client->write(request);
    const QByteArray answer = readToEnd(*client);
    const int headerEnd = answer.indexOf("\r\n\r\n");
    const QByteArray header = answer.left(headerEnd + 2);
    const QByteArray body = answer.mid(headerEnd + 4);
    QVERIFY2(header.startsWith("HTTP/1.1 " + status + "\r\n"), answer.constData());
    QVERIFY(header.contains("\r\nConnection: close\r\n"));
    QVERIFY(header.contains("\r\nContent-Type: text/html; charset=utf-8\r\n"));
    if (request.startsWith("HEAD")) {
        QVERIFY(body.isEmpty());
        QVERIFY(header.contains("\r\nContent-Length: " + QByteArray::number(page.size()) + "\r\n"));
    } else {
        QVERIFY(header.contains("\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n"));
        QCOMPARE(body == page, status == "200 OK");
    }
}

void TestUnitWebServer::requestMayArriveInPieces()
{
    const auto client = connectClient();
    for (const char byte : QByteArray("GET / HTTP/1.1\r\n\r\n")) {
        client->putChar(byte);
        client->flush();
        QCoreApplication::processEvents();
    }
    QVERIFY(readToEnd(*client).endsWith(page));
}

void TestUnitWebServer::halfRequestTimesOut()
{
    serve(shortTimeoutMs);
    const auto client = connectClient();
    client->write("GET / HT");
    const QByteArray answer = readToEnd(*client);
    QVERIFY2(answer.startsWith("HTTP/1.1 408 "), answer.constData());
}

void TestUnitWebServer::endlessRequestIsRefusedEarly()
{
    const auto client = connectClient();
    const QByteArray block(16384, 'a');
    QByteArray answer;
    // Bounded: the server gives up on us long before.
    for (int i = 0; i < 200 && client->state() == QAbstractSocket::ConnectedState; ++i) {
        client->write(block);
        QTest::qWait(10);
        answer += client->readAll();
    }
    QCOMPARE(client->state(), QAbstractSocket::UnconnectedState);
    QVERIFY2(answer.startsWith("HTTP/1.1 431 "), answer.constData());
}

void TestUnitWebServer::slowRequestIsNotWaitedForPastTheDeadline()
{
    serve(shortTimeoutMs);
    const auto client = connectClient();
    QTimer drip;
    connect(&drip, &QTimer::timeout, client.get(), [&client] { client->write("a"); });
    drip.start(20);
    const QByteArray answer = readToEnd(*client);
    QVERIFY2(answer.startsWith("HTTP/1.1 408 "), answer.constData());
}

void TestUnitWebServer::tooManyConnectionsAreDropped()
{
    std::vector<std::unique_ptr<QTcpSocket>> clients;
    for (int i = 0; i <= UnitWebServer::maximumConnections; ++i) {
        clients.push_back(connectClient());
        QCoreApplication::processEvents();
    }
    QCOMPARE(readToEnd(*clients.back()), QByteArray());
    clients.front()->write("GET / HTTP/1.1\r\n\r\n");
    QVERIFY(readToEnd(*clients.front()).endsWith(page));
}

void TestUnitWebServer::closeFreesThePort()
{
    const quint16 port = m_server->port();
    const auto client = connectClient();
    QTRY_VERIFY(!m_server->findChildren<UnitWebConnection*>().isEmpty());
    m_server->close();
    QCOMPARE(readToEnd(*client), QByteArray());
    QVERIFY2(m_server->listen(QStringLiteral("127.0.0.1"), port), qPrintable(m_server->errorString()));
}

QTEST_GUILESS_MAIN(TestUnitWebServer)
#include "tst_unitwebserver.moc"
