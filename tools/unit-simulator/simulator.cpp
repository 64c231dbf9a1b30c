// SPDX-License-Identifier: MIT
#include "simulator.h"

#include <algorithm>

Simulator::Simulator(const QVector<UnitSettings>& units)
{
    for (const UnitSettings& settings : units)
        add(settings);
}

void Simulator::add(const UnitSettings& settings)
{
    m_units.push_back(std::make_unique<UnitRunner>(settings, m_context));
    UnitRunner* unit = m_units.back().get();
    connect(unit, &UnitRunner::ready, this, [this, unit] { emit announced(unit->readyLine()); });
    connect(unit, &UnitRunner::failed, this, [this, unit](const QString& reason) {
        emit announced(QStringLiteral("unit ") + unit->unit().key() + QStringLiteral(" failed ") + reason);
    });
}

std::optional<QString> Simulator::start()
{
    for (const auto& unit : m_units) {
        if (const std::optional<QString> error = unit->start())
            return QStringLiteral("unit ") + unit->unit().key() + QStringLiteral(": ") + *error;
    }
    return std::nullopt;
}

UnitRunner* Simulator::find(const QString& key) const
{
    const auto found = std::find_if(m_units.begin(), m_units.end(),
                                    [&key](const auto& unit) { return unit->unit().key() == key; });
    return found == m_units.end() ? nullptr : found->get();
}
