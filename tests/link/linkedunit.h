// SPDX-License-Identifier: MIT
#pragma once

#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

// What the tests of the link share.

inline QString loopback()
{
    return QStringLiteral("127.0.0.1");
}

// The log lines of a stop, and how a journal names the states.
inline const auto endLine = QStringLiteral("QorInterface::run(): thread closed!");
inline const auto disconnectLine = QStringLiteral("QorInterface::disconnectQor()");
inline const auto disconnectedEntry = QStringLiteral("state Getrennt");
inline const auto pendingEntry = QStringLiteral("state Warte auf Verbindung ...");
inline const auto connectedEntry = QStringLiteral("state Verbunden");

// A text that a unit may well send, and that its record says nothing about in the log.
inline const QByteArray statusReport = R"({"host":"","cmd":"StatusReport","value":{"warnings":[]}})";

// A list with one unit that is not monitored yet, and the unit's link.
struct LinkedUnit {
    explicit LinkedUnit(int port)
        : device(list.addDevice(loopback(), port, 80, QStringLiteral("http")))
        , link(*device->qorInterface())
    {
    }

    DeviceList list { nullptr };
    Device* device;
    QorInterface& link;
};

// Keeps the signals of a link in the order in which the GUI thread is told of them. A spy would be written
// to by the link thread, which emits the change to Pending.
class SignalJournal : public QObject {
public:
    explicit SignalJournal(const QorInterface& link)
    {
        connect(&link, &QorInterface::hostChanged, this,
                [this](const QString& host) { entries.append(QStringLiteral("host ") + host); });
        connect(&link, &QorInterface::ipAddressChanged, this,
                [this](const QString& address) { entries.append(QStringLiteral("address ") + address); });
        connect(&link, &QorInterface::portChanged, this,
                [this, &link] { entries.append(QStringLiteral("port ") + QString::number(link.port())); });
        connect(&link, &QorInterface::connectStateChanged, this,
                [this, &link] { entries.append(QStringLiteral("state ") + link.stateText()); });
        connect(&link, &QorInterface::receiveQorMessage, this, [this](const QByteArray& json) {
            entries.append(QStringLiteral("text ") + QString::fromUtf8(json));
        });
    }

    QStringList entries;
};
