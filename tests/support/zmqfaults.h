// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QVector>

// Stands between the program under test and the ZeroMQ library. Counts and keeps the calls of a link and
// every option that it sets, and can make the next call of a kind fail. Calls that only a publisher makes go
// straight to the library: its blocking receive and the options of its socket. May be used from any thread.
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
