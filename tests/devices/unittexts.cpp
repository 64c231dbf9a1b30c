// SPDX-License-Identifier: MIT
#include "devices/unittexts.h"

#include "devices/device.h"

#include <QJsonDocument>

namespace {
QByteArray text(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}
} // namespace

QByteArray statusReport(const QString& host, const QJsonArray& warnings)
{
    return text({
        { QStringLiteral("host"), host },
        { QStringLiteral("cmd"), QStringLiteral("StatusReport") },
        { QStringLiteral("value"), QJsonObject { { QStringLiteral("warnings"), warnings } } },
    });
}

QByteArray versionInfo(const QString& host, const QString& localNo, const QString& localDate,
                       const QString& remoteNo, const QString& remoteDate)
{
    return text({
        { QStringLiteral("host"), host },
        { QStringLiteral("cmd"), QStringLiteral("VersionInfo") },
        { QStringLiteral("localQorVersionNo"), localNo },
        { QStringLiteral("localQorVersionDate"), localDate },
        { QStringLiteral("remoteQorVersionNo"), remoteNo },
        { QStringLiteral("remoteQorVersionDate"), remoteDate },
    });
}

QJsonObject warning(const QString& text, const QString& time)
{
    return {
        { QStringLiteral("date"), QStringLiteral("2025-03-02") },
        { QStringLiteral("time"), time },
        { QStringLiteral("displaytext"), text },
    };
}

QStringList displayTexts(const Device& device)
{
    QStringList texts;
    const QJsonArray messages = device.messages();
    for (const QJsonValue& message : messages)
        texts.append(message.toObject().value(QLatin1String("displaytext")).toString());
    return texts;
}

QString connectedText()
{
    return QStringLiteral("Verbindung hergestellt");
}

QString pendingText()
{
    return QStringLiteral("Warte auf Verbindung ...");
}

QString disconnectedText()
{
    return QStringLiteral("Verbindung getrennt");
}

QString incompatibleText()
{
    return QStringLiteral("QOR Version inkompatibel");
}
