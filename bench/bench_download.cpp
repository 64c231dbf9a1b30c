// SPDX-License-Identifier: MIT
// Prints the peak memory of the download of a 300 MiB installer. The server is a copy of this program, so
// that its memory does not count.
#include "dialogs/filedownloader.h"
#include "support/httpserver.h"
#include "support/literals.h"

#include <QCoreApplication>
#include <QProcess>
#include <QSignalSpy>

#include <sys/resource.h>

#include <cstdio>

namespace {

constexpr int installerSize = 300 * 1024 * 1024;
constexpr int timeoutMs = 120000;

int serve()
{
    HttpServer server;
    server.setAnswer("setup.exe", HttpAnswer::ok(QByteArray(installerSize, 'x')));
    std::puts(qPrintable(server.url("setup.exe"_s).toString()));
    std::fflush(stdout);
    // Until the parent closes its end.
    return std::getchar() == EOF ? 0 : 1;
}

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
    if (argc == 2 && qstrcmp(argv[1], "--serve") == 0)
        return serve();
    QProcess server;
    server.start(QCoreApplication::applicationFilePath(), { "--serve"_s });
    if (!server.waitForReadyRead(timeoutMs))
        return 1;
    const QUrl address(QString::fromLatin1(server.readLine()).trimmed());
    FileDownloader downloader(nullptr);
    QSignalSpy success(&downloader, &FileDownloader::downloadSuccess);
    std::printf("peak memory before the download: %ld KiB\n", peakKibibytes());
    downloader.download(address);
    const bool whole = success.wait(timeoutMs) && downloader.downloadedData().size() == installerSize;
    std::printf("peak memory after %d bytes: %ld KiB\n", downloader.downloadedData().size(), peakKibibytes());
    server.closeWriteChannel();
    server.waitForFinished();
    return whole ? 0 : 1;
}
