// SPDX-License-Identifier: MIT
#include "garbage.h"

#include "unit.h"

#include <QJsonDocument>

#include <array>

namespace {
// The monitor takes at most 4999 bytes and drops what is longer.
constexpr int longestTaken = 4999;
// Deeper than the toolkit's parser goes.
constexpr int nestingDepth = 2000;

QVector<QByteArray> invalidJson(const Unit& unit)
{
    QByteArray report = unit.statusReport();
    report.chop(1);
    return { report };
}

QVector<QByteArray> empty(const Unit& /*unit*/)
{
    return { QByteArray() };
}

QVector<QByteArray> wrongCommand(const Unit& unit)
{
    QByteArray report = unit.statusReport();
    report.replace("\"StatusReport\"", "\"statusreport\"");
    return { report };
}

// A whole report of exactly this size, the filling in a key that nobody reads.
QVector<QByteArray> paddedReport(const Unit& unit, int size)
{
    QJsonObject report = QJsonDocument::fromJson(unit.statusReport()).object();
    const QString padding = QStringLiteral("padding");
    report.insert(padding, QString());
    int missing = size - QJsonDocument(report).toJson(QJsonDocument::Compact).size();
    if (missing < 0) {
        report.insert(QStringLiteral("value"), QJsonObject());
        missing = size - QJsonDocument(report).toJson(QJsonDocument::Compact).size();
    }
    report.insert(padding, QString(missing, QLatin1Char('x')));
    return { QJsonDocument(report).toJson(QJsonDocument::Compact) };
}

QVector<QByteArray> longest(const Unit& unit)
{
    return paddedReport(unit, longestTaken);
}

QVector<QByteArray> tooLong(const Unit& unit)
{
    return paddedReport(unit, longestTaken + 1);
}

QVector<QByteArray> nul(const Unit& unit)
{
    QByteArray report = unit.statusReport();
    report.insert(report.size() / 2, '\0');
    return { report };
}

QVector<QByteArray> invalidUtf8(const Unit& unit)
{
    QByteArray report = unit.statusReport();
    report.replace("\"StatusReport\"", "\"Status\xC3\x28\xFFReport\"");
    return { report };
}

QVector<QByteArray> deep(const Unit& /*unit*/)
{
    return { QByteArray(nestingDepth, '[') + QByteArray(nestingDepth, ']') };
}

QVector<QByteArray> frames(const Unit& unit)
{
    return { QByteArrayLiteral("part one"), unit.statusReport(), QByteArray(), unit.versionInfo() };
}

struct Kind {
    const char* name;
    const char* meaning;
    QVector<QByteArray> (*make)(const Unit&);
};

const std::array<Kind, 9> kinds { {
    { "invalid-json", "a report without its last bracket", invalidJson },
    { "empty", "a message of no bytes", empty },
    { "wrong-command", "a report whose command is written in lower case", wrongCommand },
    { "4999", "a good report of 4999 bytes, the longest that the monitor takes", longest },
    { "5000", "a good report of 5000 bytes, which the monitor drops", tooLong },
    { "nul", "a report with a zero byte in its middle", nul },
    { "invalid-utf8", "a report whose command is no UTF-8", invalidUtf8 },
    { "deep", "2000 arrays inside each other", deep },
    { "frames", "one message of four frames, two of them good", frames },
} };
} // namespace

QStringList garbageKinds()
{
    QStringList names;
    for (const Kind& kind : kinds)
        names.append(QLatin1String(kind.name));
    return names;
}

QString garbageHelp()
{
    QString help;
    for (const Kind& kind : kinds)
        help
            += QStringLiteral("  %1%2\n").arg(QLatin1String(kind.name), -15).arg(QLatin1String(kind.meaning));
    return help;
}

Garbage makeGarbage(const QString& kind, const Unit& unit)
{
    for (const Kind& candidate : kinds) {
        if (kind == QLatin1String(candidate.name))
            return { candidate.make(unit) };
    }
    return {};
}
