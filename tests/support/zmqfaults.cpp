// SPDX-License-Identifier: MIT
#include "support/zmqfaults.h"

#include "support/zmqlibrary.h"

#include <QThread>

#include <zmq.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <utility>

namespace {

using zmqfaults::Call;

constexpr size_t callKinds = 8;

struct {
    // Not a QMutex: the thread sanitizer does not see all of its locking and would report false races.
    std::mutex mutex;
    std::array<int, callKinds> counts {};
    std::array<int, callKinds> errors {};
    int errorBetweenFrames = 0;
    QVector<zmqfaults::Record> records;
    QVector<QPair<int, int>> contextOptions;
    QVector<zmqfaults::SocketOption> socketOptions;
    QVector<std::chrono::steady_clock::time_point> receiveTimes;
    // The sockets that are open, of those that only links make.
    QVector<void*> subscribers;
} book;

// Enters the call; false, and errno set, when it is to fail.
bool admit(Call call, void* socket = nullptr, const char* endpoint = nullptr)
{
    const std::lock_guard lock(book.mutex);
    const auto kind = static_cast<size_t>(call);
    ++book.counts.at(kind);
    if (call != Call::Receive)
        book.records.append({ call, endpoint, QThread::currentThreadId(), socket });
    else
        book.receiveTimes.append(std::chrono::steady_clock::now());
    if (book.errors.at(kind) == 0)
        return true;
    errno = std::exchange(book.errors.at(kind), 0);
    return false;
}

// The library's own function of the given name, behind the one of this program.
template <typename Function> Function* original(const char* name)
{
    return reinterpret_cast<Function*>(zmqLibraryFunction(name));
}

} // namespace

namespace zmqfaults {

void reset()
{
    const std::lock_guard lock(book.mutex);
    book.counts.fill(0);
    book.errors.fill(0);
    book.errorBetweenFrames = 0;
    book.records.clear();
    book.contextOptions.clear();
    book.socketOptions.clear();
    book.receiveTimes.clear();
}

void failNext(Call call, int error)
{
    const std::lock_guard lock(book.mutex);
    book.errors.at(static_cast<size_t>(call)) = error;
}

void failBetweenFrames(int error)
{
    const std::lock_guard lock(book.mutex);
    book.errorBetweenFrames = error;
}

bool isArmed()
{
    const std::lock_guard lock(book.mutex);
    return book.errorBetweenFrames != 0
        || std::any_of(book.errors.cbegin(), book.errors.cend(), [](int error) { return error != 0; });
}

int count(Call call)
{
    const std::lock_guard lock(book.mutex);
    return book.counts.at(static_cast<size_t>(call));
}

QVector<Record> records()
{
    const std::lock_guard lock(book.mutex);
    return book.records;
}

QVector<QPair<int, int>> contextOptions()
{
    const std::lock_guard lock(book.mutex);
    return book.contextOptions;
}

QVector<SocketOption> socketOptions()
{
    const std::lock_guard lock(book.mutex);
    return book.socketOptions;
}

QVector<qint64> receiveGaps()
{
    const std::lock_guard lock(book.mutex);
    QVector<qint64> gaps;
    for (int i = 1; i < book.receiveTimes.size(); ++i) {
        const auto gap = book.receiveTimes.at(i) - book.receiveTimes.at(i - 1);
        gaps.append(std::chrono::duration_cast<std::chrono::microseconds>(gap).count());
    }
    return gaps;
}

} // namespace zmqfaults

// The program calls these functions, because the linker finds them before those of the library.
extern "C" {

void* zmq_ctx_new()
{
    return admit(Call::NewContext) ? original<decltype(zmq_ctx_new)>("zmq_ctx_new")() : nullptr;
}

int zmq_ctx_set(void* context, int option, int value)
{
    {
        const std::lock_guard lock(book.mutex);
        book.contextOptions.append({ option, value });
    }
    return original<decltype(zmq_ctx_set)>("zmq_ctx_set")(context, option, value);
}

void* zmq_socket(void* context, int type)
{
    if (type == ZMQ_SUB && !admit(Call::NewSocket))
        return nullptr;
    void* const socket = original<decltype(zmq_socket)>("zmq_socket")(context, type);
    if (type == ZMQ_SUB) {
        const std::lock_guard lock(book.mutex);
        book.subscribers.append(socket);
    }
    return socket;
}

int zmq_setsockopt(void* socket, int option, const void* value, size_t size)
{
    {
        const std::lock_guard lock(book.mutex);
        if (book.subscribers.contains(socket))
            book.socketOptions.append(
                { option, QByteArray(static_cast<const char*>(value), static_cast<int>(size)) });
    }
    if (option == ZMQ_SUBSCRIBE && !admit(Call::Subscribe, socket))
        return -1;
    return original<decltype(zmq_setsockopt)>("zmq_setsockopt")(socket, option, value, size);
}

int zmq_connect(void* socket, const char* endpoint)
{
    return admit(Call::Connect, socket, endpoint)
        ? original<decltype(zmq_connect)>("zmq_connect")(socket, endpoint)
        : -1;
}

int zmq_disconnect(void* socket, const char* endpoint)
{
    return admit(Call::Disconnect, socket, endpoint)
        ? original<decltype(zmq_disconnect)>("zmq_disconnect")(socket, endpoint)
        : -1;
}

int zmq_close(void* socket)
{
    {
        // The next socket at this address may not belong to a link.
        const std::lock_guard lock(book.mutex);
        book.subscribers.removeAll(socket);
    }
    return admit(Call::CloseSocket, socket) ? original<decltype(zmq_close)>("zmq_close")(socket) : -1;
}

int zmq_msg_init_size(zmq_msg_t* message, size_t size)
{
    return admit(Call::InitMessage)
        ? original<decltype(zmq_msg_init_size)>("zmq_msg_init_size")(message, size)
        : -1;
}

int zmq_msg_recv(zmq_msg_t* message, void* socket, int flags)
{
    const bool linksOwn = (flags & ZMQ_DONTWAIT) != 0;
    if (linksOwn && !admit(Call::Receive))
        return -1;
    const int result = original<decltype(zmq_msg_recv)>("zmq_msg_recv")(message, socket, flags);
    if (linksOwn && result >= 0 && zmq_msg_more(message) != 0) {
        const std::lock_guard lock(book.mutex);
        if (book.errorBetweenFrames != 0)
            book.errors.at(static_cast<size_t>(Call::Receive)) = std::exchange(book.errorBetweenFrames, 0);
    }
    return result;
}
}
