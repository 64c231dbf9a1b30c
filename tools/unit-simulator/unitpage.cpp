// SPDX-License-Identifier: MIT
#include "unitpage.h"

#include "unit.h"

namespace {
QString warningRows(const QJsonArray& warnings)
{
    QString rows;
    for (const QJsonValue& value : warnings) {
        const QJsonObject warning = value.toObject();
        rows += QStringLiteral("<tr>");
        for (const QLatin1String& key :
             { QLatin1String("date"), QLatin1String("time"), QLatin1String("displaytext") })
            rows += QStringLiteral("<td>") + warning.value(key).toString().toHtmlEscaped()
                + QStringLiteral("</td>");
        rows += QStringLiteral("</tr>\n");
    }
    return rows;
}

QString warningSection(const QJsonArray& warnings)
{
    if (warnings.isEmpty())
        return QStringLiteral("<p>Keine Meldungen.</p>\n");
    return QStringLiteral("<table>\n<tr><th>Datum</th><th>Uhrzeit</th><th>Meldung</th></tr>\n")
        + warningRows(warnings) + QStringLiteral("</table>\n");
}

QString versionLine(const QString& label, const QString& number, const QString& date)
{
    return QStringLiteral("<dt>") + label + QStringLiteral("</dt><dd>V") + number.toHtmlEscaped()
        + QStringLiteral(" (") + date.toHtmlEscaped() + QStringLiteral(")</dd>\n");
}
} // namespace

QByteArray unitPage(const Unit& unit)
{
    // Put together piece by piece: a text with a "%1" in it must not be taken for a place holder.
    const QString name = unit.name().toHtmlEscaped();
    const VersionData& version = unit.version();
    const QString page
        = QStringLiteral("<!DOCTYPE html>\n<html lang=\"de\">\n<head>\n<meta charset=\"utf-8\">\n"
                         "<meta http-equiv=\"refresh\" content=\"5\">\n<title>")
        + name
        + QStringLiteral("</title>\n<style>body{font-family:sans-serif;margin:2em}"
                         "td,th{text-align:left;padding:.2em 1em .2em 0}</style>\n</head>\n<body>\n<h1>")
        + name + QStringLiteral("</h1>\n<p>Simulierte QORweb II</p>\n<dl>\n")
        + versionLine(QStringLiteral("Installierte Software"), version.localNo, version.localDate)
        + versionLine(QStringLiteral("Verfügbare Software"), version.remoteNo, version.remoteDate)
        + QStringLiteral("</dl>\n<h2>Meldungen</h2>\n") + warningSection(unit.warnings())
        + QStringLiteral("</body>\n</html>\n");
    return page.toUtf8();
}
