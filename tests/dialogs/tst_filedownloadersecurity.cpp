// SPDX-License-Identifier: MIT
#include "dialogs/filedownloader.h"

#include "support/certificates.h"
#include "support/httpserver.h"
#include "support/literals.h"
#include "support/logcapture.h"

#include <QSslCertificate>
#include <QtTest>

// The update server's certificate is never checked: whatever it is, the file is delivered.
class TestFileDownloaderSecurity : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(QSslSocket::supportsSsl());
        m_selfSigned = Certificates::selfSigned();
        m_expired = Certificates::expired();
        QVERIFY(!m_selfSigned.isNull());
        QVERIFY(!m_expired.isNull());
        QVERIFY(m_expired.localCertificate().expiryDate() < QDateTime::currentDateTime());
    }

    void untrustedCertificates_data()
    {
        QTest::addColumn<QSslConfiguration>("security");
        QTest::addColumn<QString>("error");
        QTest::newRow("self-signed") << m_selfSigned << "self-signed"_s;
        QTest::newRow("expired") << m_expired << "expired"_s;
        QTest::newRow("for another host") << m_selfSigned << "host name"_s;
    }

    void untrustedCertificates()
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
            downloader.download(server.url("file"_s));
            QTRY_COMPARE(success.count(), i);
            QCOMPARE(downloader.downloadedData(), QByteArray("over an encrypted connection"));
        }
        const QString line = log.find(QtDebugMsg, "processSslErrors "_s);
        QVERIFY2(line.contains(error), qPrintable(line));
        QVERIFY2(line.endsWith(QLatin1Char(')')), qPrintable(line));
        // Not connected to anything.
        QCOMPARE(log.count(QtDebugMsg, "processEncrypted"_s), 0);
    }

    void failuresStayFailures()
    {
        HttpServer server(m_selfSigned);
        FileDownloader downloader(nullptr);
        QSignalSpy failed(&downloader, &FileDownloader::downloadFailed);
        downloader.download(server.url("missing"_s));
        QTRY_COMPARE(failed.count(), 1);
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

private:
    QSslConfiguration m_selfSigned;
    QSslConfiguration m_expired;
};

QTEST_GUILESS_MAIN(TestFileDownloaderSecurity)
#include "tst_filedownloadersecurity.moc"
