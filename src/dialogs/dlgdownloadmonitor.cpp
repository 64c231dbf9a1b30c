// SPDX-License-Identifier: MIT
#include "dialogs/dlgdownloadmonitor.h"

#include "ui_dlgdownloadmonitor.h"

#include <QNetworkReply>

DlgDownloadMonitor::DlgDownloadMonitor(QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::DlgDownloadMonitor>())
{
    m_ui->setupUi(this);
}

DlgDownloadMonitor::~DlgDownloadMonitor() = default;

void DlgDownloadMonitor::startMonitoring(const QString& fileName, const QString& saveTo, QNetworkReply* reply)
{
    if (m_reply)
        m_reply->disconnect(this);
    m_reply = reply;
    m_ui->lineEditFile->setText(fileName);
    m_ui->lineEditSaveTo->setText(saveTo);
    // Of a text that is too long the beginning tells more than the end.
    m_ui->lineEditFile->home(false);
    m_ui->lineEditSaveTo->home(false);
    m_ui->progressBar->setRange(0, 0);
    if (reply)
        connect(reply, &QNetworkReply::downloadProgress, this, &DlgDownloadMonitor::processDownloadProgress);
    show();
    activateWindow();
    raise();
}

void DlgDownloadMonitor::processDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    // Truncated without scaling: installers stay far below 2 GiB.
    m_ui->progressBar->setRange(0, static_cast<int>(bytesTotal));
    m_ui->progressBar->setValue(static_cast<int>(bytesReceived));
}

void DlgDownloadMonitor::on_pushButtonCancel_clicked()
{
    if (m_reply)
        m_reply->abort();
}
