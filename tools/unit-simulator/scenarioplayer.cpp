// SPDX-License-Identifier: MIT
#include "scenarioplayer.h"

#include <algorithm>
#include <utility>

ScenarioPlayer::ScenarioPlayer(Scenario scenario)
    : m_scenario(std::move(scenario))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &ScenarioPlayer::play);
}

void ScenarioPlayer::start()
{
    if (m_scenario.steps.isEmpty())
        return;
    m_clock.start();
    m_roundMs = 0;
    m_next = 0;
    waitForNext();
}

void ScenarioPlayer::waitForNext()
{
    if (m_next == m_scenario.steps.size()) {
        if (!m_scenario.repeatMs)
            return;
        m_next = 0;
        m_roundMs += *m_scenario.repeatMs;
        // After the computer has slept the missed rounds are not made up for.
        if (m_clock.elapsed() > m_roundMs + *m_scenario.repeatMs)
            m_roundMs = m_clock.elapsed();
    }
    const qint64 dueMs = m_roundMs + m_scenario.steps.at(m_next).atMs;
    m_timer.start(static_cast<int>(std::max<qint64>(0, dueMs - m_clock.elapsed())));
}

void ScenarioPlayer::play()
{
    const ScenarioStep step = m_scenario.steps.at(m_next++);
    emit due(step);
    waitForNext();
}
