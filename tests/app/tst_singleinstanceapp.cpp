// SPDX-License-Identifier: MIT
#include "app/singleinstanceapp.h"

#include "support/literals.h"
#include "support/logcapture.h"

#include <QApplication>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>

#include <memory>

namespace {

const auto name = "guard-under-test"_s;
const auto claimLine = "SingleInstanceApp::init() for \"guard-under-test\""_s;
const auto serverLine = "SingleInstanceApp::init() start server mode"_s;
const auto clientLine = "SingleInstanceApp::init() stop client app"_s;
const auto unguardedLine = "SingleInstanceApp::init() failed to start server mode; cannot stop client mode"_s;
const auto detectLine = "SingleInstanceApp::newConnection() detect new instance"_s;
const auto showLine = "SingleInstanceApp::newConnection() force show window"_s;

QString namePath()
{
    return QDir::temp().filePath(name);
}

// The guard's lines in their order, each behind a letter for its level.
QStringList guardLines(const LogCapture& log)
{
    QStringList result;
    for (const LogCapture::Line& line : log.lines()) {
        if (!line.text.startsWith(QLatin1String("SingleInstanceApp::")))
            continue;
        const QString level = line.type == QtDebugMsg ? "D "_s : line.type == QtCriticalMsg ? "C "_s : "? "_s;
        result << level + line.text;
    }
    return result;
}

QString debugLevel(const QString& text)
{
    return "D "_s + text;
}

QString criticalLevel(const QString& text)
{
    return "C "_s + text;
}

// Notes the order in which a window is shown and raised.
class EventOrder : public QObject {
public:
    explicit EventOrder(QWidget* window) { window->installEventFilter(this); }
    QVector<QEvent::Type> events;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Show || event->type() == QEvent::WindowStateChange
            || event->type() == QEvent::ZOrderChange)
            events << event->type();
        return false;
    }
};

} // namespace

class TestSingleInstanceApp : public QObject {
    Q_OBJECT

private slots:
    void cleanup()
    {
        QLocalServer::removeServer(name);
        QDir().rmdir(namePath());
    }

    void firstStartClaimsTheName()
    {
        const LogCapture log;
        SingleInstanceApp guard(name);
        QVERIFY(!guard.findChild<QLocalServer*>());
        QVERIFY(guard.init());
        QCOMPARE(guardLines(log), QStringList({ debugLevel(claimLine), debugLevel(serverLine) }));
        const auto* server = guard.findChild<QLocalServer*>();
        QVERIFY(server);
        QVERIFY(server->isListening());
        QCOMPARE(server->serverName(), name);
    }

