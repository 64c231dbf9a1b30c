// SPDX-License-Identifier: MIT
#include "inputreader.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

class InputReader::Source {
public:
    explicit Source(InputReader* reader)
        : m_reader(reader)
        , m_notifier(STDIN_FILENO, QSocketNotifier::Read)
    {
        connect(&m_notifier, &QSocketNotifier::activated, m_reader, [this] { read(); });
    }

private:
    void read()
    {
        std::array<char, 65536> buffer {};
        // One read for each notice: it takes what is there, and a second one might block.
        const ssize_t size = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (size > 0) {
            emit m_reader->received(QByteArray(buffer.data(), static_cast<int>(size)));
        } else if (size == 0 || (errno != EINTR && errno != EAGAIN)) {
            m_notifier.setEnabled(false);
            emit m_reader->ended();
        }
    }

    InputReader* m_reader;
    QSocketNotifier m_notifier;
};

InputReader::InputReader()
    : m_source(std::make_unique<Source>(this))
{
}

InputReader::~InputReader() = default;

bool InputReader::standardInputGiven()
{
    const bool given = ::fcntl(STDIN_FILENO, F_GETFD) != -1;
    // A socket that got one of these numbers would be read as commands or written to as output.
    int descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = ::dup(descriptor);
    if (descriptor >= 0)
        ::close(descriptor);
    return given;
}
