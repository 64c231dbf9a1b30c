// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <future>

class QHostAddress;

// The address by which a unit is reached, as text: the first IPv4 address of the list, else its first
// address, else an empty text.
QString preferredAddress(const QList<QHostAddress>& addresses);

// Names are looked up in threads of their own, each name once at a time. An answer, also that there is none,
// serves everyone who asks in the seconds that follow. Call these functions on the GUI thread.

struct HostAnswer {
    // The preferred address, empty for an empty or unknown host.
    QString address;
    // All of them, in the order of the system.
    QStringList addresses;
    std::chrono::steady_clock::time_point time;
};

// Looks a host name or address text up without waiting for the answer.
std::shared_future<HostAnswer> beginLookUp(const QString& host);
// Begins to look all of them up, side by side. Answers of before do not serve any more.
void lookUpAfresh(const QStringList& hosts);
// The address of beginLookUp(). Blocks for the duration of the lookup.
QString lookUpAddress(const QString& host);
// Whether a lookup has not been answered yet. Nothing can end it before its time.
bool isLookUpUnderWay();
