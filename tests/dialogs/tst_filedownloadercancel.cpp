// SPDX-License-Identifier: MIT
#include "dialogs/filedownloader.h"

#include "support/downloaderspies.h"
#include "support/httpserver.h"

#include <QtTest>

class TestFileDownloaderCancel : public QObject {
    Q_OBJECT

private slots:
    void cancelWhileIdleIsSilent();
    void cancelReportsAtOnce();
    void cancelTwiceIsHarmless();
    void cancelBeforeTheTransferCouldFailReportsOnce();
    void transferStartedInsideTheCancelReportIsKept();
};

void TestFileDownloaderCancel::cancelWhileIdleIsSilent()
{
    FileDownloader downloader(nullptr);
    DownloaderSpies spies(&downloader);
    downloader.cancel();
    QCOMPARE(spies.results() + spies.busy.count(), 0);
}

void TestFileDownloaderCancel::cancelReportsAtOnce()
{
    HttpServer server;
    server.setAnswer("file", { "content", "200 OK", {}, HttpAnswer::BodyLength, 3 });
    FileDownloader downloader(nullptr);
    DownloaderSpies spies(&downloader);
    downloader.download(server.url(QStringLiteral("file")));
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

void TestFileDownloaderCancel::cancelTwiceIsHarmless()
{
    HttpServer server;
    server.setAnswer("file", { "content", "200 OK", {}, HttpAnswer::BodyLength, 3 });
    FileDownloader downloader(nullptr);
    DownloaderSpies spies(&downloader);
    // Once more from inside of the report, and once more after it.
    connect(&downloader, &FileDownloader::downloadFailed, &downloader, &FileDownloader::cancel);
    downloader.download(server.url(QStringLiteral("file")));
    downloader.cancel();
    downloader.cancel();
    QCOMPARE(spies.results(), 1);
    QCOMPARE(spies.busy.count(), 2);
}

void TestFileDownloaderCancel::cancelBeforeTheTransferCouldFailReportsOnce()
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

void TestFileDownloaderCancel::transferStartedInsideTheCancelReportIsKept()
{
    HttpServer server;
    server.setAnswer("first", { "1", "200 OK", {}, HttpAnswer::BodyLength, 0 });
    server.setAnswer("second", { "22" });
    FileDownloader downloader(nullptr);
    DownloaderSpies spies(&downloader);
    connect(&downloader, &FileDownloader::downloadFailed, this,
            [&] { downloader.download(server.url(QStringLiteral("second"))); });
    downloader.download(server.url(QStringLiteral("first")));
    downloader.cancel();
    QCOMPARE(spies.failed.count(), 1);
    QVERIFY(downloader.currentReply());
    QTRY_COMPARE(spies.success.count(), 1);
    QCOMPARE(downloader.downloadedData(), QByteArray("22"));
}

QTEST_GUILESS_MAIN(TestFileDownloaderCancel)
#include "tst_filedownloadercancel.moc"
