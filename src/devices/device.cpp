// SPDX-License-Identifier: MIT
#include "devices/device.h"

#include "devices/devicelist.h"
#include "link/hostlookup.h"
#include "link/qorinterface.h"

#include <QDebug>
#include <QSettings>

#include <zmq.hpp>

namespace {
const auto hostKey = QStringLiteral("Host");
const auto zmqPortKey = QStringLiteral("ZmqPort");
const auto webPortKey = QStringLiteral("WebPort");
const auto webSchemeKey = QStringLiteral("WebScheme");
const auto ipAddressKey = QStringLiteral("IpAddress");
const auto monitoredKey = QStringLiteral("Monitored");
} // namespace

Device::Device(DeviceList* list)
    : QObject(list)
    , m_list(list)
    , m_link(new QorInterface)
{
    m_link->setDevice(this);
    connect(m_link.data(), &QorInterface::connectStateChanged, this, &Device::updateConnectState);
    connect(m_link.data(), &QorInterface::receiveQorMessage, this, &Device::processQorMessage);
    connect(this, &Device::deviceStateChanged, m_list, &DeviceList::deviceStatesChanged);
    connect(m_link.data(), &QorInterface::openFilesExhausted, m_list, &DeviceList::openFilesExhausted);
    updateConnectState();
}

Device::~Device()
{
    try {
        setMonitored(false);
    } catch (const zmq::error_t& error) {
        qDebug() << "Device::~Device():" << error.what();
    }
    // The thread of the link must end while the objects that receive its signals still exist. A listener may
    // have connected the link again just now. Its signals are blocked, because a listener may ask the unit
    // for a link that is already gone.
    m_link->blockSignals(true);
    m_link.reset();
}

template <typename Value> bool Device::store(Value& member, const Value& value, void (Device::*changed)())
{
    if (member == value)
        return false;
    member = value;
    emit(this->*changed)();
    m_list->notifyDeviceChanged(this);
    return true;
}

void Device::setHost(const QString& host)
{
    if (!store(m_host, host, &Device::hostChanged))
        return;
    updateIpAddress();
    m_link->updateConnection();
}

void Device::setZmqPort(int zmqPort)
{
    if (store(m_zmqPort, zmqPort, &Device::zmqPortChanged))
        m_link->updateConnection();
}

void Device::setWebPort(int webPort)
{
    store(m_webPort, webPort, &Device::webPortChanged);
}

void Device::setWebScheme(const QString& webScheme)
{
    store(m_webScheme, webScheme, &Device::webSchemeChanged);
}

void Device::setQorName(const QString& qorName)
{
    if (m_qorName == qorName)
        return;
    // Critical, so that a log of errors alone traces the names as well.
    qCritical() << "Device::setQorName()" << m_host << qorName;
    store(m_qorName, qorName, &Device::qorNameChanged);
}

void Device::setIpAddress(const QString& ipAddress)
{
    store(m_ipAddress, ipAddress, &Device::ipAddressChanged);
}

void Device::setMonitored(bool monitored)
{
    if (store(m_monitored, monitored, &Device::monitoredChanged))
        m_link->updateConnection();
}

void Device::save(QSettings& settings) const
{
    settings.setValue(hostKey, m_host);
    settings.setValue(zmqPortKey, m_zmqPort);
    settings.setValue(webPortKey, m_webPort);
    settings.setValue(webSchemeKey, m_webScheme);
    settings.setValue(ipAddressKey, m_ipAddress);
    settings.setValue(monitoredKey, m_monitored);
}

void Device::load(QSettings& settings)
{
    // No defaults: what is missing loads as an empty, zero or false value.
    setHost(settings.value(hostKey).toString());
    setZmqPort(settings.value(zmqPortKey).toInt());
    setWebPort(settings.value(webPortKey).toInt());
    setWebScheme(settings.value(webSchemeKey).toString());
    setIpAddress(settings.value(ipAddressKey).toString());
    setMonitored(settings.value(monitoredKey).toBool());
    // The stored address may be out of date, so it never survives loading.
    updateIpAddress();
}

void Device::updateIpAddress()
{
    setIpAddress(QString());
    setIpAddress(lookUpAddress(m_host));
}

QString Device::stateText() const
{
    return m_monitored ? m_link->stateText() : tr("Nicht überwacht");
}

QString Device::displayName() const
{
    return m_qorName.isEmpty() ? m_host + QLatin1Char(':') + QString::number(m_zmqPort) : m_qorName;
}
