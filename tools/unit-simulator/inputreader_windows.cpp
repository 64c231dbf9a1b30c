// SPDX-License-Identifier: MIT
#include "inputreader.h"

#include <array>
#include <mutex>
#include <thread>

#include <io.h>

namespace {
constexpr int standardInput = 0;

// What the reading thread and the reader share: the thread may still be waiting for input when the reader
// goes, and nothing can wake it.
struct Shared {
    std::mutex mutex;
    InputReader* reader = nullptr;
};

template <typename Function> bool post(Shared& shared, Function function)
{
    const std::lock_guard<std::mutex> lock(shared.mutex);
    if (!shared.reader)
        return false;
    QMetaObject::invokeMethod(
        shared.reader, [reader = shared.reader, function] { function(reader); }, Qt::QueuedConnection);
    return true;
}

void readUntilEnd(const std::shared_ptr<Shared>& shared)
{
    std::array<char, 65536> buffer;
    for (;;) {
        const int size = _read(standardInput, buffer.data(), static_cast<unsigned>(buffer.size()));
        if (size <= 0)
            break;
        const QByteArray bytes(buffer.data(), size);
        if (!post(*shared, [bytes](InputReader* reader) { emit reader->received(bytes); }))
            return;
    }
    post(*shared, [](InputReader* reader) { emit reader->ended(); });
}
} // namespace

class InputReader::Source {
public:
    explicit Source(InputReader* reader)
    {
        m_shared->reader = reader;
        std::thread(readUntilEnd, m_shared).detach();
    }

    ~Source()
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        m_shared->reader = nullptr;
    }

    Q_DISABLE_COPY_MOVE(Source)

private:
    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
};

InputReader::InputReader()
    : m_source(std::make_unique<Source>(this))
{
}

InputReader::~InputReader() = default;

bool InputReader::standardInputGiven()
{
    return _get_osfhandle(standardInput) >= 0;
}
