// SPDX-License-Identifier: MIT
#pragma once

#include "dialogs/filedownloader.h"
#include "support/httpserver.h"

#include <QtTest>

// With a server to load from, and with what it has emitted.
class Downloader : public FileDownloader {
public:
    explicit Downloader(const QSslConfiguration& security = {})
        : FileDownloader(nullptr)
        , server(security)
    {
    }
    void start(const HttpAnswer& answer, const QByteArray& name = "file")
    {
        server.setAnswer(name, answer);
        QVERIFY(download(server.url(QString::fromLatin1(name))));
    }
    int results() const { return success.count() + failed.count(); }

    HttpServer server;
    QSignalSpy success { this, &FileDownloader::downloadSuccess };
    QSignalSpy failed { this, &FileDownloader::downloadFailed };
    QSignalSpy busy { this, &FileDownloader::busyChanged };
};

// The letter x, 1001 times, as gzip packs it.
inline HttpAnswer packedAnswer()
{
    return HttpAnswer::ok(QByteArray::fromHex("1f8b0800000000000203aba81805a360140c7b000007108ec5e9030000"))
        .with("Content-Encoding: gzip");
}
