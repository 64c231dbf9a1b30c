// SPDX-License-Identifier: MIT
#include "endsignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace {
// A signal handler may do little more than write to a pipe, and knows no object.
volatile std::sig_atomic_t writeEnd = -1;

extern "C" void writeToPipe(int /*signal*/)
{
    const int savedErrno = errno;
    const char byte = 1;
    // Nothing to be done about a full pipe: then the request is already on its way.
    [[maybe_unused]] const ssize_t written = ::write(writeEnd, &byte, 1);
    errno = savedErrno;
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
}

std::array<int, 2> openPipe()
{
    std::array<int, 2> ends {};
    if (::pipe(ends.data()) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    for (const int end : ends) {
        ::fcntl(end, F_SETFL, O_NONBLOCK);
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    return ends;
}
} // namespace

class EndSignals::Pipe {
public:
    explicit Pipe(EndSignals* owner)
        : m_ends(openPipe())
        , m_notifier(m_ends[0], QSocketNotifier::Read)
    {
        connect(&m_notifier, &QSocketNotifier::activated, owner, [this, owner] {
            m_notifier.setEnabled(false);
            emit owner->endRequested();
        });
        writeEnd = m_ends[1];
        handle(SIGTERM, writeToPipe);
        handle(SIGINT, writeToPipe);
    }

    ~Pipe()
    {
        handle(SIGTERM, SIG_DFL);
        handle(SIGINT, SIG_DFL);
        ::close(m_ends[0]);
        ::close(m_ends[1]);
    }

    Q_DISABLE_COPY_MOVE(Pipe)

private:
    std::array<int, 2> m_ends;
    QSocketNotifier m_notifier;
};

EndSignals::EndSignals()
    : m_pipe(std::make_unique<Pipe>(this))
{
}

EndSignals::~EndSignals() = default;
