// SPDX-License-Identifier: MIT
#pragma once

#include "mainwindow/mainwinqormonitor.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QTreeWidget>

class Device;

// Helpers for tests that look at the main window as its user does.

// Looked for in the central widget: the device manager's list has the same name.
inline QTreeWidget* messageList(const MainWinQorMonitor& window)
{
    return window.centralWidget()->findChild<QTreeWidget*>(QStringLiteral("treeWidget"));
}

// The texts of one column, top to bottom.
QStringList columnTexts(const MainWinQorMonitor& window, int column);

// A unit on the loopback address, switched on.
Device* addMonitoredUnit(MainWinQorMonitor& window, int zmqPort);

// What a unit publishes.
QByteArray statusReport(const QString& name, const QJsonArray& warnings = {});
QByteArray newerVersionReport(const QString& name);

QJsonObject warning(const QString& text);
