// SPDX-License-Identifier: MIT
#include "dialogs/filedownloader.h"
#include "support/downloaderspies.h"
#include "support/httpserver.h"
#include "support/literals.h"

#include <QtTest>

// Servers that answer in unusual or hostile ways: every answer ends in one report, and nothing but what the
// server sent is taken for the file.
namespace {

const QByteArray chunks = "3\r\nabc\r\n4\r\ndefg\r\n0\r\n\r\n";

void load(const HttpAnswer& answer, bool succeeds, const QByteArray& data)
{
    HttpServer server;
    server.setAnswer("file", answer);
    FileDownloader downloader(nullptr);
    const DownloaderSpies spies(&downloader);
    downloader.download(server.url("file"_s));
    QTRY_COMPARE(spies.results(), 1);
    QCOMPARE(spies.success.count(), succeeds ? 1 : 0);
    QCOMPARE(downloader.downloadedData(), data);
    QVERIFY(!downloader.isBusy());
}

} // namespace

class TestFileDownloaderBadServer : public QObject {
    Q_OBJECT

private slots:
    void framings_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        QTest::addColumn<bool>("succeeds");
        QTest::addColumn<QByteArray>("data");
        const auto chunked = [](qint64 length) {
            return HttpAnswer { chunks, "200 OK", { "Transfer-Encoding: chunked" }, length };
        };
        QTest::newRow("chunks") << chunked(HttpAnswer::NoLength) << true << QByteArray("abcdefg");
        // The length is then without meaning.
        QTest::newRow("chunks and their length")
            << chunked(HttpAnswer::BodyLength) << true << QByteArray("abcdefg");
        QTest::newRow("chunks and any length") << chunked(1000) << true << QByteArray("abcdefg");
        QTest::newRow("packed garbage")
            << HttpAnswer { "not packed", "200 OK", { "Content-Encoding: gzip" } } << false << QByteArray();
        QTest::newRow("part of a file")
            << HttpAnswer { "abc", "206 Partial Content", { "Content-Range: bytes 0-2/9" } } << true
            << QByteArray("abc");
    }

    void framings()
    {
        QFETCH(const HttpAnswer, answer);
        QFETCH(const bool, succeeds);
        QFETCH(const QByteArray, data);
        load(answer, succeeds, data);
    }

    void demandsForAPassword_data()
    {
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<QByteArray>("header");
        QTest::newRow("basic") << QByteArray("401 Unauthorized")
                               << QByteArray("WWW-Authenticate: Basic realm=\"updates\"");
        QTest::newRow("damaged digest")
            << QByteArray("401 Unauthorized") << QByteArray("WWW-Authenticate: Digest realm=,,,=\"\"\"nonce");
        QTest::newRow("proxy") << QByteArray("407 Proxy Authentication Required")
                               << QByteArray("Proxy-Authenticate: Basic realm=\"updates\"");
    }

    void demandsForAPassword()
    {
        QFETCH(const QByteArray, status);
        QFETCH(const QByteArray, header);
        load({ "page", status, { header } }, false, "page");
    }

    void redirectToALocalFileIsNotFollowed()
    {
        load({ "moved", "302 Found", { "Location: file:///etc/hostname" } }, true, "moved");
    }
};

QTEST_MAIN(TestFileDownloaderBadServer)
#include "tst_filedownloaderbadserver.moc"
