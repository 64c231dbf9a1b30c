// SPDX-License-Identifier: MIT
#pragma once

class Device;
class QModelIndex;
class QTreeWidget;
class QTreeWidgetItem;

// Every row of the message list and of the device manager carries the unit that it is about in column 0
// under Qt::UserRole.

// Puts a row about this unit into the tree, at the given place or at the end. When the unit is destroyed, the
// row stays and carries none.
void insertDeviceRow(QTreeWidget* tree, int index, QTreeWidgetItem* row, Device* device);
void addDeviceRow(QTreeWidget* tree, QTreeWidgetItem* row, Device* device);

// The row's unit; null when the row has none or its unit is gone.
Device* boundDevice(const QTreeWidgetItem* row);
// The same for any cell of a row.
Device* boundDevice(const QModelIndex& cell);
