// SPDX-License-Identifier: MIT
#include "unitsettings.h"

#include <QDate>
#include <QHostAddress>
#include <QLocale>
#include <QRegularExpression>

namespace {
// Long enough for every real name, short enough that a report stays far below the monitor's limit.
constexpr int maximumNameLength = 200;

std::optional<QString> parsePort(const QString& text, quint16& port)
{
    bool ok = false;
    const ushort value = text.toUShort(&ok);
    if (!ok)
        return QStringLiteral("\"%1\" is no port of 0 to 65535").arg(text);
    port = value;
    return std::nullopt;
}

std::optional<QString> checkKey(const QString& key)
{
    static const QRegularExpression wanted(QStringLiteral("\\A[A-Za-z0-9_-]{1,40}\\z"));
    if (wanted.match(key).hasMatch())
        return std::nullopt;
    return QStringLiteral("\"%1\" is no key: 1 to 40 letters, digits, - or _").arg(key);
}
} // namespace

bool operator==(const VersionData& left, const VersionData& right)
{
    return left.localNo == right.localNo && left.localDate == right.localDate
        && left.remoteNo == right.remoteNo && left.remoteDate == right.remoteDate;
}

bool isUnitDate(const QString& text)
{
    static const QLocale english(QLocale::English, QLocale::AnyCountry);
    return english.toDate(text, QStringLiteral("dd. MMM yyyy")).isValid();
}

std::optional<QString> checkUnitName(const QString& name)
{
    if (name.size() <= maximumNameLength)
        return std::nullopt;
    return QStringLiteral("the name is longer than %1 characters").arg(maximumNameLength);
}

std::optional<QString> parseInterval(const QString& text, int& intervalMs)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < UnitSettings::minimumIntervalMs || value > UnitSettings::maximumIntervalMs) {
        return QStringLiteral("\"%1\" is no interval of %2 to %3 milliseconds")
            .arg(text, QString::number(UnitSettings::minimumIntervalMs),
                 QString::number(UnitSettings::maximumIntervalMs));
    }
    intervalMs = value;
    return std::nullopt;
}

std::optional<QString> UnitSettings::set(const QString& field, const QString& text)
{
    if (field == QLatin1String("port"))
        return parsePort(text, zmqPort);
    if (field == QLatin1String("web"))
        return parsePort(text, webPort);
    if (field == QLatin1String("interval"))
        return parseInterval(text, intervalMs);
    if (field == QLatin1String("key")) {
        std::optional<QString> error = checkKey(text);
        if (!error)
            key = text;
        return error;
    }
    if (field == QLatin1String("name")) {
        std::optional<QString> error = checkUnitName(text);
        if (!error)
            name = text;
        return error;
    }
    if (field == QLatin1String("address")) {
        const QHostAddress parsed(text);
        if (parsed.isNull())
            return QStringLiteral("\"%1\" is no IP address").arg(text);
        address = parsed.toString();
        return std::nullopt;
    }
    return QStringLiteral("unknown field \"%1\"").arg(field);
}
