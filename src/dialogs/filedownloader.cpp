// SPDX-License-Identifier: MIT
#include "dialogs/filedownloader.h"

#include <QDebug>
#include <QScopedValueRollback>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace {

// Qt asks again when a connection is lost, and may then end without an error and with a part of the bytes.
// The length is not announced for bytes that were unpacked on the way, and means nothing for a body that
// comes in chunks.
bool isComplete(const QNetworkReply* reply, const QByteArray& data)
{
    if (reply->rawHeader("Transfer-Encoding").toLower().contains("chunked"))
        return true;
    const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
    return !length.isValid() || length.toLongLong() == data.size();
}

} // namespace

FileDownloader::FileDownloader(QObject* parent)
    : QObject(parent)
{
    qRegisterMetaType<QList<QSslError>>("QList<QSslError>");
    connect(&m_manager, &QNetworkAccessManager::finished, this, &FileDownloader::processFileDownloaded);
    connect(&m_manager, &QNetworkAccessManager::sslErrors, this, &FileDownloader::processSslErrors);
}

bool FileDownloader::download(const QUrl& url, qint64 sizeLimit)
{
    m_url = url;
    m_data.clear();
    m_reply = m_manager.get(QNetworkRequest(url));
    // Not the request's own time-out, which header lines without end would not stop.
    auto* patience = new QTimer(m_reply);
    connect(patience, &QTimer::timeout, m_reply, &QNetworkReply::abort);
    connect(m_reply, &QNetworkReply::readyRead, patience, [patience] { patience->start(); });
    patience->setSingleShot(true);
    patience->start(m_timeoutMs);
    const auto keepLimit = [reply = m_reply, sizeLimit] {
        const qint64 announced = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        if (std::max(announced, reply->bytesAvailable()) > sizeLimit)
            reply->abort();
    };
    connect(m_reply, &QNetworkReply::metaDataChanged, this, keepLimit);
    connect(m_reply, &QNetworkReply::readyRead, this, keepLimit);
    setBusy(true);
    return true;
}

void FileDownloader::setBusy(bool busy)
{
    if (m_busy == busy)
        return;
    m_busy = busy;
    emit busyChanged();
}

void FileDownloader::cancel()
{
    // Clear m_reply first: the abort reports at once, and the receiver may start a new transfer inside that
    // report. The new reply must stay.
    if (QNetworkReply* aborted = std::exchange(m_reply, nullptr))
        aborted->abort();
    setBusy(false);
}

void FileDownloader::processFileDownloaded(QNetworkReply* pReply)
{
    // A cancelled transfer may finish a second time, with an error of its own. It is reported only once.
    disconnect(pReply, &QNetworkReply::finished, nullptr, nullptr);
    m_reply = nullptr;
    m_data = pReply->readAll();
    {
        const QScopedValueRollback<bool> reporting(m_reporting, true);
        if (pReply->error() != QNetworkReply::NoError || !isComplete(pReply, m_data))
            emit downloadFailed();
        else
            emit downloadSuccess();
    }
    pReply->deleteLater();
    setBusy(false);
}

void FileDownloader::processEncrypted(QNetworkReply* reply)
{
    Q_UNUSED(reply)
    qDebug() << "processEncrypted()";
}

void FileDownloader::processSslErrors(QNetworkReply* reply, const QList<QSslError>& errors)
{
    qDebug() << "processSslErrors " << errors;
    // Every certificate is accepted, so that an update server with an expired or self-signed one still works.
    if (reply)
        reply->ignoreSslErrors();
}
