// SPDX-License-Identifier: MIT
#include "unit.h"

#include <QDateTime>
#include <QJsonDocument>

namespace {
const QLatin1String displayTextKey("displaytext");
const QLatin1String dateKey("date");
const QLatin1String timeKey("time");

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}
} // namespace

Unit::Unit(const UnitSettings& settings)
    : m_key(settings.key)
    , m_name(settings.name)
    , m_version(settings.version)
{
    for (const QJsonValue& warning : settings.warnings)
        raiseWarning(warning.toObject());
}

void Unit::raiseWarning(const QJsonObject& warning)
{
    m_warnings.append(completeWarning(warning));
}

bool Unit::clearWarning(int number)
{
    if (number < 1 || number > m_warnings.size())
        return false;
    m_warnings.removeAt(number - 1);
    return true;
}

bool Unit::clearWarning(const QString& displayText)
{
    for (int i = 0; i < m_warnings.size(); ++i) {
        if (m_warnings.at(i).toObject().value(displayTextKey).toString() == displayText)
            return clearWarning(i + 1);
    }
    return false;
}

QByteArray Unit::statusReport() const
{
    return compact(
        { { QStringLiteral("host"), m_name },
          { QStringLiteral("cmd"), QStringLiteral("StatusReport") },
          { QStringLiteral("value"), QJsonObject { { QStringLiteral("warnings"), m_warnings } } } });
}

QByteArray Unit::versionInfo() const
{
    return compact({ { QStringLiteral("host"), m_name },
                     { QStringLiteral("cmd"), QStringLiteral("VersionInfo") },
                     { QStringLiteral("localQorVersionNo"), m_version.localNo },
                     { QStringLiteral("localQorVersionDate"), m_version.localDate },
                     { QStringLiteral("remoteQorVersionNo"), m_version.remoteNo },
                     { QStringLiteral("remoteQorVersionDate"), m_version.remoteDate } });
}

QJsonObject completeWarning(QJsonObject warning)
{
    const QDateTime now = QDateTime::currentDateTime();
    if (!warning.contains(dateKey))
        warning.insert(dateKey, now.toString(QStringLiteral("yyyy-MM-dd")));
    if (!warning.contains(timeKey))
        warning.insert(timeKey, now.toString(QStringLiteral("hh:mm:ss")));
    return warning;
}

std::optional<QString> checkWarning(const QJsonObject& warning)
{
    if (!warning.contains(displayTextKey))
        return QStringLiteral("the warning has no \"displaytext\"");
    for (const QLatin1String& key : { displayTextKey, dateKey, timeKey }) {
        if (warning.contains(key) && !warning.value(key).isString())
            return QStringLiteral("\"%1\" of the warning is no string").arg(key);
    }
    return std::nullopt;
}
