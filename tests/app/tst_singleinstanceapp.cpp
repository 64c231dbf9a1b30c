// SPDX-License-Identifier: MIT
// The single-instance guard, several of them in one process.
#include "app/singleinstanceapp.h"

#include "support/literals.h"
#include "support/logcapture.h"
#include "support/platform.h"

#include <QApplication>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>

#include <functional>
#include <memory>
#include <vector>

using Preparation = std::function<void(QWidget&)>;
Q_DECLARE_METATYPE(Preparation)

namespace {

const auto name = "guard-under-test"_s;
// The guard's log lines, each behind a letter for its level.
const auto claimLine = "D SingleInstanceApp::init() for \"guard-under-test\""_s;
const auto serverLine = "D SingleInstanceApp::init() start server mode"_s;
const auto clientLine = "C SingleInstanceApp::init() stop client app"_s;
const auto unguardedLine
    = "C SingleInstanceApp::init() failed to start server mode; cannot stop client mode"_s;
const auto detectLine = "D SingleInstanceApp::newConnection() detect new instance"_s;
const auto showLine = "D SingleInstanceApp::newConnection() force show window"_s;

QString namePath()
{
    return QDir::temp().filePath(name);
}

QStringList guardLines(const LogCapture& log)
{
    return log.taggedLines("SingleInstanceApp::"_s);
}

bool startAnother()
{
    return SingleInstanceApp(name).init();
}

// Notes how it is shown and raised, and how many callers the server still has when it is shown.
class Window : public QWidget {
public:
    explicit Window(const SingleInstanceApp& guard)
        : m_server(guard.findChild<QLocalServer*>())
    {
    }

    QVector<QEvent::Type> events;
    QVector<int> callers;

protected:
    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::Show)
            callers.append(m_server->findChildren<QLocalSocket*>().size());
        if (event->type() == QEvent::Show || event->type() == QEvent::WindowStateChange
            || event->type() == QEvent::ZOrderChange)
            events.append(event->type());
        return QWidget::event(event);
    }

private:
    const QLocalServer* m_server;
};

} // namespace

class TestSingleInstanceApp : public QObject {
    Q_OBJECT

private slots:
    void endingMonitorAnswersNobody()
    {
        SingleInstanceApp ending(name);
        QVERIFY(ending.init());
        QTimer::singleShot(0, &ending, [] { QCoreApplication::quit(); });
        QCoreApplication::exec();
        QVERIFY(!ending.hasTurnedAway());
        // It has not been destroyed yet: its windows and links take their time.
        const LogCapture log;
        QVERIFY(startAnother());
        QCOMPARE(guardLines(log), QStringList({ claimLine, serverLine }));
    }

