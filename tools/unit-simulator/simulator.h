// SPDX-License-Identifier: MIT
#pragma once

#include "unitrunner.h"

#include <memory>
#include <vector>

// All units of one process, in the order they were given. Main thread.
class Simulator : public QObject {
    Q_OBJECT

public:
    explicit Simulator(const QVector<UnitSettings>& units);

    // Opens every unit's ports; returns the first reason why one cannot.
    std::optional<QString> start();
    const std::vector<std::unique_ptr<UnitRunner>>& units() const { return m_units; }
    // Null when there is no such unit.
    UnitRunner* find(const QString& key) const;

signals:
    // What happens without a command, as a line of output.
    void announced(const QString& line);

private:
    void add(const UnitSettings& settings);

    // Goes after the units, whose sockets live in it.
    zmq::context_t m_context;
    std::vector<std::unique_ptr<UnitRunner>> m_units;
};
