// SPDX-License-Identifier: MIT
#include "linesplitter.h"

#include <QTextCodec>

QVector<LineSplitter::Line> LineSplitter::feed(const QByteArray& bytes)
{
    QVector<Line> lines;
    int begin = 0;
    while (begin < bytes.size()) {
        const int end = bytes.indexOf('\n', begin);
        m_pending += bytes.mid(begin, end < 0 ? -1 : end - begin);
        if (m_pending.size() > longestLine) {
            // Kept short, whatever comes until the line ends.
            m_tooLong = true;
            m_pending.clear();
        }
        if (end < 0)
            break;
        lines.append(takeLine());
        begin = end + 1;
    }
    return lines;
}

QVector<LineSplitter::Line> LineSplitter::finish()
{
    if (m_pending.isEmpty() && !m_tooLong)
        return {};
    return { takeLine() };
}

LineSplitter::Line LineSplitter::takeLine()
{
    QByteArray line;
    line.swap(m_pending);
    const bool tooLong = m_tooLong;
    m_tooLong = false;
    if (tooLong)
        return std::nullopt;
    if (line.endsWith('\r'))
        line.chop(1);
    QTextCodec::ConverterState state;
    const QString text = QTextCodec::codecForName("UTF-8")->toUnicode(line.constData(), line.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0)
        return std::nullopt;
    return text;
}
