// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <memory>

// Turns the system's requests to end, SIGTERM and SIGINT, into a signal of the event loop. One at a time. On
// Windows it never emits; there the console ends the process.
class EndSignals : public QObject {
    Q_OBJECT

public:
    EndSignals();
    ~EndSignals() override;
    Q_DISABLE_COPY_MOVE(EndSignals)

signals:
    void endRequested();

private:
    class Pipe;
    std::unique_ptr<Pipe> m_pipe;
};