    void startThatCameTooLateIsRemembered()
    {
        SingleInstanceApp ending(name);
        QVERIFY(ending.init());
        QWidget window;
        ending.setMainWindow(&window);
        // The event loop never gets round to this one.
        QTimer::singleShot(0, &ending, [] {
            QVERIFY(!startAnother());
            QCoreApplication::quit();
        });
        QCoreApplication::exec();
        QVERIFY(ending.hasTurnedAway());
        QVERIFY(window.isHidden());
    }

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
        QCOMPARE(guardLines(log), QStringList({ claimLine, serverLine }));
        const auto* server = guard.findChild<QLocalServer*>();
        QVERIFY(server->isListening());
        QCOMPARE(server->serverName(), name);
    }

    void laterStartsHandOver()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        Window window(first);
        first.setMainWindow(&window);
        for (int i = 0; i < 3; ++i) {
            const LogCapture log;
            QVERIFY(!startAnother());
            QCOMPARE(guardLines(log), QStringList({ claimLine, clientLine }));
            QTRY_VERIFY(window.isVisible());
            QCOMPARE(guardLines(log).mid(2), QStringList({ detectLine, showLine }));
            window.hide();
        }
    }

    void nameIsFreeAfterTheFirst()
    {
        {
            SingleInstanceApp first(name);
            QVERIFY(first.init());
        }
        const LogCapture log;
        QVERIFY(startAnother());
        QVERIFY(guardLines(log).contains(serverLine));
    }

    void nothingIsWrittenToTheRunningInstance()
    {
        QLocalServer running;
        QVERIFY(running.listen(name));
        QVERIFY(!startAnother());
        QVERIFY(running.waitForNewConnection(5000));
        const std::unique_ptr<QLocalSocket> connection(running.nextPendingConnection());
        QTRY_COMPARE(connection->state(), QLocalSocket::UnconnectedState);
        QVERIFY(connection->readAll().isEmpty());
    }

    void takenAndSilentNameStartsUnguarded()
    {
        if (!Platform::serverNamesAreFiles())
            QSKIP("A pipe of Windows ends with its program: no name is left behind or taken by something "
                  "else.");
        // A folder takes the name for good: nothing answers there, and it is not for the guard to remove.
        QVERIFY(QDir().mkdir(namePath()));
        const LogCapture log;
        SingleInstanceApp guard(name);
        QVERIFY(guard.init());
        QCOMPARE(guardLines(log), QStringList({ claimLine, unguardedLine }));
        QVERIFY(!guard.findChild<QLocalServer*>()->isListening());
        QVERIFY(QFileInfo(namePath()).isDir());
    }

    void staleNameIsTakenOver()
    {
        if (!Platform::serverNamesAreFiles())
            QSKIP("A pipe of Windows ends with its program: no name is left behind or taken by something "
                  "else.");
        QVERIFY(QFile(namePath()).open(QIODevice::WriteOnly));
        const LogCapture log;
        SingleInstanceApp guard(name);
        QVERIFY(guard.init());
        QCOMPARE(guardLines(log), QStringList({ claimLine, serverLine }));
        QVERIFY(!startAnother());
    }

    void staleNameIsLeftToTheStartThatHoldsTheLock()
    {
        if (!Platform::serverNamesAreFiles())
            QSKIP("A pipe of Windows ends with its program: no name is left behind or taken by something "
                  "else.");
        QVERIFY(QFile(namePath()).open(QIODevice::WriteOnly));
        QLockFile otherStart(namePath() + ".lock"_s);
        QVERIFY(otherStart.tryLock());
        const LogCapture log;
        QVERIFY(startAnother());
        QCOMPARE(guardLines(log), QStringList({ claimLine, unguardedLine }));
        QVERIFY(QFileInfo::exists(namePath()));
    }

    // A running monitor may be blocked, for example by a name lookup.
    void busyInstanceKeepsItsName()
    {
        if (!Platform::serverNamesAreFiles())
            QSKIP("A pipe of Windows has no queue that could be full: a connection comes about or not.");
        QLocalServer running;
        QVERIFY(running.listen(name));
        // Nothing is accepted without the event loop, so that the system's queue fills up.
        std::vector<std::unique_ptr<QLocalSocket>> waiting;
        constexpr size_t maxWaiting = 10000;
        do {
            waiting.push_back(std::make_unique<QLocalSocket>());
            waiting.back()->connectToServer(name);
        } while (waiting.back()->state() == QLocalSocket::ConnectedState && waiting.size() < maxWaiting);
        QCOMPARE(waiting.back()->state(), QLocalSocket::ConnectingState);

        const LogCapture log;
        SingleInstanceApp late(name);
        QElapsedTimer elapsed;
        elapsed.start();
        QVERIFY(late.init());
        QVERIFY2(elapsed.elapsed() >= 500 && elapsed.elapsed() < 2000,
                 QByteArray::number(elapsed.elapsed()).constData());
        QVERIFY(guardLines(log).contains(unguardedLine));
        QVERIFY(!late.findChild<QLocalServer*>()->isListening());

        connect(&running, &QLocalServer::newConnection, this,
                [&running] { delete running.nextPendingConnection(); });
        QTRY_COMPARE(waiting.back()->state(), QLocalSocket::UnconnectedState);
        QVERIFY(!startAnother());
    }

    void windowComesToTheFront_data()
    {
        QTest::addColumn<Preparation>("prepare");
        QTest::addColumn<QVector<QEvent::Type>>("events");
        QTest::newRow("hidden") << Preparation([](QWidget&) {})
                                << QVector<QEvent::Type> { QEvent::Show, QEvent::ZOrderChange };
        QTest::newRow("minimised") << Preparation([](QWidget& window) {
            window.showMinimized();
            QTRY_VERIFY(window.isMinimized());
        }) << QVector<QEvent::Type> { QEvent::WindowStateChange, QEvent::ZOrderChange };
        QTest::newRow("behind another one, maximised") << Preparation([](QWidget& window) {
            window.showMaximized();
            QVERIFY(QTest::qWaitForWindowActive(&window));
        }) << QVector<QEvent::Type> { QEvent::WindowStateChange, QEvent::ZOrderChange };
    }

    void windowComesToTheFront()
    {
        QFETCH(const Preparation, prepare);
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        Window window(first);
        prepare(window);
        QWidget other;
        other.show();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        first.setMainWindow(&window);
        window.events.clear();
        window.callers.clear();
        QVERIFY(!startAnother());
        QTRY_VERIFY(window.isActiveWindow());
        QVERIFY(window.isVisible());
        QCOMPARE(window.windowState() & (Qt::WindowMinimized | Qt::WindowMaximized), Qt::WindowNoState);
        QTEST(window.events, "events");
        // A caller has been dropped by the time that the window is shown.
        QCOMPARE(window.callers.count(0), window.callers.size());
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
        QCOMPARE(guardLines(log), QStringList(detectLine));

        // The early connection leaves nothing behind that would show the window later.
        QWidget window;
        first.setMainWindow(&window);
        QCoreApplication::processEvents();
        QVERIFY(!window.isVisible());
    }

    void callerThatIsGoneShowsNothing()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        QWidget window;
        first.setMainWindow(&window);
        const LogCapture log;
        emit first.findChild<QLocalServer*>()->newConnection();
        QCOMPARE(guardLines(log), QStringList(detectLine));
        QVERIFY(window.isHidden());
    }

    void deletedWindowIsLeftAlone()
    {
        SingleInstanceApp first(name);
        QVERIFY(first.init());
        auto window = std::make_unique<QWidget>();
        first.setMainWindow(window.get());
        window.reset();
        const LogCapture log;
        QVERIFY(!startAnother());
        QTRY_VERIFY(guardLines(log).contains(detectLine));
        QVERIFY(!guardLines(log).contains(showLine));
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
