// SPDX-License-Identifier: MIT
#include "simulator.h"

#include "inputerror.h"

#include <QRegularExpression>

#include <array>
#include <cmath>

namespace {
constexpr double longestRestartSeconds = 3600;

struct Command {
    const char* name;
    // What follows the unit's key; nullptr when nothing may follow.
    const char* argument;
    const char* meaning;
    void (*carryOut)(UnitServer& server, const QString& argument);

    QString usage() const
    {
        const QString key = QLatin1String(name) + QStringLiteral(" UNIT");
        return argument ? key + QLatin1Char(' ') + QLatin1String(argument) : key;
    }
};

void clear(UnitServer& server, const QString& text)
{
    if (text == QLatin1String("all"))
        server.unit().clearAllWarnings();
    else
        server.unit().clearWarnings(text);
}

void restart(UnitServer& server, const QString& text)
{
    bool ok = false;
    const double seconds = text.toDouble(&ok);
    // Written so that "nan" fails, too.
    if (!ok || !(seconds >= 0 && seconds <= longestRestartSeconds))
        throw InputError(QStringLiteral("\"%1\" is no time of 0 to %2 seconds")
                             .arg(text, QString::number(longestRestartSeconds)));
    server.restart(static_cast<int>(std::lround(seconds * 1000)));
}

const std::array<Command, 7> commands { {
    { "warn", "TEXT", "raise a warning",
      [](UnitServer& server, const QString& text) { server.unit().raiseWarning(text); } },
    { "clear", "all|TEXT", "clear all warnings, or those with this text", clear },
    { "version", "local NO DATE remote NO DATE",
      "set installed and available software; DATE as in 05. Mar 2024",
      [](UnitServer& server, const QString& text) { server.unit().setVersion(text); } },
    { "silence", nullptr, "publish nothing, with the ports still open",
      [](UnitServer& server, const QString&) { server.unit().silence(); } },
    { "garbage", "KIND", "publish garbage instead of reports",
      [](UnitServer& server, const QString& kind) { server.unit().speakGarbage(kind); } },
    { "speak", nullptr, "publish reports again, after silence or garbage",
      [](UnitServer& server, const QString&) { server.unit().speak(); } },
    { "restart", "SECONDS",
      "close the ports for so long and forget the warnings; the ready line is printed again", restart },
} };
} // namespace

Simulator::Simulator(const Scenario& scenario)
    : m_scenario(scenario)
{
    for (const UnitServer::Settings& settings : scenario.units) {
        m_units.push_back(std::make_unique<UnitServer>(settings));
        connect(m_units.back().get(), &UnitServer::announced, this, &Simulator::announced);
    }
}

void Simulator::start()
{
    for (const auto& unit : m_units)
        unit->open();
    for (const auto& unit : m_units)
        emit announced(unit->readyLine());
    playFrom(0, 0);
}

void Simulator::playFrom(int step, int nowMs)
{
    const bool isEnd = step == m_scenario.steps.size();
    if (isEnd && m_scenario.repeatMs == 0)
        return;
    const int atMs = isEnd ? m_scenario.repeatMs : m_scenario.steps.at(step).atMs;
    QTimer::singleShot(atMs - nowMs, Qt::PreciseTimer, this, [this, step, isEnd, atMs] {
        if (isEnd) {
            playFrom(0, 0);
            return;
        }
        const QString& command = m_scenario.steps.at(step).command;
        emit announced(QStringLiteral("step %1: ").arg(command) + execute(command));
        playFrom(step + 1, atMs);
    });
}

QString Simulator::execute(const QString& line)
{
    try {
        carryOut(line.trimmed());
        return QStringLiteral("ok");
    } catch (const InputError& error) {
        return QStringLiteral("error ") + error.text();
    }
}

void Simulator::carryOut(const QString& line)
{
    if (line == QLatin1String("quit")) {
        emit quitRequested();
        return;
    }
    static const QRegularExpression words(QStringLiteral("\\A(\\S*)\\s*(\\S*)\\s*(.*)\\z"));
    const QRegularExpressionMatch match = words.match(line);
    for (const Command& command : commands) {
        if (match.captured(1) != QLatin1String(command.name))
            continue;
        const QString key = match.captured(2);
        const QString argument = match.captured(3);
        if (key.isEmpty() || argument.isEmpty() != (command.argument == nullptr))
            throw InputError(QStringLiteral("usage: ") + command.usage());
        command.carryOut(unit(key), argument);
        unit(key).report();
        return;
    }
    throw InputError(QStringLiteral("unknown command \"%1\"").arg(line));
}

UnitServer& Simulator::unit(const QString& key) const
{
    for (const auto& unit : m_units) {
        if (unit->key() == key)
            return *unit;
    }
    throw InputError(QStringLiteral("unknown unit \"%1\"").arg(key));
}

QString Simulator::help()
{
    QString text;
    for (const Command& command : commands)
        text += QStringLiteral("  %1\n      %2\n").arg(command.usage(), QLatin1String(command.meaning));
    return text + QStringLiteral("  quit\n      end the program\nKinds of garbage: ")
        + Unit::garbageKinds().join(QStringLiteral(", "));
}
