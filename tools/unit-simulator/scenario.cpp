// SPDX-License-Identifier: MIT
#include "scenario.h"

#include "unit.h"

#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>

namespace {
constexpr double longestSeconds = 86400;
constexpr double shortestRepeatSeconds = 0.1;
constexpr qint64 largestFile = 1 << 20;

// Thrown and caught in this file only: the place grows on the way down, and every reader may find a fault.
struct Fault {
    QString text;
};

[[noreturn]] void fail(const QString& place, const QString& text)
{
    throw Fault { place.isEmpty() ? text : place + QStringLiteral(": ") + text };
}

QString member(const QString& place, const QString& key)
{
    return place.isEmpty() ? key : place + QLatin1Char('.') + key;
}

QString element(const QString& place, int index)
{
    return QStringLiteral("%1[%2]").arg(place, QString::number(index));
}

QJsonObject objectAt(const QJsonValue& value, const QString& place)
{
    if (!value.isObject())
        fail(place, QStringLiteral("is no object"));
    return value.toObject();
}

QJsonArray arrayAt(const QJsonValue& value, const QString& place)
{
    if (!value.isArray())
        fail(place, QStringLiteral("is no array"));
    return value.toArray();
}

QString stringAt(const QJsonValue& value, const QString& place)
{
    if (!value.isString())
        fail(place, QStringLiteral("is no string"));
    return value.toString();
}

qint64 millisecondsAt(const QJsonValue& value, const QString& place, double smallest)
{
    const double seconds = value.toDouble(-1);
    if (!value.isDouble() || seconds < smallest || seconds > longestSeconds) {
        fail(place,
             QStringLiteral("is no time of %1 to %2 seconds")
                 .arg(QString::number(smallest), QString::number(longestSeconds)));
    }
    return std::llround(seconds * 1000);
}

// A mistyped key would otherwise be a setting that silently does not work.
void refuseOtherKeys(const QJsonObject& object, const QString& place, const QStringList& known)
{
    for (const QString& key : object.keys()) {
        if (!known.contains(key))
            fail(member(place, key), QStringLiteral("unknown key"));
    }
}

void readSoftware(const QJsonValue& value, const QString& place, QString& number, QString& date)
{
    const QString numberKey = QStringLiteral("number");
    const QString dateKey = QStringLiteral("date");
    const QJsonObject software = objectAt(value, place);
    refuseOtherKeys(software, place, { numberKey, dateKey });
    number = stringAt(software.value(numberKey), member(place, numberKey));
    date = stringAt(software.value(dateKey), member(place, dateKey));
    if (!isUnitDate(date))
        fail(member(place, dateKey), QStringLiteral("\"%1\" is no date such as 05. Mar 2024").arg(date));
}

VersionData readVersion(const QJsonValue& value, const QString& place)
{
    const QString localKey = QStringLiteral("local");
    const QString remoteKey = QStringLiteral("remote");
    const QJsonObject object = objectAt(value, place);
    refuseOtherKeys(object, place, { localKey, remoteKey });
    VersionData version;
    readSoftware(object.value(localKey), member(place, localKey), version.localNo, version.localDate);
    readSoftware(object.value(remoteKey), member(place, remoteKey), version.remoteNo, version.remoteDate);
    return version;
}

QJsonArray readWarnings(const QJsonValue& value, const QString& place)
{
    QJsonArray warnings = arrayAt(value, place);
    for (int i = 0; i < warnings.size(); ++i) {
        if (const auto error = checkWarning(objectAt(warnings.at(i), element(place, i))))
            fail(element(place, i), *error);
    }
    return warnings;
}

UnitSettings readUnit(const QJsonValue& value, const QString& place)
{
    const QJsonObject object = objectAt(value, place);
    UnitSettings unit;
    for (auto it = object.begin(); it != object.end(); ++it) {
        const QString here = member(place, it.key());
        if (it.key() == QLatin1String("version")) {
            unit.version = readVersion(it.value(), here);
        } else if (it.key() == QLatin1String("warnings")) {
            unit.warnings = readWarnings(it.value(), here);
        } else {
            // Numbers may stand as numbers.
            const QString text
                = it.value().isDouble() ? it.value().toVariant().toString() : stringAt(it.value(), here);
            if (const std::optional<QString> error = unit.set(it.key(), text))
                fail(here, *error);
        }
    }
    if (unit.key.isEmpty())
        fail(place, QStringLiteral("the unit has no \"key\""));
    if (unit.name.isEmpty())
        unit.name = unit.key;
    return unit;
}

ScenarioStep readStep(const QJsonValue& value, const QString& place)
{
    const QString atKey = QStringLiteral("at");
    const QString commandKey = QStringLiteral("command");
    const QJsonObject object = objectAt(value, place);
    refuseOtherKeys(object, place, { atKey, commandKey });
    return { millisecondsAt(object.value(atKey), member(place, atKey), 0),
             stringAt(object.value(commandKey), member(place, commandKey)), member(place, commandKey) };
}

Scenario readScenario(const QJsonObject& root)
{
    const QString unitsKey = QStringLiteral("units");
    const QString timelineKey = QStringLiteral("timeline");
    const QString repeatKey = QStringLiteral("repeat");
    refuseOtherKeys(root, QString(), { unitsKey, timelineKey, repeatKey });

    Scenario scenario;
    const QJsonArray units = arrayAt(root.value(unitsKey), unitsKey);
    for (int i = 0; i < units.size(); ++i) {
        const UnitSettings unit = readUnit(units.at(i), element(unitsKey, i));
        for (const UnitSettings& other : qAsConst(scenario.units)) {
            if (other.key == unit.key)
                fail(element(unitsKey, i), QStringLiteral("the key \"%1\" is taken").arg(unit.key));
        }
        scenario.units.append(unit);
    }
    if (root.contains(timelineKey)) {
        const QJsonArray timeline = arrayAt(root.value(timelineKey), timelineKey);
        for (int i = 0; i < timeline.size(); ++i)
            scenario.steps.append(readStep(timeline.at(i), element(timelineKey, i)));
        std::stable_sort(scenario.steps.begin(), scenario.steps.end(),
                         [](const auto& left, const auto& right) { return left.atMs < right.atMs; });
    }
    if (root.contains(repeatKey)) {
        scenario.repeatMs = millisecondsAt(root.value(repeatKey), repeatKey, shortestRepeatSeconds);
        if (!scenario.steps.isEmpty() && scenario.steps.last().atMs > *scenario.repeatMs)
            fail(repeatKey, QStringLiteral("comes before the last step"));
    }
    return scenario;
}

QString placeOf(const QByteArray& json, int offset)
{
    const QByteArray before = json.left(offset);
    const int column = before.size() - before.lastIndexOf('\n');
    return QStringLiteral("line %1, column %2").arg(before.count('\n') + 1).arg(column);
}
} // namespace

