// SPDX-License-Identifier: MIT
#include "support/logcapture.h"

#include <algorithm>
#include <atomic>

namespace {
std::atomic<LogCapture*> active { nullptr };
} // namespace

LogCapture::LogCapture()
{
    active = this;
    m_previous = qInstallMessageHandler(&LogCapture::handle);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
    active = nullptr;
}

void LogCapture::handle(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    LogCapture* capture = active;
    if (!capture)
        return;
    {
        const std::lock_guard lock(capture->m_mutex);
        capture->m_lines.append({ type, text });
    }
    // The test framework reports a fatal message itself.
    if (type == QtFatalMsg)
        capture->m_previous(type, context, text);
}

QVector<LogCapture::Line> LogCapture::lines() const
{
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

QStringList LogCapture::taggedLines(const QString& begin) const
{
    QStringList result;
    for (const Line& line : lines()) {
        // In the order of QtMsgType.
        if (line.text.startsWith(begin))
            result.append(QLatin1Char("DWCFI"[line.type]) + QStringLiteral(" ") + line.text);
    }
    return result;
}

int LogCapture::count(QtMsgType type, const QString& begin) const
{
    const QVector<Line> all = lines();
    return static_cast<int>(std::count_if(all.cbegin(), all.cend(), [&](const Line& line) {
        return line.type == type && line.text.startsWith(begin);
    }));
}

QString LogCapture::find(QtMsgType type, const QString& begin) const
{
    for (const Line& line : lines()) {
        if (line.type == type && line.text.startsWith(begin))
            return line.text;
    }
    return {};
}

void LogCapture::clear()
{
    const std::lock_guard lock(m_mutex);
    m_lines.clear();
}
