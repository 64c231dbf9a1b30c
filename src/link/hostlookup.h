// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

class QHostAddress;

// The address by which a unit is reached, as text: the first IPv4 address of the list, else its first
// address, else an empty text.
QString preferredAddress(const QList<QHostAddress>& addresses);

// Looks a host name or address text up and returns its preferred address, empty for an empty or unknown
// host. Blocks for the duration of the lookup.
QString lookUpAddress(const QString& host);
