// SPDX-License-Identifier: MIT
#include "link/hostlookup.h"

#include <QHostAddress>
#include <QHostInfo>

#include <algorithm>

QString preferredAddress(const QList<QHostAddress>& addresses)
{
    if (addresses.isEmpty())
        return {};
    const auto ipv4 = std::find_if(addresses.cbegin(), addresses.cend(), [](const QHostAddress& address) {
        return address.protocol() == QAbstractSocket::IPv4Protocol;
    });
    return (ipv4 == addresses.cend() ? addresses.first() : *ipv4).toString();
}

QString lookUpAddress(const QString& host)
{
    if (host.isEmpty())
        return {};
    // An address is its own result. QHostInfo would add a reverse lookup, which blocks for seconds when the
    // name server is gone.
    const QHostAddress literal(host);
    return preferredAddress(literal.isNull() ? QHostInfo::fromName(host).addresses()
                                             : QList<QHostAddress> { literal });
}
