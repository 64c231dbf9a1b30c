// SPDX-License-Identifier: MIT
#pragma once

#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/publisher.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

#include <memory>

// Units as tests need them: what they publish, what the monitor makes of it, and units in a list.

inline const auto loopback = "127.0.0.1"_s;

// What a unit of this name publishes.
QByteArray statusReport(const QString& name = {}, const QJsonArray& warnings = {});
QByteArray versionInfo(const QString& name, const QString& localNo, const QString& localDate,
                       const QString& remoteNo, const QString& remoteDate);
// The version report of a unit for which there is a version 2.2.
QByteArray newerVersionInfo(const QString& name);

// A unit's warning of this text, raised at this time of 2025-03-02.
QJsonObject warning(const QString& text, const QString& time = "08:15:00"_s);

// The column "displaytext" of a unit's monitor messages.
QStringList displayTexts(const Device& device);
// The texts of the link states, as monitor messages show them.
inline const auto connectedText = "Verbindung hergestellt"_s;
inline const auto pendingText = "Warte auf Verbindung ..."_s;
inline const auto disconnectedText = "Verbindung getrennt"_s;
inline const auto incompatibleText = "QOR Version inkompatibel"_s;

// A unit on the loopback address that is not monitored. Its idle link counts as disconnected, so its alert
// flag is set.
Device* addUnit(DeviceList& list, int zmqPort);
Device* addMonitoredUnit(DeviceList& list, int zmqPort);

// A unit that publishes, alone in its list and not monitored yet. Ends with the list at the latest.
struct LinkedUnit {
    // Monitors the unit, and waits until its publisher knows the link.
    bool monitor();
    // Publishes a report, and waits until it has arrived.
    bool speak();

    Publisher publisher;
    std::unique_ptr<DeviceList> list = std::make_unique<DeviceList>(nullptr);
    Device* device = addUnit(*list, publisher.port());
    QorInterface& link = *device->qorInterface();
};

// Connects a link that belongs to no unit, and waits until the publisher knows it.
bool connectTo(QorInterface& link, Publisher& publisher);
