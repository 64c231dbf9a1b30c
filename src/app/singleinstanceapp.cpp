// SPDX-License-Identifier: MIT
#include "app/singleinstanceapp.h"

#include <QDebug>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QWidget>

#include <memory>
#include <utility>

namespace {
constexpr int answerTimeoutMs = 500;
// Longer than the time for which any other start may hold the lock.
constexpr int lockTimeoutMs = 4 * answerTimeoutMs;
} // namespace

SingleInstanceApp::SingleInstanceApp(QString name, QObject* parent)
    : QObject(parent)
    , m_name(std::move(name))
{
}

bool SingleInstanceApp::init()
{
    m_server = new QLocalServer(this);
    qDebug() << "SingleInstanceApp::init() for" << m_name;

    // Several starts at once must not take each other's fresh socket for a stale one.
    QLockFile lock(QDir::temp().filePath(m_name + QStringLiteral(".lock")));
    const bool holdsLock = lock.tryLock(lockTimeoutMs);

    if (listen())
        return true;
    const Answer answer = askRunningInstance();
    if (answer == Answer::Given) {
        qCritical() << "SingleInstanceApp::init() stop client app";
        return false;
    }
    if (answer == Answer::NobodyThere && holdsLock && takeOverStaleName())
        return true;
    qCritical() << "SingleInstanceApp::init() failed to start server mode; cannot stop client mode";
    return true;
}

void SingleInstanceApp::setMainWindow(QWidget* mainWindow)
{
    m_mainWindow = mainWindow;
}

bool SingleInstanceApp::listen()
{
    if (!m_server->listen(m_name))
        return false;
    qDebug() << "SingleInstanceApp::init() start server mode";
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstanceApp::processNewConnection);
    return true;
}

// Where a name is a file, a killed monitor leaves it behind, and every later start would go unguarded.
bool SingleInstanceApp::takeOverStaleName()
{
    return QLocalServer::removeServer(m_name) && listen();
}

SingleInstanceApp::Answer SingleInstanceApp::askRunningInstance() const
{
    QLocalSocket socket;
    socket.connectToServer(m_name, QIODevice::ReadWrite);
    if (socket.waitForConnected(answerTimeoutMs))
        return Answer::Given;
    const bool nobody = socket.error() == QLocalSocket::ConnectionRefusedError
        || socket.error() == QLocalSocket::ServerNotFoundError;
    return nobody ? Answer::NobodyThere : Answer::NotInTime;
}

void SingleInstanceApp::processNewConnection()
{
    qDebug() << "SingleInstanceApp::newConnection() detect new instance";
    std::unique_ptr<QLocalSocket> socket(m_server->nextPendingConnection());
    if (!socket)
        return;
    // At once: nothing is read, the connection itself was the message.
    socket.reset();
    if (m_mainWindow) {
        qDebug() << "SingleInstanceApp::newConnection() force show window";
        m_mainWindow->showNormal();
        m_mainWindow->activateWindow();
        m_mainWindow->raise();
    }
}
