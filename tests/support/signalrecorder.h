// SPDX-License-Identifier: MIT
#pragma once

#include "devices/device.h"
#include "devices/devicelist.h"

#include <QObject>
#include <QStringList>

// Writes down the signals of a list, of a unit and of its link in one sequence, so that a test can compare
// the order of what happens in different objects. A unit's signals stand by their own name, the others behind
// "list." and "link.".
class SignalRecorder : public QObject {
public:
    explicit SignalRecorder(const DeviceList& list);
    SignalRecorder(const DeviceList& list, const Device& device);
    void watchLink(const Device& device);

    // From now on these are left out.
    void ignore(const QStringList& names) { m_ignored = names; }
    // What was recorded since the last call, joined by blanks.
    QString take();

private:
    template <typename Sender, typename Signal>
    void record(const Sender* sender, Signal signal, const QString& name);

    QStringList m_ignored;
    QStringList m_names;
};

// A unit of a list that does not contain it, and what they signal once it is there.
struct RecordedUnit {
    DeviceList list { nullptr };
    Device device { &list };
    SignalRecorder recorder { list, device };
};
