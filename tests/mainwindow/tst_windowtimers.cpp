// SPDX-License-Identifier: MIT
// The two timers that the main window starts.
#include "base/version.h"
#include "support/eventwatch.h"
#include "support/httpserver.h"
#include "support/literals.h"
#include "support/messageboxes.h"
#include "support/platform.h"
#include "support/windowtest.h"

#include <QGroupBox>
#include <QNetworkProxy>
#include <QSettings>
#include <QTimer>
#include <QtTest>

// A web proxy that grants nothing, so that no test leaves this machine, and knows what it was asked.
class RefusingProxy {
public:
    RefusingProxy()
    {
        const QUrl place(m_server.baseUrl());
        QNetworkProxy::setApplicationProxy(
            { QNetworkProxy::HttpProxy, place.host(), static_cast<quint16>(place.port()) });
    }
    ~RefusingProxy() { QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy); }
    Q_DISABLE_COPY_MOVE(RefusingProxy)
    QList<QByteArray> requests() const { return m_server.requests(); }

private:
    HttpServer m_server;
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
        if (Platform::asksSystemForProxies())
            QSKIP("It asks Windows for the proxy, so the test's own would see nothing; tests/windows sets "
                  "the system's.");
        const RefusingProxy proxy;
        const MessageBoxes boxes;
        QSettings().remove("AutoCheckUpdates"_s);
        restart();
        // The first window ends before its check, and asks nobody.
        restart();
        QElapsedTimer elapsed;
        elapsed.start();
        QTRY_COMPARE(proxy.requests().size(), 1);
        // A coarse timer of two seconds.
        QVERIFY2(elapsed.elapsed() >= 1850, qPrintable(QString::number(elapsed.elapsed())));
        QVERIFY(proxy.requests().first().contains(QUrl(updateBaseUrl()).host().toLatin1()));
        QTest::qWait(2500);
        QCOMPARE(proxy.requests().size(), 1);
        QCOMPARE(boxes.count(), 0);
    }

    void switchedOffCheckAsksNobody()
    {
        const RefusingProxy proxy;
        const MessageBoxes boxes;
        restart();
        QTest::qWait(2500);
        QVERIFY(proxy.requests().isEmpty());
        QCOMPARE(boxes.count(), 0);
    }
};

QTEST_MAIN(TestWindowTimers)
#include "tst_windowtimers.moc"
