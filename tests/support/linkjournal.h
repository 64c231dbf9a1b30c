// SPDX-License-Identifier: MIT
#pragma once

#include "link/qorinterface.h"
#include "support/literals.h"

#include <QObject>
#include <QStringList>

// The log lines of a stop, and how a journal names the states.
inline const auto endLine = "QorInterface::run(): thread closed!"_s;
inline const auto disconnectLine = "QorInterface::disconnectQor()"_s;
inline const auto disconnectedEntry = "state Getrennt"_s;
inline const auto pendingEntry = "state Warte auf Verbindung ..."_s;
inline const auto connectedEntry = "state Verbunden"_s;

// Keeps the signals of a link, with their values, in the order in which they reach the GUI thread. A
// QSignalSpy does not work here: the link thread emits the change to Pending and would write to the spy.
class LinkJournal : public QObject {
public:
    explicit LinkJournal(const QorInterface& link)
    {
        connect(&link, &QorInterface::hostChanged, this,
                [this](const QString& host) { entries.append("host "_s + host); });
        connect(&link, &QorInterface::ipAddressChanged, this,
                [this](const QString& address) { entries.append("address "_s + address); });
        connect(&link, &QorInterface::portChanged, this,
                [this, &link] { entries.append("port "_s + QString::number(link.port())); });
        connect(&link, &QorInterface::connectStateChanged, this,
                [this, &link] { entries.append("state "_s + link.stateText()); });
        connect(&link, &QorInterface::receiveQorMessage, this,
                [this](const QByteArray& json) { entries.append("text "_s + QString::fromUtf8(json)); });
    }

    QStringList entries;
};
