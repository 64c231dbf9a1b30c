// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <QVector>
#include <QtGlobal>

#include <mutex>

// Takes over the message output for its lifetime and keeps what is logged on any thread. One at a time.
class LogCapture {
public:
    struct Line {
        QtMsgType type;
        QString text;
    };

    LogCapture();
    ~LogCapture();
    Q_DISABLE_COPY_MOVE(LogCapture)

    QVector<Line> lines() const;
    // The lines that begin with this text, each behind "D ", "I ", "W " or "C " for its type.
    QStringList taggedLines(const QString& begin = {}) const;
    // How many lines of this type begin with this text.
    int count(QtMsgType type, const QString& begin) const;
    bool contains(QtMsgType type, const QString& begin) const { return count(type, begin) > 0; }
    // The first line of this type that begins with this text; empty when there is none.
    QString find(QtMsgType type, const QString& begin) const;
    void clear();

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text);

    QtMessageHandler m_previous;
    // Not a QMutex: the thread sanitizer does not see all of its locking and would report false races.
    mutable std::mutex m_mutex;
    QVector<Line> m_lines;
};
