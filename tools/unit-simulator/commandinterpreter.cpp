// SPDX-License-Identifier: MIT
#include "commandinterpreter.h"

#include "garbage.h"
#include "simulator.h"

#include <QRegularExpression>

namespace {
const QLatin1String listCommand("list");
const QLatin1String quitCommand("quit");

// The first word; what follows its blanks goes to rest.
QString takeWord(const QString& text, QString& rest)
{
    static const QRegularExpression blank(QStringLiteral("\\s"));
    const QString trimmed = text.trimmed();
    const int end = trimmed.indexOf(blank);
    rest = end < 0 ? QString() : trimmed.mid(end).trimmed();
    return end < 0 ? trimmed : trimmed.left(end);
}

QString helpEntry(const QString& command, const QString& meaning)
{
    return QStringLiteral("  ") + command + QStringLiteral("\n      ") + meaning + QLatin1Char('\n');
}

QString synopsis(const UnitCommand& command)
{
    return QLatin1String(command.name) + QLatin1Char(' ') + QLatin1String(command.usage);
}
} // namespace

CommandInterpreter::CommandInterpreter(Simulator& simulator)
    : m_simulator(simulator)
{
}

QString CommandInterpreter::execute(const QString& line)
{
    const ParsedCommand parsed = parse(line);
    if (const auto* error = std::get_if<CommandError>(&parsed))
        return QStringLiteral("error ") + error->text;
    QString answer = std::get<CommandAction>(parsed)();
    if (line.trimmed() == quitCommand)
        emit quitRequested();
    return answer;
}

QString CommandInterpreter::check(const QString& line) const
{
    const ParsedCommand parsed = parse(line);
    const auto* error = std::get_if<CommandError>(&parsed);
    return error ? error->text : QString();
}

QString CommandInterpreter::help()
{
    QString text = helpEntry(listCommand,
                             QStringLiteral("\"ok\" and the number of units, then one line for each unit"));
    for (const UnitCommand& command : unitCommands())
        text += helpEntry(synopsis(command), QLatin1String(command.meaning));
    text += helpEntry(quitCommand, QStringLiteral("end the program"));
    return text + QStringLiteral("\nKinds of garbage:\n") + garbageHelp();
}

ParsedCommand CommandInterpreter::parse(const QString& line) const
{
    // An answer takes one line, and so does a command of a scenario.
    static const QRegularExpression lineBreak(QStringLiteral("[\\r\\n\\x{0}]"));
    if (line.contains(lineBreak))
        return CommandError { QStringLiteral("a command is one line without zero bytes") };
    QString rest;
    const QString word = takeWord(line, rest);
    for (const UnitCommand& command : unitCommands()) {
        if (word == QLatin1String(command.name))
            return parseForUnit(command, rest);
    }
    if (word != listCommand && word != quitCommand)
        return CommandError { QStringLiteral("unknown command \"%1\"").arg(word) };
    if (!rest.isEmpty())
        return CommandError { QStringLiteral("usage: %1").arg(word) };
    if (word == listCommand)
        return CommandAction([this] { return listUnits(); });
    return CommandAction([] { return QStringLiteral("ok quit"); });
}

ParsedCommand CommandInterpreter::parseForUnit(const UnitCommand& command, const QString& rest) const
{
    QString arguments;
    const QString key = takeWord(rest, arguments);
    const QString usage = QStringLiteral("usage: ") + synopsis(command);
    if (key.isEmpty())
        return CommandError { usage };
    UnitRunner* unit = m_simulator.find(key);
    if (!unit)
        return CommandError { QStringLiteral("unknown unit \"%1\"").arg(key) };
    ParsedCommand parsed = command.parse(*unit, arguments);
    if (auto* error = std::get_if<CommandError>(&parsed); error && error->text.isEmpty())
        error->text = usage;
    return parsed;
}

QString CommandInterpreter::listUnits() const
{
    QString answer = QStringLiteral("ok %1 units").arg(m_simulator.units().size());
    for (const auto& unit : m_simulator.units())
        answer += QLatin1Char('\n') + unit->stateLine();
    return answer;
}
