// SPDX-License-Identifier: MIT
#include "support/fakenames.h"

#include <QHash>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netdb.h>

#include <chrono>
#include <mutex>
#include <thread>

namespace {

struct {
    // Not a QMutex: the thread sanitizer does not see all of its locking and would report false races.
    std::mutex mutex;
    QHash<QByteArray, QByteArray> addresses;
    QHash<QByteArray, int> counts;
    int delayMs = 0;
} book;

} // namespace

namespace fakenames {

void reset()
{
    const std::lock_guard lock(book.mutex);
    book.addresses.clear();
    book.counts.clear();
    book.delayMs = 0;
}

void set(const QString& name, const QString& address)
{
    const std::lock_guard lock(book.mutex);
    book.addresses.insert(name.toLatin1(), address.toLatin1());
}

void setDelay(int milliseconds)
{
    const std::lock_guard lock(book.mutex);
    book.delayMs = milliseconds;
}

int count(const QString& name)
{
    const std::lock_guard lock(book.mutex);
    return book.counts.value(name.toLatin1());
}

} // namespace fakenames

// Takes the place of the system's own, for Qt as well.
extern "C" int getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** result)
{
    using Function = int(const char*, const char*, const addrinfo*, addrinfo**);
    static auto* const original = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "getaddrinfo"));
    // ZeroMQ reads its addresses by this function, too.
    if (in_addr number {}; !name || inet_pton(AF_INET, name, &number) == 1)
        return original(name, service, hints, result);
    QByteArray address;
    int delayMs = 0;
    {
        const std::lock_guard lock(book.mutex);
        ++book.counts[name];
        address = book.addresses.value(name);
        delayMs = book.delayMs;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    if (address.isEmpty())
        return EAI_NONAME;
    return original(address.constData(), service, hints, result);
}
