// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>

#include <exception>

// The application object, which also catches what slots and event handlers throw. It does so where an event
// is delivered: between there and main may lie frames of the operating system, which no exception may cross.
class MonitorApplication : public QApplication {
    Q_OBJECT

public:
    // Sets up scaling and activation. argc must outlive the object.
    MonitorApplication(int& argc, char** argv);

    // Runs the event loop and returns its result. Throws what was thrown while an event was delivered, after
    // all nested loops have been left; of several exceptions the first.
    int run();

    bool notify(QObject* receiver, QEvent* event) override;

private:
    std::exception_ptr m_failure;
};
