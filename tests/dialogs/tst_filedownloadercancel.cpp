// SPDX-License-Identifier: MIT
#include "dialogs/filedownloader.h"

#include "support/downloaderspies.h"
#include "support/httpserver.h"
#include "support/literals.h"

#include <QtTest>

class TestFileDownloaderCancel : public QObject {
    Q_OBJECT

private slots:
    void cancelWhileIdleIsSilent()
    {
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.cancel();
        QCOMPARE(spies.results() + spies.busy.count(), 0);
    }

    void cancelReportsAtOnce()
    {
        HttpServer server;
        server.setAnswer("file", { "content", "200 OK", {}, HttpAnswer::BodyLength, 3 });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.download(server.url("file"_s));
        QTRY_VERIFY(downloader.currentReply()->bytesAvailable() > 0);
        const QPointer<QNetworkReply> reply(downloader.currentReply());
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        connect(&downloader, &FileDownloader::downloadFailed, this, [&] { error = reply->error(); });
        downloader.cancel();
        QCOMPARE(spies.failed.count(), 1);
        QCOMPARE(error, QNetworkReply::OperationCanceledError);
        QVERIFY(!downloader.isBusy());
        QVERIFY(!downloader.currentReply());
        QCOMPARE(spies.busy.count(), 2);
        QTRY_VERIFY(!reply);
        QCOMPARE(spies.results(), 1);
    }

    void cancelTwiceIsHarmless()
    {
        HttpServer server;
        server.setAnswer("file", { "content", "200 OK", {}, HttpAnswer::BodyLength, 3 });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        // Once more from inside of the report, and once more after it.
        connect(&downloader, &FileDownloader::downloadFailed, &downloader, &FileDownloader::cancel);
        downloader.download(server.url("file"_s));
        downloader.cancel();
        downloader.cancel();
        QCOMPARE(spies.results(), 1);
        QCOMPARE(spies.busy.count(), 2);
    }

    void cancelBeforeTheTransferCouldFailReportsOnce()
    {
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.download(QUrl());
        const QPointer<QNetworkReply> reply(downloader.currentReply());
        downloader.cancel();
        QTRY_VERIFY(!reply);
        QCOMPARE(spies.results(), 1);
        QCOMPARE(spies.busy.count(), 2);
    }

    void transferStartedInsideTheCancelReportIsKept()
    {
        HttpServer server;
        server.setAnswer("first", { "1", "200 OK", {}, HttpAnswer::BodyLength, 0 });
        server.setAnswer("second", { "22" });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        connect(&downloader, &FileDownloader::downloadFailed, this,
                [&] { downloader.download(server.url("second"_s)); });
        downloader.download(server.url("first"_s));
        downloader.cancel();
        QCOMPARE(spies.failed.count(), 1);
        QVERIFY(downloader.currentReply());
        QTRY_COMPARE(spies.success.count(), 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("22"));
    }
};

QTEST_GUILESS_MAIN(TestFileDownloaderCancel)
#include "tst_filedownloadercancel.moc"
