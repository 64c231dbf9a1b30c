// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>

class Device;
class QString;
class QWidget;

// The ordered list of all configured units, kept in the default settings store, and the one object that the
// rest of the program connects to for their events. Owned by the main window, lives on the GUI thread. It
// owns its units; a removed one is deleted when control returns to the event loop.
class DeviceList : public QObject {
    Q_OBJECT

public:
    explicit DeviceList(QWidget* parent);
    ~DeviceList() override;
    Q_DISABLE_COPY_MOVE(DeviceList)

    // The widget that message boxes about a unit belong to; may be null.
    QWidget* parentWidget() const { return m_parentWidget; }

    int count() const { return m_devices.count(); }
    // The unit at an index of [0, count()); both throw std::exception outside of it. The program uses the
    // first.
    Device* at(int index) const;
    Device* device(int index);
    // The first unit with exactly this host, letter case included, and this ZeroMQ port; -1 if none.
    int indexOf(const QString& host, int zmqPort) const;
    // Whether the unit is in the list; it is only compared, so that it may have been deleted.
    bool contains(const Device* device) const;

    // Appends a unit that is neither monitored nor saved yet, and emits listChanged. Null, and nothing
    // changes, when a unit with this host and port exists.
    Device* addDevice(const QString& host, int zmqPort, int webPort, const QString& webScheme);
    // Takes the unit out, emits listChanged, and deletes it later; whether it is in the list is not checked.
    void removeDevice(Device* pDevice);
    // The same for an index, which the program does not use.
    void removeAt(int index);
    // Does nothing for null.
    void setMonitored(Device* pDevice, bool on);

    // Called by the units on every change of a property; emits deviceChanged.
    void notifyDeviceChanged(Device* pDevice);

    // Empties the list, emits listChanged and listCleared, and deletes the units later.
    void clear();
    // Replaces the list by the units of the default settings store. Emits listChanged for each, then
    // listRead. Throws zmq::error_t when the link of a monitored unit refuses its endpoint.
    void load();
    // Writes the list to the default settings store.
    void save();

signals:
    void listChanged();
    void listRead();
    void listCleared();
    void deviceChanged(Device* pDevice);
    // For windows that would come to the front; nothing emits it.
    void activateWindow();
    void deviceStatesChanged();
    void alertChanged();

private:
    QWidget* m_parentWidget;
    QList<Device*> m_devices;
};
