// SPDX-License-Identifier: MIT
// Transfers one after the other, begun from the report of another, and cancelled.
#include "support/downloader.h"
#include "support/literals.h"

#include <QPointer>

namespace {

// Lets the second of two transfers finish, which runs without the busy flag.
void finishSecond(Downloader& downloader)
{
    QVERIFY(!downloader.isBusy());
    QTRY_COMPARE(downloader.server.requestCount("second"), 1);
    downloader.server.release();
    QTRY_COMPARE(downloader.success.count(), 2);
    QCOMPARE(downloader.downloadedData(), QByteArray("22"));
    // The first transfer set and cleared the busy flag. The second did not change it.
    QCOMPARE(downloader.busy.count(), 2);
}

} // namespace

class TestDownloadCalls : public QObject {
    Q_OBJECT

private slots:
    void reportsBeforeTheBusyFlagIsCleared()
    {
        Downloader downloader;
        QStringList order;
        const auto note = [&](const QString& name) {
            return [&order, &downloader, name] {
                order.append(name + (downloader.isBusy() ? " busy"_s : QString())
                             + (downloader.currentReply() ? " reply"_s : QString())
                             + (downloader.isIdle() ? " idle"_s : QString()));
            };
        };
        connect(&downloader, &FileDownloader::busyChanged, this, note("changed"_s));
        connect(&downloader, &FileDownloader::downloadSuccess, this, note("success"_s));
        connect(&downloader, &FileDownloader::downloadFailed, this, note("failed"_s));
        downloader.start(HttpAnswer::ok("content"));
        QTRY_COMPARE(order.size(), 3);
        QCOMPARE(order, QStringList({ "changed busy reply"_s, "success busy"_s, "changed idle"_s }));
        order.clear();
        downloader.start(HttpAnswer::status("404 Not Found"));
        QTRY_COMPARE(order.size(), 3);
        QCOMPARE(order, QStringList({ "changed busy reply"_s, "failed busy"_s, "changed idle"_s }));
    }

    void isNotIdleInsideTheReport()
    {
        Downloader downloader;
        bool idle = true;
        connect(&downloader, &FileDownloader::downloadSuccess, this, [&] {
            // Nothing runs any more, so that only the flag is cleared.
            downloader.cancel();
            QVERIFY(!downloader.isBusy());
            idle = downloader.isIdle();
        });
        downloader.start(HttpAnswer::ok("content"));
        QTRY_COMPARE(downloader.success.count(), 1);
        QVERIFY(!idle);
        QVERIFY(downloader.isIdle());
    }

    void transferStartedInsideTheReportRunsUnbusy()
    {
        Downloader downloader;
        connect(&downloader, &FileDownloader::downloadSuccess, this, [&] {
            if (downloader.downloadedData() == "1")
                downloader.start(HttpAnswer::ok("22").held(1), "second");
        });
        downloader.start(HttpAnswer::ok("1"));
        QTRY_COMPARE(downloader.success.count(), 1);
        QVERIFY(downloader.currentReply());
        QVERIFY(!downloader.isIdle());
        finishSecond(downloader);
    }

    void twoDownloadsInARow()
    {
        Downloader downloader;
        downloader.start(HttpAnswer::ok("1"), "first");
        const QNetworkReply* forgotten = downloader.currentReply();
        downloader.start(HttpAnswer::ok("22").held(1), "second");
        QVERIFY(downloader.currentReply() != forgotten);
        QCOMPARE(downloader.busy.count(), 1);
        // The first one reports anyway, and clears the flag.
        QTRY_COMPARE(downloader.success.count(), 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("1"));
        QVERIFY(!downloader.currentReply());
        finishSecond(downloader);
    }

    void cancelWhileIdleIsSilent()
    {
        Downloader downloader;
        downloader.cancel();
        QCOMPARE(downloader.results() + downloader.busy.count(), 0);
    }

    void cancelReportsAtOnce()
    {
        Downloader downloader;
        downloader.start(HttpAnswer::ok("content").held(3));
        QTRY_VERIFY(downloader.currentReply()->bytesAvailable() > 0);
        const QPointer<QNetworkReply> reply(downloader.currentReply());
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        connect(&downloader, &FileDownloader::downloadFailed, this, [&] { error = reply->error(); });
        downloader.cancel();
        QCOMPARE(downloader.failed.count(), 1);
        QCOMPARE(error, QNetworkReply::OperationCanceledError);
        QVERIFY(!downloader.isBusy());
        QVERIFY(!downloader.currentReply());
        QCOMPARE(downloader.busy.count(), 2);
        QTRY_VERIFY(!reply);
        QCOMPARE(downloader.results(), 1);
    }

    void cancelTwiceIsHarmless()
    {
        Downloader downloader;
        // Once more from inside of the report, and once more after it.
        connect(&downloader, &FileDownloader::downloadFailed, &downloader, &FileDownloader::cancel);
        downloader.start(HttpAnswer::ok("content").held(3));
        downloader.cancel();
        downloader.cancel();
        QCOMPARE(downloader.results(), 1);
        QCOMPARE(downloader.busy.count(), 2);
    }

    void cancelBeforeTheTransferCouldFailReportsOnce()
    {
        Downloader downloader;
        downloader.download(QUrl());
        const QPointer<QNetworkReply> reply(downloader.currentReply());
        downloader.cancel();
        QTRY_VERIFY(!reply);
        QCOMPARE(downloader.results(), 1);
        QCOMPARE(downloader.busy.count(), 2);
    }

    void transferStartedInsideTheCancelReportIsKept()
    {
        Downloader downloader;
        connect(&downloader, &FileDownloader::downloadFailed, this,
                [&] { downloader.start(HttpAnswer::ok("22"), "second"); });
        downloader.start(HttpAnswer::ok("1").held(0));
        downloader.cancel();
        QCOMPARE(downloader.failed.count(), 1);
        QVERIFY(downloader.currentReply());
        QTRY_COMPARE(downloader.success.count(), 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("22"));
    }
};

QTEST_MAIN(TestDownloadCalls)
#include "tst_downloadcalls.moc"
