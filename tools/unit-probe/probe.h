// SPDX-License-Identifier: MIT
#pragma once

#include "findings.h"

#include "devices/device.h"
#include "devices/devicelist.h"

#include <QObject>

#include <optional>

// Listens to one unit as the monitor does, through the monitor's own record and link of a unit, and counts
// what comes. Main thread. The functions throw zmq::error_t where those of a Device do.
class Probe : public QObject {
public:
    // Looks the host up; blocks. Without a port, the one that a new unit has.
    Probe(const QString& host, std::optional<int> port, int seconds);

    // For that many seconds, in an event loop of its own. Only once, and only where there is an address.
    void listen();

    const Findings& findings() const { return m_findings; }

private:
    void count(const QByteArray& json);
    void takeCondition();
    void tryPort();

    // Before the unit, which still announces its end.
    Findings m_findings;
    DeviceList m_list { nullptr };
    Device m_device { &m_list };
};
