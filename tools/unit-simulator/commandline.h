// SPDX-License-Identifier: MIT
#pragma once

#include "scenario.h"

#include <QStringList>

// What the program was asked to do.
struct Options {
    // Those of the scenario, as changed by the command line, then those of the command line.
    QVector<UnitSettings> units;
    QString scenarioFile;
    Scenario scenario;
    // Whether to go on when standard input ends.
    bool stay = false;
};

// The program has nothing to do but say this: help and version with code 0, errors with code 2.
struct EarlyExit {
    int code = 0;
    QString text;
};

constexpr int usageExitCode = 2;

// The arguments with the program's name in front.
std::variant<EarlyExit, Options> parseCommandLine(const QStringList& arguments);
