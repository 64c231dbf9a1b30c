// SPDX-License-Identifier: MIT
// Prints the peak memory of the download of a 300 MiB installer. The server is another program, so that its
// memory does not count.
#include "dialogs/filedownloader.h"
#include "support/literals.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <cstdio>

namespace {

constexpr qint64 installerSize = 300 * 1024 * 1024;
constexpr int timeoutMs = 120000;

long peakKibibytes()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    QFile installer(folder.filePath("setup.exe"_s));
    if (!installer.open(QIODevice::WriteOnly) || !installer.resize(installerSize))
        return 1;
    QProcess server;
    server.start("/usr/bin/python3"_s,
                 { "-u"_s, "-m"_s, "http.server"_s, "--bind"_s, "127.0.0.1"_s, "--directory"_s, folder.path(),
                   "0"_s });
    if (!server.waitForReadyRead(timeoutMs))
        return 1;
    const QString address
        = QRegularExpression("http://[^)]+"_s).match(QString::fromLatin1(server.readLine())).captured();
    FileDownloader downloader(nullptr);
    QSignalSpy success(&downloader, &FileDownloader::downloadSuccess);
    std::printf("peak memory before the download: %ld KiB\n", peakKibibytes());
    downloader.download(QUrl(address + "setup.exe"_s));
    const bool whole = success.wait(timeoutMs) && downloader.downloadedData().size() == installerSize;
    std::printf("peak memory behind %lld bytes: %ld KiB\n", installerSize, peakKibibytes());
    server.kill();
    server.waitForFinished();
    return whole ? 0 : 1;
}
