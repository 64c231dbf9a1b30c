// SPDX-License-Identifier: MIT
#include "scenario.h"

#include "inputerror.h"

#include <QFile>
#include <QHostAddress>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace {
constexpr int longestMs = 86400000;
constexpr int shortestIntervalMs = 10;

int toNumber(const QString& text, int smallest, int largest)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    if (!ok || number < smallest || number > largest)
        throw InputError(QStringLiteral("\"%1\" is no number of %2 to %3")
                             .arg(text, QString::number(smallest), QString::number(largest)));
    return number;
}

void setField(UnitServer::Settings& unit, const QString& field, const QString& value)
{
    static const QRegularExpression keyShape(QStringLiteral("\\A[A-Za-z0-9_-]+\\z"));
    if (field == QLatin1String("key")) {
        if (!keyShape.match(value).hasMatch())
            throw InputError(QStringLiteral("\"%1\" is no key of letters, digits, - and _").arg(value));
        unit.key = value;
    } else if (field == QLatin1String("name")) {
        unit.name = value;
    } else if (field == QLatin1String("address")) {
        if (QHostAddress(value).isNull())
            throw InputError(QStringLiteral("\"%1\" is no IP address").arg(value));
        unit.address = value;
    } else if (field == QLatin1String("port")) {
        unit.zmqPort = static_cast<quint16>(toNumber(value, 0, 65535));
    } else if (field == QLatin1String("web")) {
        unit.webPort = static_cast<quint16>(toNumber(value, 0, 65535));
    } else if (field == QLatin1String("interval")) {
        unit.intervalMs = toNumber(value, shortestIntervalMs, longestMs);
    } else {
        throw InputError(QStringLiteral("unknown field \"%1\" of a unit").arg(field));
    }
}

int toMilliseconds(const QJsonValue& seconds)
{
    const double milliseconds = seconds.toDouble(-1) * 1000;
    if (milliseconds < 0 || milliseconds > longestMs)
        throw InputError(QStringLiteral("\"at\" and \"repeat\" are seconds, of 0 to 86400"));
    return static_cast<int>(std::lround(milliseconds));
}

Scenario::Step readStep(const QJsonObject& object)
{
    const auto command = QStringLiteral("command");
    if (object.size() != 2 || !object.value(command).isString())
        throw InputError(QStringLiteral("a step has \"at\" and \"command\", and nothing else"));
    return { toMilliseconds(object.value(QStringLiteral("at"))), object.value(command).toString() };
}
} // namespace

Scenario Scenario::fromJson(const QByteArray& json)
{
    QJsonParseError error {};
    const QJsonObject root = QJsonDocument::fromJson(json, &error).object();
    if (error.error != QJsonParseError::NoError)
        throw InputError(QStringLiteral("byte %1: %2").arg(error.offset).arg(error.errorString()));

    Scenario scenario;
    for (auto it = root.begin(); it != root.end(); ++it) {
        if (it.key() == QLatin1String("units")) {
            for (const auto& unit : it.value().toArray())
                scenario.setUnit(unit.toObject());
        } else if (it.key() == QLatin1String("timeline")) {
            for (const auto& step : it.value().toArray())
                scenario.steps.append(readStep(step.toObject()));
        } else if (it.key() == QLatin1String("repeat")) {
            scenario.repeatMs = toMilliseconds(it.value());
        } else {
            throw InputError(QStringLiteral("unknown key \"%1\"").arg(it.key()));
        }
    }
    std::stable_sort(scenario.steps.begin(), scenario.steps.end(),
                     [](const Step& left, const Step& right) { return left.atMs < right.atMs; });
    if (scenario.repeatMs > 0 && !scenario.steps.isEmpty() && scenario.steps.last().atMs > scenario.repeatMs)
        throw InputError(QStringLiteral("\"repeat\" comes before the last step"));
    return scenario;
}

Scenario Scenario::fromFile(const QString& filePath)
{
    QFile file(filePath);
    try {
        if (!file.open(QIODevice::ReadOnly))
            throw InputError(file.errorString());
        return fromJson(file.readAll());
    } catch (const InputError& error) {
        throw InputError(filePath + QStringLiteral(": ") + error.text());
    }
}

void Scenario::setUnit(const QJsonObject& fields)
{
    const QString key
        = fields.value(QStringLiteral("key")).toString(QStringLiteral("unit%1").arg(units.size() + 1));
    auto unit = std::find_if(units.begin(), units.end(),
                             [&key](const UnitServer::Settings& known) { return known.key == key; });
    if (unit == units.end()) {
        units.append(UnitServer::Settings());
        unit = units.end() - 1;
        unit->key = key;
        unit->name = key;
    }
    for (auto it = fields.begin(); it != fields.end(); ++it)
        setField(*unit, it.key(), it.value().toVariant().toString());
}

void Scenario::setUnit(const QString& fields)
{
    // Only a comma in front of the next field divides.
    static const QRegularExpression divider(QStringLiteral(",(?=\\w+=)"));
    QJsonObject object;
    for (const QString& field : fields.split(divider)) {
        const int equals = field.indexOf(QLatin1Char('='));
        if (equals < 0)
            throw InputError(QStringLiteral("\"%1\" is no FIELD=VALUE").arg(field));
        object.insert(field.left(equals), field.mid(equals + 1));
    }
    setUnit(object);
}
