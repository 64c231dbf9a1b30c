// SPDX-License-Identifier: MIT
#include "unitcommands.h"

#include "garbage.h"
#include "unitrunner.h"

#include <QJsonDocument>
#include <QRegularExpression>

#include <cmath>

namespace {
constexpr double defaultRestartSeconds = 2.0;
constexpr double maximumRestartSeconds = 3600.0;

QString errorAnswer(const QString& text)
{
    return QStringLiteral("error ") + text;
}

QString downError(const UnitRunner& unit)
{
    return errorAnswer(QStringLiteral("unit %1 is restarting").arg(unit.unit().key()));
}

QString sendFrames(UnitRunner& unit, const QVector<QByteArray>& frames)
{
    if (!unit.isOpen())
        return downError(unit);
    unit.send(frames);
    int bytes = 0;
    for (const QByteArray& frame : frames)
        bytes += frame.size();
    return QStringLiteral("ok sent %1 bytes in %2 frames").arg(bytes).arg(frames.size());
}

QString warningCount(const UnitRunner& unit)
{
    return QStringLiteral("ok %1 warnings").arg(unit.unit().warnings().size());
}

QString setSilent(UnitRunner& unit, bool silent)
{
    if (!unit.isOpen())
        return downError(unit);
    unit.setSilent(silent);
    return silent ? QStringLiteral("ok silent") : QStringLiteral("ok speaking");
}
ParsedCommand parseWarn(UnitRunner& unit, const QString& rest)
{
    if (rest.isEmpty())
        return CommandError {};
    QJsonObject warning { { QStringLiteral("displaytext"), rest } };
    if (rest.startsWith(QLatin1Char('{'))) {
        QJsonParseError error {};
        warning = QJsonDocument::fromJson(rest.toUtf8(), &error).object();
        if (error.error != QJsonParseError::NoError)
            return CommandError {
                QStringLiteral("the warning: %1 at byte %2").arg(error.errorString()).arg(error.offset)
            };
        if (const std::optional<QString> wrong = checkWarning(warning))
            return CommandError { *wrong };
    }
    return CommandAction([&unit, warning] {
        unit.raiseWarning(warning);
        return warningCount(unit);
    });
}

ParsedCommand parseClear(UnitRunner& unit, const QString& rest)
{
    if (rest.isEmpty())
        return CommandError {};
    if (rest == QLatin1String("all")) {
        return CommandAction([&unit] {
            unit.clearWarnings();
            return warningCount(unit);
        });
    }
    return CommandAction([&unit, rest] {
        bool isNumber = false;
        const int number = rest.toInt(&isNumber);
        const bool cleared = isNumber ? unit.clearWarning(number) : unit.clearWarning(rest);
        return cleared ? warningCount(unit)
                       : errorAnswer(QStringLiteral("unit %1 has no warning \"").arg(unit.unit().key()) + rest
                                     + QLatin1Char('"'));
    });
}

ParsedCommand parseSilence(UnitRunner& unit, const QString& rest)
{
    if (!rest.isEmpty())
        return CommandError {};
    return CommandAction([&unit] { return setSilent(unit, true); });
}

ParsedCommand parseSpeak(UnitRunner& unit, const QString& rest)
{
    if (!rest.isEmpty())
        return CommandError {};
    return CommandAction([&unit] { return setSilent(unit, false); });
}

ParsedCommand parseRestart(UnitRunner& unit, const QString& rest)
{
    bool ok = true;
    const double seconds = rest.isEmpty() ? defaultRestartSeconds : rest.toDouble(&ok);
    // Written so that "nan" fails, too.
    if (!ok || !(seconds >= 0 && seconds <= maximumRestartSeconds))
        return CommandError { QStringLiteral("\"%1\" is no time of 0 to %2 seconds")
                                  .arg(rest, QString::number(maximumRestartSeconds)) };
    const int downMs = static_cast<int>(std::lround(seconds * 1000));
    return CommandAction([&unit, downMs] {
        unit.restart(downMs);
        return QStringLiteral("ok restarting in %1 ms").arg(downMs);
    });
}

ParsedCommand parseVersion(UnitRunner& unit, const QString& rest)
{
    static const QRegularExpression shape(
        QStringLiteral("\\Alocal (\\S+) (\\S+ \\S+ \\S+) remote (\\S+) (\\S+ \\S+ \\S+)\\z"));
    const QRegularExpressionMatch match = shape.match(rest.simplified());
    if (!match.hasMatch())
        return CommandError {};
    const VersionData version { match.captured(1), match.captured(2), match.captured(3), match.captured(4) };
    for (const QString& date : { version.localDate, version.remoteDate }) {
        if (!isUnitDate(date))
            return CommandError { QStringLiteral("\"%1\" is no date such as 05. Mar 2024").arg(date) };
    }
    return CommandAction([&unit, version] {
        unit.setVersion(version);
        return QStringLiteral("ok version ") + version.localNo + QStringLiteral(", available ")
            + version.remoteNo;
    });
}

ParsedCommand parseName(UnitRunner& unit, const QString& rest)
{
    if (rest.isEmpty())
        return CommandError {};
    if (const std::optional<QString> wrong = checkUnitName(rest))
        return CommandError { *wrong };
    return CommandAction([&unit, rest] {
        unit.setName(rest);
        return QStringLiteral("ok name ") + rest;
    });
}

ParsedCommand parseIntervalCommand(UnitRunner& unit, const QString& rest)
{
    int intervalMs = 0;
    if (const std::optional<QString> wrong = parseInterval(rest, intervalMs))
        return CommandError { *wrong };
    return CommandAction([&unit, intervalMs] {
        unit.setIntervalMs(intervalMs);
        return QStringLiteral("ok interval %1 ms").arg(intervalMs);
    });
}

ParsedCommand parseSend(UnitRunner& unit, const QString& rest)
{
    if (rest.isEmpty())
        return CommandError {};
    return CommandAction([&unit, rest] { return sendFrames(unit, { rest.toUtf8() }); });
}

ParsedCommand parseGarbage(UnitRunner& unit, const QString& rest)
{
    if (!garbageKinds().contains(rest)) {
        return CommandError { QStringLiteral("\"%1\" is no kind of garbage; there are: ").arg(rest)
                              + garbageKinds().join(QLatin1Char(' ')) };
    }
    return CommandAction([&unit, rest] { return sendFrames(unit, makeGarbage(rest, unit.unit()).frames); });
}
} // namespace

const std::vector<UnitCommand>& unitCommands()
{
    static const std::vector<UnitCommand> table {
        { "warn", "UNIT TEXT",
          "raise a warning; a TEXT that begins with { is its JSON object with \"displaytext\" and any "
          "further keys",
          parseWarn },
        { "clear", "UNIT all|NUMBER|TEXT",
          "clear all warnings, the NUMBERth (from 1), or the one with this text", parseClear },
        { "silence", "UNIT", "publish no more reports, with the ports still open", parseSilence },
        { "speak", "UNIT", "publish reports again", parseSpeak },
        { "restart", "UNIT [SECONDS]",
          "close the ports for SECONDS (2), forget the warnings, open the same ports and print the ready "
          "line again",
          parseRestart },
        { "version", "UNIT local NO DATE remote NO DATE",
          "set installed and available software; DATE as in 05. Mar 2024", parseVersion },
        { "name", "UNIT TEXT", "change the name that the unit gives itself", parseName },
        { "interval", "UNIT MS", "publish a report every MS milliseconds", parseIntervalCommand },
        { "send", "UNIT TEXT", "publish TEXT as it stands", parseSend },
        { "garbage", "UNIT KIND", "publish something broken, see below", parseGarbage },
    };
    return table;
}
