// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QSslError>
#include <QUrl>

// Fetches one URL at a time over HTTP or HTTPS into memory. Success or failure is all that it reports; the
// receiver then takes the bytes. Lives on the GUI thread; owned by the update dialog.
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
    // True inside of downloadSuccess and downloadFailed.
    bool isReporting() const { return m_reports > 0; }
    // Takes the object from its parent and deletes it, inside of a report not before that is over: the
    // network classes are still at work below, and deleteLater() would not wait when it is called from a
    // nested event loop. Nothing else may delete the object or its reply inside of a report.
    void deleteAfterReport();

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
    QPointer<QNetworkReply> m_reply;
    int m_reports = 0;
    bool m_deleteAfterReport = false;
};
