// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <functional>
#include <variant>
#include <vector>

class UnitRunner;

// A command that has been read: what it does, with its answer as the result, or what is wrong with it.
using CommandAction = std::function<QString()>;
struct CommandError {
    // Empty when the command as a whole has the wrong shape.
    QString text;
};
using ParsedCommand = std::variant<CommandError, CommandAction>;

// A command that is addressed to one unit. The action must not outlive the unit.
struct UnitCommand {
    const char* name;
    const char* usage;
    const char* meaning;
    ParsedCommand (*parse)(UnitRunner& unit, const QString& arguments);
};

const std::vector<UnitCommand>& unitCommands();
