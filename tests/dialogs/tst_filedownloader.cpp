// SPDX-License-Identifier: MIT
#include "dialogs/filedownloader.h"

#include "support/certificates.h"
#include "support/downloader.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/platform.h"

#include <QPointer>
#include <QSslCertificate>
#include <QtTest>

#include <utility>

#include <algorithm>

namespace {

// Ends without an error, however much it has announced.
class EndedReply : public QNetworkReply {
public:
    EndedReply(int announced, QByteArray data)
        : m_rest(std::move(data))
    {
        setHeader(QNetworkRequest::ContentLengthHeader, announced);
        open(QIODevice::ReadOnly);
    }

    void abort() override { }
    qint64 bytesAvailable() const override { return m_rest.size() + QNetworkReply::bytesAvailable(); }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const QByteArray part = m_rest.left(static_cast<int>(maxSize));
        m_rest.remove(0, part.size());
        std::copy(part.begin(), part.end(), data);
        return part.size();
    }

private:
    QByteArray m_rest;
};

} // namespace

class TestFileDownloader : public QObject {
    Q_OBJECT

private slots:
    // By Qt's manager, too, so that this holds whichever of the two comes first.
    void errorListTravelsInQueuedSignals()
    {
        const FileDownloader downloader(nullptr);
        QVERIFY(QMetaType::type("QList<QSslError>") != QMetaType::UnknownType);
    }

    void freshDownloaderIsIdle()
    {
        QObject parent;
        FileDownloader downloader(&parent);
        QCOMPARE(downloader.parent(), &parent);
        QVERIFY(!downloader.isBusy());
        QVERIFY(!downloader.currentReply());
        QVERIFY(downloader.downloadedData().isEmpty());
        QVERIFY(downloader.isIdle());
        // By reference.
        downloader.downloadedData() = "content";
        QCOMPARE(downloader.downloadedData(), QByteArray("content"));
    }

    void busyChangesAreAnnouncedOnce()
    {
        Downloader downloader;
        downloader.setBusy(false);
        QCOMPARE(downloader.busy.count(), 0);
        downloader.setBusy(true);
        downloader.setBusy(true);
        QVERIFY(downloader.isBusy());
        QVERIFY(!downloader.isIdle());
        QCOMPARE(downloader.busy.count(), 1);
        downloader.setBusy(false);
        QVERIFY(!downloader.isBusy());
        QCOMPARE(downloader.busy.count(), 2);
    }

    void answers_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        QTest::addColumn<bool>("succeeds");
        QTest::addColumn<QByteArray>("data");
        const auto row = [](const char* name, const HttpAnswer& answer, bool succeeds,
                            const QByteArray& data) { QTest::newRow(name) << answer << succeeds << data; };
        // Every answer ends in one report, and nothing but what the server sent is taken for the file.
        const QByteArray zero("a\0b", 3);
        const QByteArray big(1000000, 'x');
        row("file", HttpAnswer::ok("content"), true, "content");
        row("empty file", HttpAnswer::ok(), true, {});
        row("zero bytes inside", HttpAnswer::ok(zero), true, zero);
        row("large file", HttpAnswer::ok(big), true, big);
        row("no content length", HttpAnswer::ok(big).withoutLength(), true, big);
        row("trickling server", HttpAnswer::ok("slowly, slowly").trickled(2), true, "slowly, slowly");
        row("part of a file",
            HttpAnswer::status("206 Partial Content", "abc").with("Content-Range: bytes 0-2/9"), true, "abc");

        const HttpAnswer chunked
            = HttpAnswer::ok("3\r\nabc\r\n4\r\ndefg\r\n0\r\n\r\n").with("Transfer-Encoding: chunked");
        row("chunks", chunked.withoutLength(), true, "abcdefg");
        // The length is then without meaning.
        row("chunks and their length", chunked, true, "abcdefg");
        row("chunks and any length", chunked.claiming(1000), true, "abcdefg");
        row("packed on the way", packedAnswer(), true, QByteArray(1001, 'x'));
        row("packed garbage", HttpAnswer::ok("not packed").with("Content-Encoding: gzip"), false, {});

