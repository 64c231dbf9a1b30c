// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>

#include <memory>

// Reads standard input without ever holding up the event loop.
class InputReader : public QObject {
    Q_OBJECT

public:
    InputReader();
    ~InputReader() override;
    Q_DISABLE_COPY_MOVE(InputReader)

    // Whether the process was given a standard input at all; to be asked before anything else is opened,
    // since it then also takes the vacant numbers of the standard streams.
    static bool standardInputGiven();

signals:
    void received(const QByteArray& bytes);
    // The last signal.
    void ended();

private:
    class Source;
    std::unique_ptr<Source> m_source;
};
