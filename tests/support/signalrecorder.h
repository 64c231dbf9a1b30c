// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QStringList>

class Device;
class DeviceList;

// Writes down the signals of units, of their links and of their list in one sequence, so that a test can
// compare the order of what happens in different objects. A unit's signals stand by their own name, the
// others behind "list." and "link.".
class SignalRecorder : public QObject {
public:
    void watch(DeviceList& list);
    void watch(Device& device);
    void watchLink(const Device& device);

    // What was recorded since the last call.
    QStringList take();

private:
    template <typename Sender, typename Signal>
    void record(const Sender* sender, Signal signal, const QString& name);

    QStringList m_names;
};
