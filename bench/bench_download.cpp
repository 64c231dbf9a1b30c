// SPDX-License-Identifier: MIT
// Prints the peak memory of an installer's download: bench_download [megabytes]. The server is a copy of this
// program, so that its memory does not count.
#include "dialogs/filedownloader.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <cstdio>

namespace {

constexpr qint64 megabyte = 1024 * 1024;
constexpr int timeoutMs = 120000;

int serve(qint64 size)
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&server, size] {
        QTcpSocket* socket = server.nextPendingConnection();
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket, size] {
            if (!socket->readAll().endsWith("\r\n\r\n"))
                return;
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(size) + "\r\n\r\n");
            for (qint64 sent = 0; sent < size && socket->state() == QTcpSocket::ConnectedState;
                 sent += megabyte) {
                socket->write(QByteArray(megabyte, 'x'));
                socket->waitForBytesWritten(timeoutMs);
            }
        });
        QObject::connect(socket, &QTcpSocket::disconnected, &server, &QCoreApplication::quit);
    });
    QTimer::singleShot(timeoutMs, &server, &QCoreApplication::quit);
    std::printf("%d\n", int(server.serverPort()));
    std::fflush(stdout);
    return QCoreApplication::exec();
}

QByteArray peakMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return "unknown";
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).simplified();
    }
    return "unknown";
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--serve") == 0)
        return serve(QByteArray(argv[2]).toLongLong() * megabyte);
    const QString megabytes = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("300");
    QProcess server;
    server.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--serve"), megabytes });
    if (!server.waitForReadyRead(timeoutMs))
        return 1;
    const int port = server.readLine().trimmed().toInt();
    FileDownloader downloader(nullptr);
    QObject::connect(&downloader, &FileDownloader::busyChanged, &downloader, [&downloader] {
        if (!downloader.isBusy())
            QCoreApplication::quit();
    });
    QTimer::singleShot(timeoutMs, &downloader, &QCoreApplication::quit);
    std::printf("before: %s\n", peakMemory().constData());
    downloader.download(QUrl(QStringLiteral("http://127.0.0.1:%1/setup.exe").arg(port)));
    QCoreApplication::exec();
    std::printf("after %lld bytes: %s\n", qint64(downloader.downloadedData().size()),
                peakMemory().constData());
    server.kill();
    server.waitForFinished();
    return downloader.downloadedData().size() == megabytes.toLongLong() * megabyte ? 0 : 1;
}
