// SPDX-License-Identifier: MIT
#pragma once

#include "unitcommands.h"

#include <QObject>

class Simulator;

// Understands and carries out the commands of standard input and of scenarios. A command is read as a whole
// before anything happens, so a scenario can be checked before it runs. Main thread.
class CommandInterpreter : public QObject {
    Q_OBJECT

public:
    // The simulator must outlive it.
    explicit CommandInterpreter(Simulator& simulator);

    // Carries one command out. The answer begins with "ok" or "error"; that of "list" goes on with a line
    // for each unit.
    QString execute(const QString& line);
    // What is wrong with a command as it stands, empty when nothing is. Carries nothing out.
    QString check(const QString& line) const;
    // The commands and their meaning.
    static QString help();

signals:
    void quitRequested();

private:
    ParsedCommand parse(const QString& line) const;
    ParsedCommand parseForUnit(const UnitCommand& command, const QString& rest) const;
    QString listUnits() const;

    Simulator& m_simulator;
};
