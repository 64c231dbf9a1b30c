// SPDX-License-Identifier: MIT
#include "dialogs/updateinfo.h"

#include <QRegExp>

namespace {
QString firstMatch(const QString& text, const QString& pattern)
{
    QRegExp expression(pattern, Qt::CaseSensitive, QRegExp::RegExp);
    return expression.indexIn(text) == -1 ? QString() : expression.cap(1);
}
} // namespace

void parseUpdateInfo(const QString& text, const QString& platform, QString& versionNo, QString& versionDate,
                     QString& fileName)
{
    versionNo = firstMatch(text, QStringLiteral("VersionNo=\"([^\"]+)\""));
    versionDate = firstMatch(text, QStringLiteral("VersionDate=\"([^\"]+)\""));
    fileName = firstMatch(text, QStringLiteral("%1FileName=\"([^\"]+)\"").arg(platform));
}
