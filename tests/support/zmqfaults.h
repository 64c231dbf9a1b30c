// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QVector>

// Stands between the program under test and the ZeroMQ library: counts and keeps the calls that a link
// makes, with every option that it sets, and has the next of a kind fail. What a link does not do, as a
// publisher's blocking receive or the options of its socket, goes straight through. May be used from any
// thread.
namespace zmqfaults {

enum class Call { NewContext, NewSocket, Subscribe, Connect, Disconnect, CloseSocket, InitMessage, Receive };

struct Record {
    Call call;
    // The endpoint, if there is one in the call.
    QByteArray endpoint;
    Qt::HANDLE thread;
    void* socket;
};

struct SocketOption {
    int option;
    QByteArray value;
};

// Forgets the calls and the failures that have not come up yet.
void reset();
// The next call of this kind fails with this error number and does not reach the library.
void failNext(Call call, int error);
// The next receive behind a frame that is not its message's last one fails.
void failBetweenFrames(int error);
// Whether a failure is still to come up.
bool isArmed();
int count(Call call);
// All calls but the receives, of which there are a thousand per second.
QVector<Record> records();
// The option calls zmq_ctx_set(option, value), in their order.
QVector<QPair<int, int>> contextOptions();
// All options of the subscriber sockets, whichever they are, in their order.
QVector<SocketOption> socketOptions();
// The microseconds from each receive to the next.
QVector<qint64> receiveGaps();

} // namespace zmqfaults
