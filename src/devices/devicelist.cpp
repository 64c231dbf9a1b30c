// SPDX-License-Identifier: MIT
#include "devices/devicelist.h"

#include "base/writesettings.h"
#include "devices/device.h"
#include "link/hostlookup.h"
#include "link/qorinterface.h"

#include <QSettings>
#include <QWidget>

#include <algorithm>
#include <exception>

namespace {
QString groupName(int index)
{
    return QStringLiteral("Device%1").arg(index);
}

QString hostKeyOf(int index)
{
    return groupName(index) + QStringLiteral("/Host");
}

// Each of them takes a while to stop. So they all begin before the first is waited for.
void announceStops(const QList<Device*>& devices)
{
    for (const Device* device : devices)
        device->qorInterface()->announceStop();
}
} // namespace

DeviceList::DeviceList(QWidget* parent)
    : QObject(parent)
    , m_parentWidget(parent)
{
}

DeviceList::~DeviceList()
{
    clear();
    // A unit announces its end through the list, so all of them go while it still is one, the ones that
    // wait for their deferred deletion too.
    const auto devices = findChildren<Device*>(QString(), Qt::FindDirectChildrenOnly);
    announceStops(devices);
    qDeleteAll(devices);
}

Device* DeviceList::at(int index) const
{
    if (index < 0 || index >= count())
        throw std::exception();
    return m_devices.at(index);
}

Device* DeviceList::device(int index)
{
    return at(index);
}

int DeviceList::indexOf(const QString& host, int zmqPort) const
{
    const auto found = std::find_if(m_devices.cbegin(), m_devices.cend(), [&](const Device* device) {
        return device->host() == host && device->zmqPort() == zmqPort;
    });
    return found == m_devices.cend() ? -1 : static_cast<int>(std::distance(m_devices.cbegin(), found));
}

bool DeviceList::contains(const Device* device) const
{
    return std::find(m_devices.cbegin(), m_devices.cend(), device) != m_devices.cend();
}

Device* DeviceList::addDevice(const QString& host, int zmqPort, int webPort, const QString& webScheme)
{
    if (indexOf(host, zmqPort) != -1)
        return nullptr;
    auto* device = new Device(this);
    device->setHost(host);
    device->setZmqPort(zmqPort);
    device->setWebPort(webPort);
    device->setWebScheme(webScheme);
    m_devices.append(device);
    emit listChanged();
    return device;
}

void DeviceList::removeDevice(Device* pDevice)
{
    m_devices.removeAll(pDevice);
    emit listChanged();
    if (pDevice)
        pDevice->deleteLater();
}

void DeviceList::removeAt(int index)
{
    removeDevice(device(index));
}

void DeviceList::setMonitored(Device* pDevice, bool on)
{
    if (pDevice)
        pDevice->setMonitored(on);
}

void DeviceList::notifyDeviceChanged(Device* pDevice)
{
    emit deviceChanged(pDevice);
}

void DeviceList::clear()
{
    const QList<Device*> removed = m_devices;
    m_devices.clear();
    emit listChanged();
    emit listCleared();
    announceStops(removed);
    std::for_each(removed.crbegin(), removed.crend(), [](Device* device) { device->deleteLater(); });
}

void DeviceList::load()
{
    QSettings settings;
    clear();
    QStringList hosts;
    for (int i = 0; settings.contains(hostKeyOf(i)); ++i)
        hosts.append(settings.value(hostKeyOf(i)).toString());
    // All at once, so that a start without a name server costs one time-out.
    lookUpAfresh(hosts);
    for (int i = 0; i < hosts.size(); ++i) {
        auto* device = new Device(this);
        settings.beginGroup(groupName(i));
        device->load(settings);
        settings.endGroup();
        m_devices.append(device);
        emit listChanged();
    }
    emit listRead();
}

bool DeviceList::save()
{
    return writeSettings([this](QSettings& settings) {
        for (int i = 0; i < count(); ++i) {
            settings.beginGroup(groupName(i));
            at(i)->save(settings);
            settings.endGroup();
        }
        // Only the one group behind the last unit goes: loading stops at the first gap, and what lies further
        // behind is overwritten when the list grows back to it.
        settings.remove(groupName(count()));
    });
}
