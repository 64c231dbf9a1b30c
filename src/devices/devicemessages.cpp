// SPDX-License-Identifier: MIT
#include "devices/devicemessages.h"

#include <QDateTime>
#include <QString>

QString messageClassName(MessageClass messageClass)
{
    switch (messageClass) {
    case MessageClass::Error:
        return QStringLiteral("error");
    case MessageClass::Warning:
        return QStringLiteral("warning");
    case MessageClass::Confirmation:
        return QStringLiteral("confirmation");
    }
    return {};
}

QJsonObject monitorMessage(const QString& qorName, const QString& displayText, MessageClass messageClass)
{
    // One reading of the clock, so that date and time belong together at midnight too.
    const QDateTime now = QDateTime::currentDateTime();
    return {
        { QStringLiteral("qorName"), qorName },
        { QStringLiteral("date"), now.toString(QStringLiteral("yyyy-MM-dd")) },
        { QStringLiteral("time"), now.toString(QStringLiteral("hh:mm:ss")) },
        { QStringLiteral("displaytext"), displayText },
        { QStringLiteral("class"), messageClassName(messageClass) },
    };
}
