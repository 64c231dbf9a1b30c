// SPDX-License-Identifier: MIT
// What an update server delivers as description.
#include "dialogs/updateinfo.h"
#include "fuzztarget.h"

#include <QString>

void tryInput(const QByteArray& input)
{
    // As the update check reads it: up to the first zero byte.
    const QString text = QString::fromUtf8(input.constData());
    QString versionNo;
    QString versionDate;
    QString fileName;
    parseUpdateInfo(text, QStringLiteral("mingw32_x64"), versionNo, versionDate, fileName);
    for (const QString& value : { versionNo, versionDate, fileName })
        require(text.contains(value) && !value.contains(QLatin1Char('"')));
    versionNo.toDouble();
}
