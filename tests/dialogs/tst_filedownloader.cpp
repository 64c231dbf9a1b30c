// SPDX-License-Identifier: MIT
#include "dialogs/filedownloader.h"

#include "support/downloaderspies.h"
#include "support/httpserver.h"
#include "support/literals.h"
#include "support/logcapture.h"

#include <QtTest>

class TestFileDownloader : public QObject {
    Q_OBJECT

private slots:
    void freshDownloaderIsIdle()
    {
        QObject parent;
        FileDownloader downloader(&parent);
        QCOMPARE(downloader.parent(), &parent);
        QVERIFY(!downloader.isBusy());
        QVERIFY(!downloader.currentReply());
        QVERIFY(downloader.downloadedData().isEmpty());
        QVERIFY(!downloader.isReporting());
    }

    void declaresSignalsAndSlotsInOrder()
    {
        const QMetaObject& meta = FileDownloader::staticMetaObject;
        QList<QByteArray> methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            methods.append(meta.method(i).methodSignature());
        const QList<QByteArray> expected {
            "downloadSuccess()",
            "downloadFailed()",
            "busyChanged()",
            "processFileDownloaded(QNetworkReply*)",
            "processEncrypted(QNetworkReply*)",
            "processSslErrors(QNetworkReply*,QList<QSslError>)",
        };
        QCOMPARE(methods, expected);
        QCOMPARE(meta.method(meta.methodOffset() + 2).methodType(), QMetaMethod::Signal);
        QCOMPARE(meta.method(meta.methodOffset() + 3).methodType(), QMetaMethod::Slot);
    }

    void registersTheErrorListType()
    {
        const FileDownloader downloader(nullptr);
        QVERIFY(QMetaType::type("QList<QSslError>") != QMetaType::UnknownType);
    }

    void busyChangesAreAnnouncedOnce()
    {
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.setBusy(false);
        QCOMPARE(spies.busy.count(), 0);
        downloader.setBusy(true);
        downloader.setBusy(true);
        QVERIFY(downloader.isBusy());
        QCOMPARE(spies.busy.count(), 1);
        downloader.setBusy(false);
        QVERIFY(!downloader.isBusy());
        QCOMPARE(spies.busy.count(), 2);
    }

