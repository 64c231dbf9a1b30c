// SPDX-License-Identifier: MIT
#include "support/signalrecorder.h"

#include "link/qorinterface.h"
#include "support/literals.h"

template <typename Sender, typename Signal>
void SignalRecorder::record(const Sender* sender, Signal signal, const QString& name)
{
    connect(sender, signal, this, [this, name] {
        if (!m_ignored.contains(name))
            m_names.append(name);
    });
}

SignalRecorder::SignalRecorder(const DeviceList& list)
{
    record(&list, &DeviceList::listChanged, "list.listChanged"_s);
    record(&list, &DeviceList::listRead, "list.listRead"_s);
    record(&list, &DeviceList::listCleared, "list.listCleared"_s);
    record(&list, &DeviceList::deviceChanged, "list.deviceChanged"_s);
    record(&list, &DeviceList::activateWindow, "list.activateWindow"_s);
    record(&list, &DeviceList::deviceStatesChanged, "list.deviceStatesChanged"_s);
    record(&list, &DeviceList::alertChanged, "list.alertChanged"_s);
}

SignalRecorder::SignalRecorder(const DeviceList& list, const Device& device)
    : SignalRecorder(list)
{
    record(&device, &Device::hostChanged, "hostChanged"_s);
    record(&device, &Device::zmqPortChanged, "zmqPortChanged"_s);
    record(&device, &Device::webPortChanged, "webPortChanged"_s);
    record(&device, &Device::webSchemeChanged, "webSchemeChanged"_s);
    record(&device, &Device::qorNameChanged, "qorNameChanged"_s);
    record(&device, &Device::ipAddressChanged, "ipAddressChanged"_s);
    record(&device, &Device::monitoredChanged, "monitoredChanged"_s);
    record(&device, &Device::versionDataChanged, "versionDataChanged"_s);
    record(&device, &Device::deviceStateChanged, "deviceStateChanged"_s);
}

void SignalRecorder::watchLink(const Device& device)
{
    const QorInterface* link = device.qorInterface();
    record(link, &QorInterface::hostChanged, "link.hostChanged"_s);
    record(link, &QorInterface::portChanged, "link.portChanged"_s);
    record(link, &QorInterface::ipAddressChanged, "link.ipAddressChanged"_s);
}

QString SignalRecorder::take()
{
    const QString names = m_names.join(QLatin1Char(' '));
    m_names.clear();
    return names;
}
