// SPDX-License-Identifier: MIT
#include "link/hostlookup.h"

#include "base/detachedthread.h"

#include <QHash>
#include <QHostAddress>
#include <QHostInfo>

#include <algorithm>
#include <memory>
#include <system_error>

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;
using Answer = std::shared_future<HostAnswer>;

// As long as the calls of one start or of one click may take.
constexpr auto answerLifetime = 5s;

// Of the names that were asked for lately.
QHash<QString, Answer>& answers()
{
    static QHash<QString, Answer> all;
    return all;
}

// When a caller of lookUpAddress() last had to wait.
Clock::time_point lastWait;

bool isUnderWay(const Answer& answer)
{
    return answer.wait_for(0s) != std::future_status::ready;
}

bool serves(const Answer& answer)
{
    // An answer does not grow old while a start waits for another one.
    return isUnderWay(answer) || Clock::now() - std::max(answer.get().time, lastWait) < answerLifetime;
}

HostAnswer resolve(const QString& host)
{
    const QList<QHostAddress> addresses = QHostInfo::fromName(host).addresses();
    QStringList texts;
    for (const QHostAddress& address : addresses)
        texts.append(address.toString());
    return { preferredAddress(addresses), texts, Clock::now() };
}

Answer resolveInThread(const QString& host)
{
    const auto task = std::make_shared<std::packaged_task<HostAnswer()>>([host] { return resolve(host); });
    try {
        // Nobody waits for its end: without a name server it may take half a minute.
        startDetached([task] { (*task)(); });
    } catch (const std::system_error&) {
        // The system has no further thread to give.
        (*task)();
    }
    return task->get_future();
}

} // namespace

QString preferredAddress(const QList<QHostAddress>& addresses)
{
    if (addresses.isEmpty())
        return {};
    const auto ipv4 = std::find_if(addresses.cbegin(), addresses.cend(), [](const QHostAddress& address) {
        return address.protocol() == QAbstractSocket::IPv4Protocol;
    });
    return (ipv4 == addresses.cend() ? addresses.first() : *ipv4).toString();
}

std::shared_future<HostAnswer> beginLookUp(const QString& host)
{
    // An address is its own result. QHostInfo would add a reverse lookup, which blocks for seconds when the
    // name server is gone.
    const QHostAddress literal(host);
    if (host.isEmpty() || !literal.isNull()) {
        std::promise<HostAnswer> known;
        known.set_value(host.isEmpty()
                            ? HostAnswer { {}, {}, Clock::now() }
                            : HostAnswer { literal.toString(), { literal.toString() }, Clock::now() });
        return known.get_future();
    }
    auto& all = answers();
    for (auto it = all.begin(); it != all.end();)
        it = serves(it.value()) ? std::next(it) : all.erase(it);
    const auto known = all.constFind(host);
    return known != all.cend() ? *known : *all.insert(host, resolveInThread(host));
}

void lookUpAfresh(const QStringList& hosts)
{
    auto& all = answers();
    for (auto it = all.begin(); it != all.end();)
        it = isUnderWay(it.value()) ? std::next(it) : all.erase(it);
    for (const QString& host : hosts)
        beginLookUp(host);
}

QString lookUpAddress(const QString& host)
{
    const Answer answer = beginLookUp(host);
    const bool waits = isUnderWay(answer);
    answer.wait();
    if (waits)
        lastWait = Clock::now();
    return answer.get().address;
}

bool isLookUpUnderWay()
{
    return std::any_of(answers().cbegin(), answers().cend(), isUnderWay);
}
