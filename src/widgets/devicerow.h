// SPDX-License-Identifier: MIT
#pragma once

class Device;
class QTreeWidget;
class QTreeWidgetItem;

// Every row of the message list and of the device manager carries the unit that it is about in column 0
// under Qt::UserRole.

// Appends a row about this unit to the tree. When the unit is destroyed, the row stays and carries none.
void addDeviceRow(QTreeWidget* tree, QTreeWidgetItem* row, Device* device);

// The row's unit; null when the row has none or its unit is gone.
Device* boundDevice(const QTreeWidgetItem* row);
