// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <cstring>

// What a peer of ZeroMQ says, put together by hand, as RFC 23 of ZeroMQ has it (ZMTP 3.1).
namespace zmtp {

// The first words, with the name of a security mechanism.
inline QByteArray greeting(const char* mechanism)
{
    return QByteArray::fromHex("ff00000000000000017f0300") + QByteArray(mechanism).leftJustified(20, '\0')
        + QByteArray(32, '\0');
}

// The end of the handshake, with the kind of the peer's socket.
inline QByteArray readyAs(const char* socketType)
{
    const QByteArray body = QByteArray("\5READY\13Socket-Type", 18) + QByteArray(3, '\0')
        + static_cast<char>(std::strlen(socketType)) + socketType;
    return '\4' + QByteArray(1, static_cast<char>(body.size())) + body;
}

constexpr char more = 1;
constexpr char command = 4;

// A frame of at most 64 KiB.
inline QByteArray frame(const QByteArray& body, char flags = 0)
{
    constexpr char longFrame = 2;
    const auto size = static_cast<unsigned>(body.size());
    return QByteArray(1, static_cast<char>(flags | longFrame)) + QByteArray(6, '\0')
        + static_cast<char>(size >> 8U & 0xffU) + static_cast<char>(size & 0xffU) + body;
}

} // namespace zmtp
