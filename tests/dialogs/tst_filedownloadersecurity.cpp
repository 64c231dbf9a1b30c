// SPDX-License-Identifier: MIT
#include "dialogs/filedownloader.h"

#include "support/certificates.h"
#include "support/httpserver.h"
#include "support/logcapture.h"

#include <QSslCertificate>
#include <QtTest>

// The update server's certificate is never checked: whatever it is, the file is delivered.
class TestFileDownloaderSecurity : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void untrustedCertificates_data();
    void untrustedCertificates();
    void failuresStayFailures();
    void errorSlotNeedsNoReply();

private:
    QSslConfiguration m_selfSigned;
    QSslConfiguration m_expired;
};

void TestFileDownloaderSecurity::initTestCase()
{
    QVERIFY(QSslSocket::supportsSsl());
    m_selfSigned = Certificates::selfSigned();
    m_expired = Certificates::expired();
    QVERIFY(!m_selfSigned.isNull());
    QVERIFY(!m_expired.isNull());
    QVERIFY(m_expired.localCertificate().expiryDate() < QDateTime::currentDateTime());
}

void TestFileDownloaderSecurity::untrustedCertificates_data()
{
    QTest::addColumn<QSslConfiguration>("security");
    QTest::addColumn<QString>("error");
    QTest::newRow("self-signed") << m_selfSigned << QStringLiteral("self-signed");
    QTest::newRow("expired") << m_expired << QStringLiteral("expired");
    QTest::newRow("for another host") << m_selfSigned << QStringLiteral("host name");
}

void TestFileDownloaderSecurity::untrustedCertificates()
{
    QFETCH(const QSslConfiguration, security);
    QFETCH(const QString, error);
    HttpServer server(security);
    server.setAnswer("file", { "over an encrypted connection" });
    const LogCapture log;
    FileDownloader downloader(nullptr);
    QSignalSpy success(&downloader, &FileDownloader::downloadSuccess);
    // Twice, since every transfer is to be let through.
    for (int i = 1; i <= 2; ++i) {
        downloader.download(server.url(QStringLiteral("file")));
        QTRY_COMPARE(success.count(), i);
        QCOMPARE(downloader.downloadedData(), QByteArray("over an encrypted connection"));
    }
    const QString line = log.find(QtDebugMsg, QStringLiteral("processSslErrors "));
    QVERIFY2(line.contains(error), qPrintable(line));
    QVERIFY2(line.endsWith(QLatin1Char(')')), qPrintable(line));
    // Not connected to anything.
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("processEncrypted")), 0);
}

void TestFileDownloaderSecurity::failuresStayFailures()
{
    HttpServer server(m_selfSigned);
    FileDownloader downloader(nullptr);
    QSignalSpy failed(&downloader, &FileDownloader::downloadFailed);
    downloader.download(server.url(QStringLiteral("missing")));
    QTRY_COMPARE(failed.count(), 1);
    QCOMPARE(downloader.downloadedData(), QByteArray("nothing here"));
}

void TestFileDownloaderSecurity::errorSlotNeedsNoReply()
{
    FileDownloader downloader(nullptr);
    const LogCapture log;
    const QList<QSslError> errors { QSslError(QSslError::CertificateExpired),
                                    QSslError(QSslError::HostNameMismatch) };
    QVERIFY(QMetaObject::invokeMethod(&downloader, "processSslErrors", Q_ARG(QNetworkReply*, nullptr),
                                      Q_ARG(QList<QSslError>, errors)));
    QCOMPARE(log.lines().size(), 1);
    const QString line = log.find(QtDebugMsg, QStringLiteral("processSslErrors "));
    QVERIFY2(line.contains(QLatin1Char('(')) && line.contains(QStringLiteral(", ")), qPrintable(line));
}

QTEST_GUILESS_MAIN(TestFileDownloaderSecurity)
#include "tst_filedownloadersecurity.moc"