    void secondStartHandsOver()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        const LogCapture log;
        SingleInstanceApp second(name);
        QVERIFY(!second.init());
        QCOMPARE(guardLines(log), QStringList({ debugLevel(claimLine), criticalLevel(clientLine) }));
        QTRY_VERIFY(log.contains(QtDebugMsg, detectLine));
    }

    void nameIsFreeAfterTheFirst()
    {
        {
            SingleInstanceApp first(name);
            QVERIFY(first.init());
        }
        const LogCapture log;
        SingleInstanceApp second(name);
        QVERIFY(second.init());
        QVERIFY(log.contains(QtDebugMsg, serverLine));
    }

    void nothingIsWrittenToTheRunningInstance()
    {
        QLocalServer running;
        QVERIFY(running.listen(name));
        SingleInstanceApp second(name);
        QVERIFY(!second.init());
        QVERIFY(running.waitForNewConnection(5000));
        const std::unique_ptr<QLocalSocket> connection(running.nextPendingConnection());
        QTRY_COMPARE(connection->state(), QLocalSocket::UnconnectedState);
        QVERIFY(connection->readAll().isEmpty());
    }

    void takenAndSilentNameStartsUnguarded()
    {
        // A folder takes the name for good: nothing answers there, and it is not for the guard to remove.
        QVERIFY(QDir().mkdir(namePath()));
        const LogCapture log;
        SingleInstanceApp guard(name);
        QVERIFY(guard.init());
        QCOMPARE(guardLines(log), QStringList({ debugLevel(claimLine), criticalLevel(unguardedLine) }));
        QVERIFY(!guard.findChild<QLocalServer*>()->isListening());
        QVERIFY(QFileInfo(namePath()).isDir());
    }

    void staleNameIsTakenOver()
    {
        QVERIFY(QFile(namePath()).open(QIODevice::WriteOnly));
        const LogCapture log;
        SingleInstanceApp guard(name);
        QVERIFY(guard.init());
        QCOMPARE(guardLines(log), QStringList({ debugLevel(claimLine), debugLevel(serverLine) }));
        SingleInstanceApp second(name);
        QVERIFY(!second.init());
    }

    void staleNameIsLeftToTheStartThatHoldsTheLock()
    {
        QVERIFY(QFile(namePath()).open(QIODevice::WriteOnly));
        QLockFile otherStart(namePath() + ".lock"_s);
        QVERIFY(otherStart.tryLock());
        const LogCapture log;
        SingleInstanceApp guard(name);
        QVERIFY(guard.init());
        QCOMPARE(guardLines(log), QStringList({ debugLevel(claimLine), criticalLevel(unguardedLine) }));
        QVERIFY(QFileInfo::exists(namePath()));
    }

    void hiddenWindowIsShown()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        QWidget window;
        first.setMainWindow(&window);
        const EventOrder order(&window);
        LogCapture log;
        SingleInstanceApp second(name);
        QVERIFY(!second.init());
        log.clear();
        QTRY_VERIFY(window.isVisible());
        QVERIFY(!window.isMinimized());
        QTRY_VERIFY(window.isActiveWindow());
        QCOMPARE(order.events, QVector<QEvent::Type>({ QEvent::Show, QEvent::ZOrderChange }));
        QCOMPARE(guardLines(log), QStringList({ debugLevel(detectLine), debugLevel(showLine) }));
    }

    void minimisedWindowIsShownNormal()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        QWidget window;
        window.showMinimized();
        QTRY_VERIFY(window.isMinimized());
        first.setMainWindow(&window);
        const EventOrder order(&window);
        SingleInstanceApp second(name);
        QVERIFY(!second.init());
        QTRY_VERIFY(order.events.contains(QEvent::ZOrderChange));
        QVERIFY(window.isVisible());
        QCOMPARE(window.windowState() & (Qt::WindowMinimized | Qt::WindowMaximized), Qt::WindowNoState);
        QVERIFY(order.events.indexOf(QEvent::WindowStateChange) < order.events.indexOf(QEvent::ZOrderChange));
        QVERIFY(order.events.contains(QEvent::WindowStateChange));
    }

    void visibleWindowIsActivatedAndRaised()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        QWidget window;
        window.showMaximized();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QWidget other;
        other.show();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QVERIFY(!window.isActiveWindow());
        first.setMainWindow(&window);
        const EventOrder order(&window);
        SingleInstanceApp second(name);
        QVERIFY(!second.init());
        QTRY_VERIFY(window.isActiveWindow());
        QVERIFY(order.events.contains(QEvent::ZOrderChange));
        QVERIFY(!window.isMaximized());
    }

    void connectionBeforeTheWindowIsDropped()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        const LogCapture log;
        QLocalSocket caller;
        caller.connectToServer(name);
        QVERIFY(caller.waitForConnected(5000));
        QTRY_COMPARE(caller.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(guardLines(log), QStringList(debugLevel(detectLine)));

        // The early connection leaves nothing behind that would show the window later.
        QWidget window;
        first.setMainWindow(&window);
        QCoreApplication::processEvents();
        QVERIFY(!window.isVisible());
    }

    void deletedWindowIsLeftAlone()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        auto window = std::make_unique<QWidget>();
        first.setMainWindow(window.get());
        window.reset();
        const LogCapture log;
        SingleInstanceApp second(name);
        QVERIFY(!second.init());
        QTRY_VERIFY(log.contains(QtDebugMsg, detectLine));
        QVERIFY(!log.contains(QtDebugMsg, showLine));
    }

    void everyConnectionIsAnswered()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        QWidget window;
        first.setMainWindow(&window);
        const LogCapture log;
        for (int i = 1; i <= 3; ++i) {
            SingleInstanceApp another(name);
            QVERIFY(!another.init());
            QTRY_COMPARE(log.count(QtDebugMsg, showLine), i);
            QVERIFY(window.isVisible());
            window.hide();
        }
    }
};

int main(int argc, char** argv)
{
    // The name is a file among the temporary ones: neither a running monitor nor another test is met.
    const QTemporaryDir temporary;
    qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    const QApplication application(argc, argv);
    TestSingleInstanceApp test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_singleinstanceapp.moc"
