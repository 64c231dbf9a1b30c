// SPDX-License-Identifier: MIT
#include "link/qorinterface.h"
#include "unitserver.h"
#include "support/literals.h"

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
        QElapsedTimer clock;
        clock.start();
        m_server->restart(500);
        QCOMPARE(fetch(), QByteArray());
        QTRY_COMPARE(announced.size(), 1);
        QVERIFY2(clock.elapsed() >= 450, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(announced.first().first().toString(), readyLine);
        const int before = m_received->size();
        QTRY_VERIFY(m_received->size() > before);
        QCOMPARE(fetch(), answer());
    }

    void portsAreFreeAtOnceForARestart()
    {
        for (int i = 0; i < 40; ++i) {
            QSignalSpy announced(m_server.get(), &UnitServer::announced);
            m_server->restart(0);
            QVERIFY(announced.wait());
            QCOMPARE(announced.first().first().toString(), m_server->readyLine());
        }
    }

    void restartForgetsWarningsSilenceAndGarbage()
    {
        const QByteArrayList before = m_server->unit().texts();
        m_server->unit().raiseWarning("a"_s);
        m_server->unit().speakGarbage("no-json"_s);
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
        const QString begin = "unit h1 failed: web 127.0.0.1:%1: "_s.arg(m_server->webPort());
        QVERIFY2(line.startsWith(begin), qPrintable(line));
    }

    void onlyItsOwnAddressIsUsed_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::newRow("127.0.0.2") << "127.0.0.2:%1";
        QTest::newRow("::1") << "[::1]:%1";
    }

    void onlyItsOwnAddressIsUsed()
    {
        QFETCH(const QString, endpoint);
        UnitServer::Settings settings = m_settings;
        settings.address = QString::fromLatin1(QTest::currentDataTag());
        if (settings.address == "::1"_s && !QTcpServer().listen(QHostAddress(settings.address)))
            QSKIP("This machine has IPv6 switched off.");
        // The same ports are free at another address.
        settings.zmqPort = m_server->zmqPort();
        settings.webPort = m_server->webPort();
        UnitServer second(settings);
        second.open();
        QCOMPARE(second.readyLine(),
                 "unit h1 ready zmq=%1 web=%2"_s.arg(endpoint.arg(settings.zmqPort),
                                                     endpoint.arg(settings.webPort)));
        for (const quint16 port : { settings.zmqPort, settings.webPort }) {
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
        for (const char* text : { "Tür offen", "Tür zu" }) {
            m_server->unit().raiseWarning(QString::fromUtf8(text));
            QCOMPARE(fetch(), answer());
        }
        slow.write("TP/1.1\r\n\r\n");
        QTRY_COMPARE(slow.state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(slow.readAll(), answer());
    }

private:
    QByteArray answer() const
    {
        return "HTTP/1.0 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n\r\n" + m_server->unit().page();
    }

    // What the web server answers; empty when there is none.
    QByteArray fetch() const
    {
        QTcpSocket browser;
        browser.connectToHost(m_settings.address, m_server->webPort());
        browser.write("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
        const auto isOver = [&browser] { return browser.state() == QAbstractSocket::UnconnectedState; };
        return QTest::qWaitFor(isOver) ? browser.readAll() : "not closed";
    }

    const UnitServer::Settings m_settings { "h1"_s, "Halle 1"_s, "127.0.0.1"_s, 0, 0, 100 };
    std::unique_ptr<UnitServer> m_server;
    std::unique_ptr<QorInterface> m_link;
    std::unique_ptr<QSignalSpy> m_received;
};

QTEST_GUILESS_MAIN(TestUnitServer)
#include "tst_unitserver.moc"
