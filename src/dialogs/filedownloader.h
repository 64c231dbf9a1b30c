// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QSslError>
#include <QUrl>

// Fetches one URL at a time over HTTP or HTTPS into memory. Success or failure is all that it reports; the
// receiver then takes the bytes. Lives on the GUI thread; owned by the update dialog.
//
//            download()               end or cancel()
//      idle ------------> loading --------------------> reporting ----> idle
//                            ^                               |
//                            +-----------download()----------+
//
// Loading, it has a current reply; reporting, it is inside of downloadSuccess or downloadFailed, perhaps for
// long, since the receiver may show a message box. The busy flag is what the user is shown: it goes up with a
// download and down when a report is over, also when the receiver has started the next transfer in it.
// The object must not be deleted while it reports: the network classes are still at work below.
class FileDownloader : public QObject {
    Q_OBJECT

public:
    explicit FileDownloader(QObject* parent);

    // Starts a transfer and forgets the one before, which still reports; always true.
    bool download(const QUrl& url);
    // The bytes of the last finished transfer, the ones that arrived if it has failed; emptied by the start
    // of the next.
    QByteArray& downloadedData() { return m_data; }
    bool isBusy() const { return m_busy; }
    void setBusy(bool busy);
    // Aborts the running transfer, which reports downloadFailed before this returns.
    void cancel();
    // The running transfer; null when none is known.
    QNetworkReply* currentReply() const { return m_reply; }
    // Whether it neither loads nor reports, and is not marked as busy.
    bool isIdle() const { return !m_busy && !m_reply && !m_reporting; }

signals:
    // The result is reported before the busy flag is cleared.
    void downloadSuccess();
    void downloadFailed();
    void busyChanged();

private slots:
    void processFileDownloaded(QNetworkReply* pReply);
    void processEncrypted(QNetworkReply* reply);
    void processSslErrors(QNetworkReply* reply, const QList<QSslError>& errors);

private:
    QNetworkAccessManager m_manager;
    QByteArray m_data;
    QUrl m_url;
    bool m_busy = false;
    QNetworkReply* m_reply = nullptr;
    bool m_reporting = false;
};
