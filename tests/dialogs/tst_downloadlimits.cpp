// SPDX-License-Identifier: MIT
// How long a transfer may stand still, and how large it may become.
#include "support/downloader.h"
#include "support/literals.h"

#include <QTcpServer>

class TestDownloadLimits : public QObject {
    Q_OBJECT

private slots:
    void stalledTransferWaits()
    {
        Downloader downloader;
        downloader.start(HttpAnswer::ok("in the end").held(2));
        QTRY_COMPARE(downloader.currentReply()->bytesAvailable(), 2);
        QVERIFY(!downloader.success.wait(300));
        QCOMPARE(downloader.results(), 0);
        QVERIFY(downloader.isBusy());
        downloader.server.release();
        QTRY_COMPARE(downloader.success.count(), 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("in the end"));
    }

    void silentServerFailsInTime_data()
    {
        QTest::addColumn<QString>("scheme");
        QTest::newRow("no answer") << "http"_s;
        QTest::newRow("no encryption") << "https"_s;
    }

    void silentServerFailsInTime()
    {
        QFETCH(const QString, scheme);
        // The system accepts its connections, and nobody reads them.
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        Downloader downloader;
        downloader.setTimeout(300);
        downloader.download(QUrl("%1://127.0.0.1:%2/file"_s.arg(scheme).arg(silent.serverPort())));
        QTRY_COMPARE(downloader.failed.count(), 1);
        QVERIFY(downloader.isIdle());
    }

    void stalledAnswerFailsInTime_data()
    {
        QTest::addColumn<int>("heldFrom");
        QTest::newRow("after the head") << 0;
        QTest::newRow("inside of the body") << 4;
    }

    void stalledAnswerFailsInTime()
    {
        QFETCH(const int, heldFrom);
        Downloader downloader;
        downloader.setTimeout(300);
        downloader.start(HttpAnswer::ok("content").held(heldFrom));
        QTRY_COMPARE(downloader.failed.count(), 1);
        QVERIFY(downloader.isIdle());
        downloader.start(HttpAnswer::ok("content"), "next");
        QTRY_COMPARE(downloader.success.count(), 1);
        QCOMPARE(downloader.results(), 2);
    }

    void timeIsAMinute()
    {
        Downloader downloader;
        downloader.start(HttpAnswer::ok("content").held(0));
        const auto timers = downloader.currentReply()->findChildren<QTimer*>();
        QVERIFY(std::any_of(timers.cbegin(), timers.cend(), [](const QTimer* timer) {
            return timer->isActive() && timer->interval() == 60000;
        }));
    }

    void whatArrivesRestartsTheTime()
    {
        Downloader downloader;
        constexpr int timeout = 1000;
        downloader.setTimeout(timeout);
        QElapsedTimer elapsed;
        elapsed.start();
        downloader.start(HttpAnswer::ok(QByteArray(400, 'x')).trickled(1));
        QVERIFY(downloader.success.wait(30000));
        QVERIFY(elapsed.elapsed() > timeout);
    }

    void tooMuchFails_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        QTest::addColumn<bool>("succeeds");
        const QByteArray limit(1000, 'x');
        const QByteArray more(1001, 'x');
        QTest::newRow("as much as may be") << HttpAnswer::ok(limit) << true;
        QTest::newRow("as much as may be, not announced") << HttpAnswer::ok(limit).withoutLength() << true;
        QTest::newRow("announced") << HttpAnswer::ok(more).held(0) << false;
        QTest::newRow("not announced") << HttpAnswer::ok(more).withoutLength() << false;
        QTest::newRow("no end") << HttpAnswer::ok(more).withoutLength().held(1001) << false;
        QTest::newRow("chunks") << HttpAnswer::ok("3e9\r\n" + more + "\r\n0\r\n\r\n")
                                       .with("Transfer-Encoding: chunked")
                                       .withoutLength()
                                << false;
        QTest::newRow("packed on the way") << packedAnswer() << false;
    }

    void tooMuchFails()
    {
        QFETCH(const HttpAnswer, answer);
        QFETCH(const bool, succeeds);
        Downloader downloader;
        downloader.server.setAnswer("file", answer);
        downloader.download(downloader.server.url("file"_s), 1000);
        QTRY_COMPARE(downloader.results(), 1);
        QCOMPARE(downloader.success.count(), succeeds ? 1 : 0);
        QVERIFY(downloader.isIdle());
        QCOMPARE(downloader.busy.count(), 2);
    }
};

QTEST_MAIN(TestDownloadLimits)
#include "tst_downloadlimits.moc"
