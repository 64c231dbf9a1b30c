// SPDX-License-Identifier: MIT
#pragma once

#include "devices/devicelist.h"
#include "mainwindow/mainwinqormonitor.h"

#include <QAction>
#include <QSound>
#include <QStringList>
#include <QTreeWidget>

// The main window as its user sees and works it.

// Looked for in the central widget: the device manager's list has the same name.
inline QTreeWidget* messageList(const MainWinQorMonitor& window)
{
    return window.centralWidget()->findChild<QTreeWidget*>(QStringLiteral("treeWidget"));
}

// The texts of one column of the message list, top to bottom.
inline QStringList columnTexts(const MainWinQorMonitor& window, int column)
{
    const QTreeWidget* list = messageList(window);
    QStringList texts;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        texts << list->topLevelItem(i)->text(column);
    return texts;
}

inline bool rings(const MainWinQorMonitor& window)
{
    return !window.alarmSound().isFinished();
}

inline void raiseAlert(const MainWinQorMonitor& window)
{
    emit window.deviceList()->alertChanged();
}

inline QAction* action(const MainWinQorMonitor& window, const char* name)
{
    return window.findChild<QAction*>(QLatin1String(name));
}

inline void acknowledge(const MainWinQorMonitor& window)
{
    action(window, "actionAcknowledgeWarnings")->trigger();
}
