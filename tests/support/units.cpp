// SPDX-License-Identifier: MIT
#include "support/units.h"

#include <QJsonDocument>
#include <QSignalSpy>
#include <QTest>

namespace {
QByteArray text(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}
} // namespace

QByteArray statusReport(const QString& name, const QJsonArray& warnings)
{
    return text({
        { "host"_s, name },
        { "cmd"_s, "StatusReport"_s },
        { "value"_s, QJsonObject { { "warnings"_s, warnings } } },
    });
}

QByteArray versionInfo(const QString& name, const QString& localNo, const QString& localDate,
                       const QString& remoteNo, const QString& remoteDate)
{
    return text({
        { "host"_s, name },
        { "cmd"_s, "VersionInfo"_s },
        { "localQorVersionNo"_s, localNo },
        { "localQorVersionDate"_s, localDate },
        { "remoteQorVersionNo"_s, remoteNo },
        { "remoteQorVersionDate"_s, remoteDate },
    });
}

QByteArray newerVersionInfo(const QString& name)
{
    return versionInfo(name, "2.1"_s, "01. Jan 2025"_s, "2.2"_s, "02. Mar 2025"_s);
}

QJsonObject warning(const QString& text, const QString& time)
{
    return { { "date"_s, "2025-03-02"_s }, { "time"_s, time }, { "displaytext"_s, text } };
}

QStringList displayTexts(const Device& device)
{
    QStringList texts;
    const QJsonArray messages = device.messages();
    for (const QJsonValue& message : messages)
        texts.append(message.toObject().value(QLatin1String("displaytext")).toString());
    return texts;
}

Device* addUnit(DeviceList& list, int zmqPort)
{
    return list.addDevice(loopback, zmqPort, 80, "http"_s);
}

Device* addMonitoredUnit(DeviceList& list, int zmqPort)
{
    Device* device = addUnit(list, zmqPort);
    device->setMonitored(true);
    return device;
}

bool LinkedUnit::monitor()
{
    device->setMonitored(true);
    return publisher.waitForSubscriber();
}

bool LinkedUnit::speak()
{
    const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
    publisher.send(statusReport());
    return QTest::qWaitFor([&] { return received.count() == 1; });
}

bool connectTo(QorInterface& link, Publisher& publisher)
{
    return link.connectQor(loopback, publisher.port()) && publisher.waitForSubscriber();
}
