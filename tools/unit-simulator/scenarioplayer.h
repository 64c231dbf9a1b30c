// SPDX-License-Identifier: MIT
#pragma once

#include "scenario.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

// Plays the timeline of a scenario: says which command is due. Main thread.
class ScenarioPlayer : public QObject {
    Q_OBJECT

public:
    explicit ScenarioPlayer(Scenario scenario);

    void start();

signals:
    void due(const ScenarioStep& step);

private:
    void waitForNext();
    void play();

    Scenario m_scenario;
    QElapsedTimer m_clock;
    QTimer m_timer;
    // When the present round began, on the clock.
    qint64 m_roundMs = 0;
    int m_next = 0;
};