        // Not followed: the redirect answer itself is the result.
        const HttpAnswer redirect = HttpAnswer::status("302 Found", "moved");
        row("redirect", redirect.with("Location: /QorMonitorUpdate/elsewhere"), true, "moved");
        row("redirect to a local file", redirect.with("Location: file:///etc/hostname"), true, "moved");

        row("not found, with a page", HttpAnswer::status("404 Not Found", "no file"), false, "no file");
        row("server error", HttpAnswer::status("500 Internal Server Error", "sorry"), false, "sorry");
        const HttpAnswer unauthorized = HttpAnswer::status("401 Unauthorized", "page");
        row("password", unauthorized.with("WWW-Authenticate: Basic realm=\"updates\""), false, "page");
        row("password, damaged digest", unauthorized.with("WWW-Authenticate: Digest realm=,,,=\"\"\"nonce"),
            false, "page");
        row("password of the proxy",
            HttpAnswer::status("407 Proxy Authentication Required", "page")
                .with("Proxy-Authenticate: Basic realm=\"updates\""),
            false, "page");
    }

    void answers()
    {
        QFETCH(const HttpAnswer, answer);
        QFETCH(const bool, succeeds);
        QFETCH(const QByteArray, data);
        Downloader downloader;
        downloader.server.setAnswer("elsewhere", HttpAnswer::ok("the redirect was followed"));
        downloader.start(answer);
        QVERIFY(downloader.isBusy());
        QVERIFY(downloader.currentReply());
        QCOMPARE(downloader.busy.count(), 1);
        QTRY_COMPARE(downloader.results(), 1);
        QCOMPARE(downloader.success.count(), succeeds ? 1 : 0);
        QCOMPARE(downloader.downloadedData(), data);
        QVERIFY(downloader.isIdle());
        QCOMPARE(downloader.busy.count(), 2);
        QCOMPARE(downloader.server.requestCount("elsewhere"), 0);
    }

    void announcedLengthDecides_data()
    {
        QTest::addColumn<int>("announced");
        QTest::addColumn<bool>("succeeds");
        QTest::newRow("all of it") << 4 << true;
        QTest::newRow("a part") << 10 << false;
    }

    void announcedLengthDecides()
    {
        QFETCH(const int, announced);
        QFETCH(const bool, succeeds);
        Downloader downloader;
        // The downloader deletes it.
        const QPointer<QNetworkReply> reply(new EndedReply(announced, "only"));
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        QVERIFY(QMetaObject::invokeMethod(&downloader, "processFileDownloaded",
                                          Q_ARG(QNetworkReply*, reply.data())));
        QCOMPARE(downloader.success.count(), succeeds ? 1 : 0);
        QCOMPARE(downloader.failed.count(), succeeds ? 0 : 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("only"));
        QTRY_VERIFY(!reply);
    }

    void sendsAPlainRequest()
    {
        Downloader downloader;
        downloader.start(HttpAnswer::ok("content"));
        QVERIFY(downloader.currentReply()->request() == QNetworkRequest(downloader.server.url("file"_s)));
        QTRY_COMPARE(downloader.success.count(), 1);
        const QByteArray request = downloader.server.requests().constFirst().toLower();
        QVERIFY(request.startsWith("get /qormonitorupdate/file http/1.1\r\n"));
        for (const char* unwanted : { "authorization", "cookie", "range:" })
            QVERIFY2(!request.contains(unwanted), unwanted);
    }

    void emptiesTheDataAtTheStart()
    {
        Downloader downloader;
        downloader.start(HttpAnswer::ok("content"));
        QTRY_COMPARE(downloader.success.count(), 1);
        QVERIFY(!downloader.downloadedData().isEmpty());
        downloader.start(HttpAnswer::ok("content").held(3), "slow");
        QVERIFY(downloader.downloadedData().isEmpty());
    }

    void unusableAddressFails_data()
    {
        QTest::addColumn<QUrl>("url");
        // A port that was free a moment ago.
        QTest::newRow("unreachable") << HttpServer().url("file"_s);
        QTest::newRow("empty") << QUrl();
        QTest::newRow("unknown scheme") << QUrl("nonsense://127.0.0.1/file"_s);
        QTest::newRow("no such file") << QUrl("file:///nonexistent/file"_s);
    }

    void unusableAddressFails()
    {
        QFETCH(const QUrl, url);
        Downloader downloader;
        QVERIFY(downloader.download(url));
        QTRY_COMPARE(downloader.failed.count(), 1);
        QVERIFY(downloader.isIdle());
    }

    void cutConnectionFails()
    {
        Downloader downloader;
        downloader.start(HttpAnswer::ok("only a part").held(4));
        QTRY_COMPARE(downloader.currentReply()->bytesAvailable(), 4);
        downloader.server.cut();
        QTRY_COMPARE(downloader.failed.count(), 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("only"));
        QCOMPARE(downloader.success.count(), 0);
    }

    void untrustedCertificatesAreAccepted_data()
    {
        QTest::addColumn<QSslConfiguration>("security");
        QTest::addColumn<QStringList>("errors");
        QVERIFY(QSslSocket::supportsSsl());
        const QSslConfiguration expired = Certificates::expired();
        QVERIFY(expired.localCertificate().expiryDate() < QDateTime::currentDateTime());
        QTest::newRow("self-signed, for another host")
            << Certificates::selfSigned() << QStringList { "self-signed"_s, "host name"_s };
        QTest::newRow("expired") << expired << QStringList { "expired"_s };
    }

    void untrustedCertificatesAreAccepted()
    {
        QFETCH(const QSslConfiguration, security);
        QFETCH(const QStringList, errors);
        QVERIFY(!security.isNull());
        if (!Platform::servesEncrypted())
            QSKIP("Wine's Schannel finds no certificate for a server; tests/windows tries TLS against one of "
                  "Linux.");
        const LogCapture log;
        Downloader downloader(security);
        // Twice, since every transfer is to be let through.
        for (int i = 1; i <= 2; ++i) {
            downloader.start(HttpAnswer::ok("over an encrypted connection"));
            QTRY_COMPARE(downloader.success.count(), i);
            QCOMPARE(downloader.downloadedData(), QByteArray("over an encrypted connection"));
        }
        const QString line = log.find(QtDebugMsg, "processSslErrors "_s);
        for (const QString& error : errors)
            QVERIFY2(line.contains(error), qPrintable(line));
        QVERIFY2(line.endsWith(QLatin1Char(')')), qPrintable(line));
        // Not connected to anything.
        QCOMPARE(log.count(QtDebugMsg, "processEncrypted"_s), 0);
        // What fails otherwise still fails.
        downloader.start(HttpAnswer::status("404 Not Found", "nothing here"), "missing");
        QTRY_COMPARE(downloader.failed.count(), 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("nothing here"));
    }

    void errorSlotNeedsNoReply()
    {
        FileDownloader downloader(nullptr);
        const LogCapture log;
        const QList<QSslError> errors { QSslError(QSslError::CertificateExpired),
                                        QSslError(QSslError::HostNameMismatch) };
        QVERIFY(QMetaObject::invokeMethod(&downloader, "processSslErrors", Q_ARG(QNetworkReply*, nullptr),
                                          Q_ARG(QList<QSslError>, errors)));
        QCOMPARE(log.lines().size(), 1);
        const QString line = log.find(QtDebugMsg, "processSslErrors "_s);
        QVERIFY2(line.contains(QLatin1Char('(')) && line.contains(", "_s), qPrintable(line));
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
