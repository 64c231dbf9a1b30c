// SPDX-License-Identifier: MIT
#include "dialogs/filedownloader.h"

#include "support/downloaderspies.h"
#include "support/httpserver.h"
#include "support/literals.h"

#include <QNetworkReply>
#include <QPointer>
#include <QtTest>

#include <algorithm>

// What arrived is held against the announced length.
namespace {

// Ends without an error, however much it has announced.
class EndedReply : public QNetworkReply {
public:
    EndedReply(int announced, const QByteArray& data)
        : m_rest(data)
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

class TestFileDownloaderLength : public QObject {
    Q_OBJECT

private slots:
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
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        // The downloader deletes it.
        const QPointer<QNetworkReply> reply(new EndedReply(announced, "only"));
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        QVERIFY(QMetaObject::invokeMethod(&downloader, "processFileDownloaded",
                                          Q_ARG(QNetworkReply*, reply.data())));
        QCOMPARE(spies.success.count(), succeeds ? 1 : 0);
        QCOMPARE(spies.failed.count(), succeeds ? 0 : 1);
        QCOMPARE(downloader.downloadedData(), QByteArray("only"));
        QTRY_VERIFY(!reply);
    }

    void bytesPackedOnTheWayAreComplete()
    {
        // A thousand times the letter x, as gzip packs it.
        const QByteArray packed
            = QByteArray::fromHex("1f8b0800000000000203aba81805a360140c770000e6c9413be8030000");
        HttpServer server;
        server.setAnswer("file", { packed, "200 OK", { "Content-Encoding: gzip" } });
        FileDownloader downloader(nullptr);
        DownloaderSpies spies(&downloader);
        downloader.download(server.url("file"_s));
        QTRY_COMPARE(spies.results(), 1);
        QCOMPARE(spies.success.count(), 1);
        QCOMPARE(downloader.downloadedData(), QByteArray(1000, 'x'));
    }
};

QTEST_GUILESS_MAIN(TestFileDownloaderLength)
#include "tst_filedownloaderlength.moc"
