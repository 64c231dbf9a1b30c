// SPDX-License-Identifier: MIT
// The two timers that the main window starts.

#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/logcapture.h"
#include "support/teststore.h"

#include <QApplication>
#include <QGroupBox>
#include <QNetworkProxy>
#include <QSettings>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

// Remembers the repeating timers of a second that have fired.
class TimerWatch : public QObject {
public:
    TimerWatch() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        auto* timer = event->type() == QEvent::Timer ? qobject_cast<QTimer*>(watched) : nullptr;
        if (timer && timer->interval() == 1000 && !timer->isSingleShot())
            m_fired << timer;
        return QObject::eventFilter(watched, event);
    }
    QList<QTimer*> m_fired;
};

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

class TestWindowTimers : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }
    void secondTimerDrivesNothing()
    {
        QSettings().setValue("AutoCheckUpdates"_s, false);
        const TimerWatch watch;
        const MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        raiseAlert(window);
        acknowledge(window);
        QTRY_VERIFY(watch.m_fired.size() >= 2);
        QTimer* timer = watch.m_fired.first();
        QCOMPARE(watch.m_fired.count(timer), watch.m_fired.size());
        QVERIFY(timer->isActive());
        QVERIFY(!timer->parent());
        QCOMPARE(window.centralWidget()->findChild<QGroupBox*>("groupBox"_s)->styleSheet(), QString());
        QVERIFY(!rings(window));

        const LogCapture log;
        timer->dumpObjectInfo();
        QVERIFY(log.contains(QtDebugMsg, "  SIGNALS OUT"_s));
        QCOMPARE(log.count(QtDebugMsg, "        signal:"_s), 0);
        QCOMPARE(log.count(QtDebugMsg, "          -->"_s), 0);
    }

    void updateIsCheckedOnce()
    {
        const RefusingProxy proxy;
        QElapsedTimer elapsed;
        const MainWinQorMonitor window;
        elapsed.start();
        QTRY_COMPARE(proxy.m_requests.size(), 1);
        // A coarse timer of two seconds.
        QVERIFY2(elapsed.elapsed() >= 1850, qPrintable(QString::number(elapsed.elapsed())));
        QVERIFY(proxy.m_requests.first().contains("update.varko.example"));
        QTest::qWait(2500);
        QCOMPARE(proxy.m_requests.size(), 1);
    }

    void switchedOffCheckAsksNobody()
    {
        QSettings().setValue("AutoCheckUpdates"_s, false);
        const RefusingProxy proxy;
        const MainWinQorMonitor window;
        QTest::qWait(2500);
        QVERIFY(proxy.m_requests.isEmpty());
    }

    void windowMayEndBeforeTheCheck()
    {
        const RefusingProxy proxy;
        {
            const MainWinQorMonitor window;
        }
        QTest::qWait(2500);
        QVERIFY(proxy.m_requests.isEmpty());
    }

private:
    TestStore m_store { TestStore::UpdateCheck::Unset };
};

QTEST_MAIN(TestWindowTimers)
#include "tst_windowtimers.moc"