    void answers_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        QTest::addColumn<bool>("succeeds");
        const QByteArray big(1000000, 'x');
        QTest::newRow("file") << HttpAnswer { "content" } << true;
        QTest::newRow("empty file") << HttpAnswer {} << true;
        QTest::newRow("zero bytes inside") << HttpAnswer { QByteArray("a\0b", 3) } << true;
        QTest::newRow("large file") << HttpAnswer { big } << true;
        QTest::newRow("no content length") << HttpAnswer { big, "200 OK", {}, HttpAnswer::NoLength } << true;
        QTest::newRow("trickling server")
            << HttpAnswer { "slowly, slowly", "200 OK", {}, HttpAnswer::BodyLength, -1, 2 } << true;
        QTest::newRow("not found, with a page") << HttpAnswer { "no such file", "404 Not Found" } << false;
        QTest::newRow("server error") << HttpAnswer { "sorry", "500 Internal Server Error" } << false;
        // Not followed: the redirect answer itself is the result.
        QTest::newRow("redirect") << HttpAnswer {
            "moved", "302 Found", { "Location: /QorMonitorUpdate/elsewhere" }
        } << true;
    }

    void answers()
    {
        QFETCH(const HttpAnswer, answer);
        QFETCH(const bool, succeeds);
        HttpServer server;
        server.setAnswer("file", answer);
        server.setAnswer("elsewhere", { "the redirect was followed" });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        QVERIFY(downloader.download(server.url("file"_s)));
        QVERIFY(downloader.isBusy());
        QVERIFY(downloader.currentReply());
        QCOMPARE(spies.busy.count(), 1);
        QTRY_COMPARE(spies.results(), 1);
        QCOMPARE(spies.success.count(), succeeds ? 1 : 0);
        QCOMPARE(downloader.downloadedData(), answer.body);
        QVERIFY(!downloader.isBusy());
        QVERIFY(!downloader.currentReply());
        QCOMPARE(spies.busy.count(), 2);
        QCOMPARE(server.requestCount("elsewhere"), 0);
    }

    void sendsAPlainRequest()
    {
        HttpServer server;
        server.setAnswer("file", { "content" });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.download(server.url("file"_s));
        QTRY_COMPARE(spies.success.count(), 1);
        const QByteArray request = server.requests().constFirst().toLower();
        QVERIFY(request.startsWith("get /qormonitorupdate/file http/1.1\r\n"));
        QVERIFY(!request.contains("authorization"));
        QVERIFY(!request.contains("cookie"));
        QVERIFY(!request.contains("range:"));
    }

    void emptiesTheDataAtTheStart()
    {
        HttpServer server;
        server.setAnswer("file", { "content" });
        server.setAnswer("slow", { "content", "200 OK", {}, HttpAnswer::BodyLength, 3 });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.download(server.url("file"_s));
        QTRY_COMPARE(spies.success.count(), 1);
        QVERIFY(!downloader.downloadedData().isEmpty());
        downloader.download(server.url("slow"_s));
        QVERIFY(downloader.downloadedData().isEmpty());
    }

    void unreachableServerFails()
    {
        // A port that was free a moment ago.
        const QUrl gone = HttpServer().url("file"_s);
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.download(gone);
        QTRY_COMPARE(spies.failed.count(), 1);
        QVERIFY(!downloader.isBusy());
    }

    void unusableAddressFails_data()
    {
        QTest::addColumn<QUrl>("url");
        QTest::newRow("empty") << QUrl();
        QTest::newRow("unknown scheme") << QUrl("nonsense://127.0.0.1/file"_s);
        QTest::newRow("no such file") << QUrl("file:///nonexistent/file"_s);
    }

    void unusableAddressFails()
    {
        QFETCH(const QUrl, url);
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        QVERIFY(downloader.download(url));
        QTRY_COMPARE(spies.failed.count(), 1);
        QVERIFY(!downloader.isBusy());
    }

    void cutConnectionFails()
    {
        HttpServer server;
        server.setAnswer("file", { "only a part", "200 OK", {}, HttpAnswer::BodyLength, 4 });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.download(server.url("file"_s));
        QTRY_VERIFY(downloader.currentReply()->bytesAvailable() == 4);
        server.cut();
        // Cut again when the network classes have asked once more.
        QTRY_VERIFY((server.cut(), spies.failed.count() == 1));
        QCOMPARE(downloader.downloadedData(), QByteArray("only"));
        QCOMPARE(spies.success.count(), 0);
    }

    void stalledTransferWaits()
    {
        HttpServer server;
        server.setAnswer("file", { "in the end", "200 OK", {}, HttpAnswer::BodyLength, 2 });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.download(server.url("file"_s));
        QTRY_VERIFY(downloader.currentReply()->bytesAvailable() == 2);
        QVERIFY(!spies.success.wait(300));
        QCOMPARE(spies.results(), 0);
        QVERIFY(downloader.isBusy());
        server.release();
        QTRY_COMPARE(spies.success.count(), 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("in the end"));
    }

    void reportsBeforeTheBusyFlagIsCleared()
    {
        HttpServer server;
        server.setAnswer("file", { "content" });
        FileDownloader downloader(nullptr);
        QStringList order;
        const auto note = [&](const QString& name) {
            return [&order, &downloader, name] {
                order.append(name + (downloader.isBusy() ? " busy"_s : " idle"_s)
                             + (downloader.isReporting() ? " reporting"_s : QString())
                             + (downloader.currentReply() ? " reply"_s : QString()));
            };
        };
        connect(&downloader, &FileDownloader::busyChanged, this, note("changed"_s));
        connect(&downloader, &FileDownloader::downloadSuccess, this, note("success"_s));
        connect(&downloader, &FileDownloader::downloadFailed, this, note("failed"_s));
        downloader.download(server.url("file"_s));
        QTRY_COMPARE(order.size(), 3);
        QCOMPARE(order,
                 (QStringList { "changed busy reply"_s, "success busy reporting"_s, "changed idle"_s }));
        order.clear();
        downloader.download(server.url("missing"_s));
        QTRY_COMPARE(order.size(), 3);
        QCOMPARE(order.at(1), "failed busy reporting"_s);
    }

    void transferStartedInsideTheReportRunsUnbusy()
    {
        HttpServer server;
        server.setAnswer("first", { "1" });
        server.setAnswer("second", { "22", "200 OK", {}, HttpAnswer::BodyLength, 1 });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        connect(&downloader, &FileDownloader::downloadSuccess, this, [&] {
            if (downloader.downloadedData() == "1")
                downloader.download(server.url("second"_s));
        });
        downloader.download(server.url("first"_s));
        QTRY_COMPARE(spies.success.count(), 1);
        QVERIFY(downloader.currentReply());
        QVERIFY(!downloader.isBusy());
        // Up for the first, down at its end; nothing for the second.
        QCOMPARE(spies.busy.count(), 2);
        QTRY_COMPARE(server.requestCount("second"), 1);
        server.release();
        QTRY_COMPARE(spies.success.count(), 2);
        QCOMPARE(downloader.downloadedData(), QByteArray("22"));
        QCOMPARE(spies.busy.count(), 2);
    }

    void twoDownloadsInARow()
    {
        HttpServer server;
        server.setAnswer("first", { "1" });
        server.setAnswer("second", { "22", "200 OK", {}, HttpAnswer::BodyLength, 1 });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.download(server.url("first"_s));
        const QNetworkReply* forgotten = downloader.currentReply();
        downloader.download(server.url("second"_s));
        QVERIFY(downloader.currentReply() != forgotten);
        QCOMPARE(spies.busy.count(), 1);
        // The first one reports anyway, and clears the flag.
        QTRY_COMPARE(spies.success.count(), 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("1"));
        QVERIFY(!downloader.isBusy());
        QVERIFY(!downloader.currentReply());
        QTRY_COMPARE(server.requestCount("second"), 1);
        server.release();
        QTRY_COMPARE(spies.success.count(), 2);
        QCOMPARE(downloader.downloadedData(), QByteArray("22"));
        QCOMPARE(spies.busy.count(), 2);
    }

    void encryptedSlotOnlyLogs()
    {
        FileDownloader downloader(nullptr);
        const LogCapture log;
        QVERIFY(QMetaObject::invokeMethod(&downloader, "processEncrypted", Q_ARG(QNetworkReply*, nullptr)));
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().type, QtDebugMsg);
        QCOMPARE(log.lines().constFirst().text, "processEncrypted()"_s);
    }
};

QTEST_GUILESS_MAIN(TestFileDownloader)
#include "tst_filedownloader.moc"
