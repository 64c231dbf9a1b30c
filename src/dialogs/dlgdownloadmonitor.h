// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QPointer>

#include <memory>

class QNetworkReply;

namespace Ui {
class DlgDownloadMonitor;
}

// Shows, without being modal, which file is loaded into which folder and how far it has come, and lets the
// user cancel the transfer. Owned and hidden by the update dialog, and reused.
class DlgDownloadMonitor : public QDialog {
    Q_OBJECT

public:
    explicit DlgDownloadMonitor(QWidget* parent);
    ~DlgDownloadMonitor() override;
    Q_DISABLE_COPY_MOVE(DlgDownloadMonitor)

    // Shows the window for a running transfer, which may end and be deleted at any time. saveTo is the
    // target folder.
    void startMonitoring(const QString& fileName, const QString& saveTo, QNetworkReply* reply);

private slots:
    // Bytes; a total of -1 means unknown and shows the busy indicator.
    void processDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void on_pushButtonCancel_clicked();

private:
    std::unique_ptr<Ui::DlgDownloadMonitor> m_ui;
    QPointer<QNetworkReply> m_reply;
};
