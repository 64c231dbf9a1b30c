// SPDX-License-Identifier: MIT
#pragma once

#include "unitsettings.h"

#include <QVector>

#include <variant>

struct ScenarioStep {
    qint64 atMs = 0;
    QString command;
    // Where it stands in the file, for messages.
    QString place;
};

// Units and what happens to them, as read from a file. The commands are not checked here: only the running
// units can tell whom they mean.
struct Scenario {
    QVector<UnitSettings> units;
    // In the order of their times.
    QVector<ScenarioStep> steps;
    // After this time the steps begin again.
    std::optional<qint64> repeatMs;
};

struct ScenarioError {
    // With the place in the file.
    QString text;
};

std::variant<ScenarioError, Scenario> parseScenario(const QByteArray& json);
// The error names the file, too.
std::variant<ScenarioError, Scenario> loadScenario(const QString& filePath);
// The format and an example, for the help.
QString scenarioHelp();
