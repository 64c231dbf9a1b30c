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
    // The unit at this index. Both throw std::exception when the index is not in [0, count()). The program
    // calls only at().
    Device* at(int index) const;
    Device* device(int index);
    // The first unit with exactly this host, letter case included, and this ZeroMQ port; -1 if none.
    int indexOf(const QString& host, int zmqPort) const;
    // Whether the unit is in the list. The pointer is only compared, so the unit may be deleted already.
    bool contains(const Device* device) const;

    // Appends a unit that is neither monitored nor saved yet, and emits listChanged. Null, and nothing
    // changes, when a unit with this host and port exists.
    Device* addDevice(const QString& host, int zmqPort, int webPort, const QString& webScheme);
    // Takes the unit out, emits listChanged, and deletes it later; whether it is in the list is not checked.
    void removeDevice(Device* pDevice);
    // removeDevice() for the unit at this index. The program does not call it.
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
    // Writes the list to the default settings store. Returns whether it is stored there.
    bool save();

signals:
    void listChanged();
    void listRead();
    void listCleared();
    void deviceChanged(Device* pDevice);
    // Asks the windows to come to the front. Nothing emits it.
    void activateWindow();
    void deviceStatesChanged();
    void alertChanged();
    // The system has no open files left for the link of a monitored unit.
    void openFilesExhausted();

private:
    QWidget* m_parentWidget;
    QList<Device*> m_devices;
};