std::variant<ScenarioError, Scenario> parseScenario(const QByteArray& json)
{
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        return ScenarioError { placeOf(json, error.offset) + QStringLiteral(": ") + error.errorString() };
    if (!document.isObject())
        return ScenarioError { QStringLiteral("line 1, column 1: the scenario is no object") };
    try {
        return readScenario(document.object());
    } catch (const Fault& fault) {
        return ScenarioError { fault.text };
    }
}

std::variant<ScenarioError, Scenario> loadScenario(const QString& filePath)
{
    const QString place = filePath + QStringLiteral(": ");
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return ScenarioError { place + file.errorString() };
    const QByteArray json = file.read(largestFile + 1);
    if (json.size() > largestFile)
        return ScenarioError { place + QStringLiteral("longer than %1 bytes").arg(largestFile) };
    auto scenario = parseScenario(json);
    if (auto* error = std::get_if<ScenarioError>(&scenario))
        error->text.prepend(place);
    return scenario;
}

QString scenarioHelp()
{
    return QStringLiteral(R"(A scenario is a JSON file with the keys
  units     the units: "key" (letters, digits, - and _), "name", "address", "port", "web",
            "interval" as in --unit; "version" with "local" and "remote", each with "number"
            and "date"; "warnings", objects with "displaytext" and optionally "date", "time"
            and further keys such as "class"
  timeline  the steps: "at", seconds after the start, and "command" as on standard input
  repeat    optional: after so many seconds the timeline begins again

  {
    "units": [
      { "key": "halle1", "name": "Halle 1", "port": 5566, "web": 8081,
        "version": { "local":  { "number": "1.200", "date": "05. Mar 2024" },
                     "remote": { "number": "1.210", "date": "02. Mar 2025" } } }
    ],
    "timeline": [
      { "at": 2,  "command": "warn halle1 Lüfter 3 steht" },
      { "at": 20, "command": "clear halle1 all" }
    ],
    "repeat": 30
  }
)");
}
