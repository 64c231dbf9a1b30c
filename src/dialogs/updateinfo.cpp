// SPDX-License-Identifier: MIT
#include "dialogs/updateinfo.h"

#include <QCryptographicHash>
#include <QRegExp>

namespace {
QString firstMatch(const QString& text, const QString& pattern)
{
    QRegExp expression(pattern, Qt::CaseSensitive, QRegExp::RegExp);
    return expression.indexIn(text) == -1 ? QString() : expression.cap(1);
}

QByteArray field(const QByteArray& bytes)
{
    return QByteArray::number(bytes.size()) + ':' + bytes + ',';
}
} // namespace

void parseUpdateInfo(const QString& text, const QString& platform, QString& versionNo, QString& versionDate,
                     QString& fileName)
{
    versionNo = firstMatch(text, QStringLiteral("VersionNo=\"([^\"]+)\""));
    versionDate = firstMatch(text, QStringLiteral("VersionDate=\"([^\"]+)\""));
    fileName = firstMatch(text, QStringLiteral("%1FileName=\"([^\"]+)\"").arg(platform));
}

QString parseUpdateSignature(const QString& text, const QString& platform)
{
    return firstMatch(text, QStringLiteral("%1Signature=\"([^\"]+)\"").arg(platform));
}

QByteArray signedUpdateBytes(const QString& versionNo, const QString& fileName, const QByteArray& file)
{
    return "QorMonitor update 1\n" + field(versionNo.toUtf8()) + field(fileName.toUtf8())
        + field(QCryptographicHash::hash(file, QCryptographicHash::Sha512));
}
