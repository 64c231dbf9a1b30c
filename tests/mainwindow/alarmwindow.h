// SPDX-License-Identifier: MIT
#pragma once

#include "devices/devicelist.h"
#include "mainwindow/mainwinqormonitor.h"

#include <QAction>
#include <QSound>

class Device;

// Helpers for tests of what the main window does to be noticed.

inline bool rings(const MainWinQorMonitor& window)
{
    return !window.alarmSound().isFinished();
}

inline void raiseAlert(const MainWinQorMonitor& window)
{
    emit window.deviceList()->alertChanged();
}

// A unit that is not monitored; its idle link counts as disconnected, so its alert flag is set.
inline Device* addIdleUnit(const MainWinQorMonitor& window, int zmqPort)
{
    return window.deviceList()->addDevice(QStringLiteral("127.0.0.1"), zmqPort, 80, QStringLiteral("http"));
}

inline QAction* action(const MainWinQorMonitor& window, const char* name)
{
    return window.findChild<QAction*>(QLatin1String(name));
}

inline void acknowledge(const MainWinQorMonitor& window)
{
    action(window, "actionAcknowledgeWarnings")->trigger();
}
