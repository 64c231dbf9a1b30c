// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <optional>

// Cuts the bytes of standard input into lines, however they arrive.
class LineSplitter {
public:
    static constexpr int longestLine = 65536;

    // Empty where the line was too long or no UTF-8.
    using Line = std::optional<QString>;

    QVector<Line> feed(const QByteArray& bytes);
    // What stands behind the last line break, at the end of the input.
    QVector<Line> finish();

private:
    Line takeLine();

    QByteArray m_pending;
    bool m_tooLong = false;
};
