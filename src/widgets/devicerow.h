// SPDX-License-Identifier: MIT
#pragma once

class Device;
class QObject;
class QTreeWidget;
class QTreeWidgetItem;

// Every row of the message list and of the device manager carries the unit that it is about in column 0
// under Qt::UserRole.

void bindDevice(QTreeWidgetItem* row, Device* device);

// The row's unit; null when the row has none or its unit is gone.
Device* boundDevice(const QTreeWidgetItem* row);

// Takes a unit that is being destroyed off all rows of a tree. Compares addresses only, so that it can be
// called with what QObject::destroyed() hands over.
void unbindDevice(const QTreeWidget* tree, const QObject* device);
