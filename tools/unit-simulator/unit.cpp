// SPDX-License-Identifier: MIT
#include "unit.h"

#include "inputerror.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QLocale>
#include <QRegularExpression>

#include <utility>

namespace {
const auto noJson = QStringLiteral("no-json");
const auto unknownCommand = QStringLiteral("unknown-command");
const auto tooLong = QStringLiteral("too-long");
// The monitor takes at most 4999 bytes.
constexpr int tooLongBytes = 5000;

// As the monitor reads it.
QString checkedDate(const QString& date)
{
    const QLocale english(QLocale::English, QLocale::AnyCountry);
    if (!english.toDate(date, QStringLiteral("dd. MMM yyyy")).isValid())
        throw InputError(QStringLiteral("\"%1\" is no date such as 05. Mar 2024").arg(date));
    return date;
}

QString escaped(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString().toHtmlEscaped();
}
} // namespace

Unit::Unit(QString name)
    : m_name(std::move(name))
{
    setVersion(QStringLiteral("local 1.200 05. Mar 2024 remote 1.200 05. Mar 2024"));
}

void Unit::raiseWarning(const QString& text)
{
    const QDateTime now = QDateTime::currentDateTime();
    m_warnings.append(QJsonObject { { QStringLiteral("date"), now.toString(QStringLiteral("yyyy-MM-dd")) },
                                    { QStringLiteral("time"), now.toString(QStringLiteral("hh:mm:ss")) },
                                    { QStringLiteral("displaytext"), text } });
}

void Unit::clearWarnings(const QString& text)
{
    const int before = m_warnings.size();
    for (int i = before - 1; i >= 0; --i) {
        if (m_warnings.at(i).toObject().value(QStringLiteral("displaytext")).toString() == text)
            m_warnings.removeAt(i);
    }
    if (m_warnings.size() == before)
        throw InputError(QStringLiteral("there is no warning \"%1\"").arg(text));
}

void Unit::setVersion(const QString& text)
{
    static const QRegularExpression shape(
        QStringLiteral("\\Alocal (\\S+) (\\S+ \\S+ \\S+) remote (\\S+) (\\S+ \\S+ \\S+)\\z"));
    const QRegularExpressionMatch match = shape.match(text.simplified());
    if (!match.hasMatch())
        throw InputError(QStringLiteral("a version is: local NO DATE remote NO DATE"));
    m_version = { { QStringLiteral("localQorVersionNo"), match.captured(1) },
                  { QStringLiteral("localQorVersionDate"), checkedDate(match.captured(2)) },
                  { QStringLiteral("remoteQorVersionNo"), match.captured(3) },
                  { QStringLiteral("remoteQorVersionDate"), checkedDate(match.captured(4)) } };
}

void Unit::speak()
{
    m_silent = false;
    m_garbageKind.clear();
}

void Unit::silence()
{
    m_silent = true;
}

void Unit::speakGarbage(const QString& kind)
{
    if (!garbageKinds().contains(kind))
        throw InputError(
            QStringLiteral("\"%1\" is none of %2").arg(kind, garbageKinds().join(QStringLiteral(", "))));
    m_silent = false;
    m_garbageKind = kind;
}

QStringList Unit::garbageKinds()
{
    return { noJson, unknownCommand, tooLong };
}

QByteArray Unit::report(const QString& command, QJsonObject content) const
{
    content.insert(QStringLiteral("host"), m_name);
    content.insert(QStringLiteral("cmd"), command);
    return QJsonDocument(content).toJson(QJsonDocument::Compact);
}

QByteArrayList Unit::texts() const
{
    if (m_silent)
        return {};
    const QJsonObject value { { QStringLiteral("warnings"), m_warnings } };
    const QByteArray status = report(QStringLiteral("StatusReport"), { { QStringLiteral("value"), value } });
    if (m_garbageKind == noJson)
        return { status.chopped(1) };
    if (m_garbageKind == unknownCommand)
        return { report(QStringLiteral("Unknown"), {}) };
    // With spaces at the end the JSON stays valid, so only the length is wrong.
    if (m_garbageKind == tooLong)
        return { status.leftJustified(tooLongBytes, ' ') };
    return { report(QStringLiteral("VersionInfo"), m_version), status };
}

QByteArray Unit::page() const
{
    QString list;
    for (const QJsonValue& value : m_warnings) {
        const QJsonObject warning = value.toObject();
        list += QStringLiteral("<li>%1 %2 %3</li>\n")
                    .arg(escaped(warning, "date"), escaped(warning, "time"), escaped(warning, "displaytext"));
    }
    return QStringLiteral(R"(<!DOCTYPE html>
<html lang="de"><head><meta charset="utf-8"><meta http-equiv="refresh" content="5"><title>%1</title></head>
<body style="font-family:sans-serif"><h1>%1</h1>
<p>Simulierte QORweb II, Software V%2 (%3), verfügbar V%4 (%5). Meldungen:</p>
<ul>
%6</ul></body></html>
)")
        // In one call: what looks like a place holder in a text is left alone.
        .arg(m_name.toHtmlEscaped(), escaped(m_version, "localQorVersionNo"),
             escaped(m_version, "localQorVersionDate"), escaped(m_version, "remoteQorVersionNo"),
             escaped(m_version, "remoteQorVersionDate"), list)
        .toUtf8();
}
