// SPDX-License-Identifier: MIT
#include "support/signalrecorder.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"

template <typename Sender, typename Signal>
void SignalRecorder::record(const Sender* sender, Signal signal, const QString& name)
{
    connect(sender, signal, this, [this, name] { m_names.append(name); });
}

void SignalRecorder::watch(DeviceList& list)
{
    record(&list, &DeviceList::listChanged, QStringLiteral("list.listChanged"));
    record(&list, &DeviceList::listRead, QStringLiteral("list.listRead"));
    record(&list, &DeviceList::listCleared, QStringLiteral("list.listCleared"));
    record(&list, &DeviceList::deviceChanged, QStringLiteral("list.deviceChanged"));
    record(&list, &DeviceList::activateWindow, QStringLiteral("list.activateWindow"));
    record(&list, &DeviceList::deviceStatesChanged, QStringLiteral("list.deviceStatesChanged"));
    record(&list, &DeviceList::alertChanged, QStringLiteral("list.alertChanged"));
}

void SignalRecorder::watch(Device& device)
{
    record(&device, &Device::hostChanged, QStringLiteral("hostChanged"));
    record(&device, &Device::zmqPortChanged, QStringLiteral("zmqPortChanged"));
    record(&device, &Device::webPortChanged, QStringLiteral("webPortChanged"));
    record(&device, &Device::webSchemeChanged, QStringLiteral("webSchemeChanged"));
    record(&device, &Device::qorNameChanged, QStringLiteral("qorNameChanged"));
    record(&device, &Device::ipAddressChanged, QStringLiteral("ipAddressChanged"));
    record(&device, &Device::monitoredChanged, QStringLiteral("monitoredChanged"));
    record(&device, &Device::versionDataChanged, QStringLiteral("versionDataChanged"));
    record(&device, &Device::deviceStateChanged, QStringLiteral("deviceStateChanged"));
}

void SignalRecorder::watchLink(const Device& device)
{
    const QorInterface* link = device.qorInterface();
    record(link, &QorInterface::hostChanged, QStringLiteral("link.hostChanged"));
    record(link, &QorInterface::portChanged, QStringLiteral("link.portChanged"));
    record(link, &QorInterface::ipAddressChanged, QStringLiteral("link.ipAddressChanged"));
}

QStringList SignalRecorder::take()
{
    QStringList names;
    names.swap(m_names);
    return names;
}
