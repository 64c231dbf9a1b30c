// SPDX-License-Identifier: MIT
// The two timers that the main window starts.
#include "base/version.h"
#include "support/eventwatch.h"
#include "support/literals.h"
#include "support/windowtest.h"

#include <QGroupBox>
#include <QNetworkProxy>
#include <QSettings>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

// A web proxy that counts what is asked of it and grants nothing, so that no test leaves this machine.
class RefusingProxy {
public:
    RefusingProxy()
    {
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] { take(); });
        if (m_server.listen(QHostAddress::LocalHost))
            QNetworkProxy::setApplicationProxy(
                { QNetworkProxy::HttpProxy, "127.0.0.1"_s, m_server.serverPort() });
    }
    ~RefusingProxy() { QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy); }
    Q_DISABLE_COPY_MOVE(RefusingProxy)
    QList<QByteArray> m_requests;

private:
    void take()
    {
        QTcpSocket* socket = m_server.nextPendingConnection();
        QObject::connect(socket, &QTcpSocket::readyRead, &m_server, [this, socket] {
            m_requests << socket->readLine().trimmed();
            socket->write("HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n");
            socket->disconnectFromHost();
        });
    }
    QTcpServer m_server;
};

class TestWindowTimers : public WindowTest {
    Q_OBJECT

private slots:
    void secondTimerDrivesNothing()
    {
        struct Connections : QObject {
            using QObject::isSignalConnected;
        };
        QList<QTimer*> fired;
        const EventWatch watch([&fired](QObject* receiver, QEvent::Type type) {
            auto* timer = type == QEvent::Timer ? qobject_cast<QTimer*>(receiver) : nullptr;
            if (timer && timer->interval() == 1000 && !timer->isSingleShot())
                fired << timer;
        });
        ring();
        acknowledge();
        QTRY_VERIFY(fired.size() >= 2);
        const QTimer* timer = fired.first();
        QCOMPARE(fired.count(fired.first()), fired.size());
        QVERIFY(timer->isActive());
        QVERIFY(!timer->parent());
        const QMetaMethod timeout = QMetaMethod::fromSignal(&QTimer::timeout);
        QVERIFY(!(timer->*&Connections::isSignalConnected)(timeout));
        QCOMPARE(group()->styleSheet(), QString());
        QVERIFY(!rings());
    }

    void updateIsCheckedOnce()
    {
        const RefusingProxy proxy;
        QSettings().remove("AutoCheckUpdates"_s);
        // The window from before this ends without having asked.
        restart();
        QElapsedTimer elapsed;
        elapsed.start();
        QTRY_COMPARE(proxy.m_requests.size(), 1);
        // A coarse timer of two seconds.
        QVERIFY2(elapsed.elapsed() >= 1850, qPrintable(QString::number(elapsed.elapsed())));
        QVERIFY(proxy.m_requests.first().contains(QUrl(updateBaseUrl()).host().toLatin1()));
        QTest::qWait(2500);
        QCOMPARE(proxy.m_requests.size(), 1);
    }

    void switchedOffCheckAsksNobody()
    {
        const RefusingProxy proxy;
        restart();
        QTest::qWait(2500);
        QVERIFY(proxy.m_requests.isEmpty());
    }
};

QTEST_MAIN(TestWindowTimers)
#include "tst_windowtimers.moc"
