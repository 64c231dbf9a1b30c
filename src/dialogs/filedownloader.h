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
// While it loads, it has a current reply. There is one exception: when a download starts before the one
// before it has ended, the end of that one clears the current reply and the busy flag, and the new one loads
// on without them.
// While it reports, it is inside downloadSuccess or downloadFailed. This may take long, since the receiver
// may show a message box. The object must not be deleted then: Qt's network classes are still on the stack.
// The busy flag is for the user: it is set by a download and cleared after a report, even when the receiver
// has started the next transfer inside that report.
class FileDownloader : public QObject {
    Q_OBJECT

public:
    explicit FileDownloader(QObject* parent);

    static constexpr qint64 defaultSizeLimit = 1LL << 30;
    // Starts a transfer and forgets the one before, which still reports; always true. The transfer fails when
    // more than sizeLimit bytes arrive, or are announced.
    bool download(const QUrl& url, qint64 sizeLimit = defaultSizeLimit);
    // For tests, and for the transfers that start from now on. One fails when nothing has arrived for so
    // long, 60 s by default.
    void setTimeout(int milliseconds) { m_timeoutMs = milliseconds; }
    // The bytes of the last finished transfer, the ones that arrived if it has failed; emptied by the start
    // of the next.
    QByteArray& downloadedData() { return m_data; }
    bool isBusy() const { return m_busy; }
    void setBusy(bool busy);
    // Aborts the running transfer, which reports downloadFailed before this returns.
    void cancel();
    // The running transfer; null when none is known.
    QNetworkReply* currentReply() const { return m_reply; }
    // Whether it knows no running transfer, does not report and is not busy. A transfer that it has lost
    // sight of (see above) may still run.
    bool isIdle() const { return !m_busy && !m_reply && !m_reporting; }

signals:
    // The result is reported before the busy flag is cleared.
    void downloadSuccess();
    void downloadFailed();
    void busyChanged();

private slots:
    void processFileDownloaded(QNetworkReply* pReply);
    // Only logs. No signal is connected to it.
    void processEncrypted(QNetworkReply* reply);
    void processSslErrors(QNetworkReply* reply, const QList<QSslError>& errors);

private:
    QNetworkAccessManager m_manager;
    QByteArray m_data;
    QUrl m_url;
    bool m_busy = false;
    QNetworkReply* m_reply = nullptr;
    bool m_reporting = false;
    int m_timeoutMs = 60000;
};
