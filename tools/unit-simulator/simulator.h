// SPDX-License-Identifier: MIT
#pragma once

#include "scenario.h"

#include <vector>

// Plays a scenario and carries out commands. Main thread.
class Simulator : public QObject {
    Q_OBJECT

public:
    explicit Simulator(const Scenario& scenario);

    // Announces the units once all their ports are open, and begins with the timeline. Throws InputError.
    void start();
    // Carries one command out and answers with "ok", or with "error" and what is wrong. Before start() the
    // units change in memory only.
    QString execute(const QString& line);
    // The commands and their meaning.
    static QString help();

    UnitServer& unit(const QString& key) const;

signals:
    // A line of output: of a unit that is ready, or of a step that was played.
    void announced(const QString& line);
    void quitRequested();

private:
    void carryOut(const QString& line);
    void playFrom(int step, int nowMs);

    Scenario m_scenario;
    std::vector<std::unique_ptr<UnitServer>> m_units;
};
