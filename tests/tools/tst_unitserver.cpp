// SPDX-License-Identifier: MIT
#include "link/qorinterface.h"
#include "unitserver.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

class TestUnitServer : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<UnitServer>(m_settings);
        m_server->open();
        m_link = std::make_unique<QorInterface>();
        m_received = std::make_unique<QSignalSpy>(m_link.get(), &QorInterface::receiveQorMessage);
        QVERIFY(m_link->connectQor(m_settings.address, m_server->zmqPort()));
    }

    void textsComeAtEveryInterval()
    {
        QTRY_VERIFY(!m_received->isEmpty());
        QElapsedTimer clock;
        clock.start();
        const int before = m_received->size();
        QTRY_VERIFY(m_received->size() >= before + 20);
        QVERIFY2(clock.elapsed() > 800, qPrintable(QString::number(clock.elapsed())));
        const QByteArrayList texts = m_server->unit().texts();
        for (int i = 0; i < 20; ++i)
            QCOMPARE(m_received->at(i).first().toByteArray(), texts.at(i % 2));
    }

    void restartComesBackOnTheSamePorts()
    {
        QTRY_VERIFY(!m_received->isEmpty());
        const QString readyLine = m_server->readyLine();
        QSignalSpy announced(m_server.get(), &UnitServer::announced);
        // Without any time between, the ports must be free at once.
        for (const int downMs : { 0, 0, 0, 0, 0, 500 }) {
            QElapsedTimer clock;
            clock.start();
            m_server->restart(downMs);
            QCOMPARE(fetch(), QByteArray());
            QTRY_VERIFY(!announced.isEmpty());
            QVERIFY(clock.elapsed() >= downMs - 30);
            QCOMPARE(announced.takeFirst().first().toString(), readyLine);
        }
        const int before = m_received->size();
        QTRY_VERIFY(m_received->size() > before);
        QVERIFY(fetch().startsWith("HTTP/1.0 200 "));
    }

    void restartForgetsWarningsSilenceAndGarbage()
    {
        const QByteArrayList before = m_server->unit().texts();
        m_server->unit().raiseWarning(QStringLiteral("a"));
        m_server->unit().speakGarbage(QStringLiteral("no-json"));
        m_server->unit().silence();
        m_server->restart(3600000);
        QCOMPARE(m_server->unit().texts(), before);
    }

    void restartTellsWhenAPortIsTaken()
    {
        QSignalSpy announced(m_server.get(), &UnitServer::announced);
        m_server->restart(0);
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::LocalHost, m_server->webPort()));
        QVERIFY(announced.wait());
        const QString line = announced.first().first().toString();
        const QString begin = QStringLiteral("unit h1 failed: web 127.0.0.1:%1: ").arg(m_server->webPort());
        QVERIFY2(line.startsWith(begin), qPrintable(line));
    }

    void ipv6AddressIsUsedForBothPorts()
    {
        if (!QTcpServer().listen(QHostAddress::LocalHostIPv6))
            QSKIP("this machine has no IPv6");
        UnitServer::Settings settings = m_settings;
        settings.address = QStringLiteral("::1");
        m_server = std::make_unique<UnitServer>(settings);
        m_server->open();
        QCOMPARE(m_server->readyLine(),
                 QStringLiteral("unit h1 ready zmq=[::1]:%1 web=[::1]:%2")
                     .arg(m_server->zmqPort())
                     .arg(m_server->webPort()));
        for (const quint16 port : { m_server->zmqPort(), m_server->webPort() }) {
            QTcpSocket client;
            client.connectToHost(settings.address, port);
            QVERIFY(client.waitForConnected());
        }
    }

    void everyBrowserGetsThePageAsItIsNow()
    {
        QTcpSocket slow;
        slow.connectToHost(m_settings.address, m_server->webPort());
        slow.write("GET / HT");
        QVERIFY(slow.waitForBytesWritten());
        m_server->unit().raiseWarning(QStringLiteral("Tür offen"));
        const QByteArray answer
            = "HTTP/1.0 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n\r\n" + m_server->unit().page();
        QCOMPARE(fetch(), answer);
        slow.write("TP/1.1\r\n\r\n");
        QTRY_COMPARE(slow.state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(slow.readAll(), answer);
    }

private:
    // What the web server answers; empty when there is none.
    QByteArray fetch() const
    {
        QTcpSocket browser;
        browser.connectToHost(m_settings.address, m_server->webPort());
        browser.write("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
        const auto isOver = [&browser] { return browser.state() == QAbstractSocket::UnconnectedState; };
        return QTest::qWaitFor(isOver) ? browser.readAll() : "not closed";
    }

    const UnitServer::Settings m_settings {
        QStringLiteral("h1"), QStringLiteral("Halle 1"), QStringLiteral("127.0.0.1"), 0, 0, 100
    };
    std::unique_ptr<UnitServer> m_server;
    std::unique_ptr<QorInterface> m_link;
    std::unique_ptr<QSignalSpy> m_received;
};

QTEST_GUILESS_MAIN(TestUnitServer)
#include "tst_unitserver.moc"
