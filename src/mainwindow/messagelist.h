// SPDX-License-Identifier: MIT
#pragma once

#include <QVector>

class Device;
class DeviceList;
class QTreeWidget;

// The rows of the message list: one for each monitor message of each monitored unit, in the order of the
// units and of their messages. What has not changed keeps its row, so that selection and scroll position
// stay, and one unit's news costs no more in a long list. A selection that loses its row is gone.
class MessageList {
public:
    enum Column {
        TimeColumn,
        NameColumn,
        TextColumn,
        ColumnCount,
    };

    // The tree must outlive this object, which must be the only one to change its rows. No listener of the
    // tree may call show().
    explicit MessageList(QTreeWidget* tree);

    // Shows what the units say now.
    void show(const DeviceList& devices);

private:
    // A unit in the list: what it said when its rows were made, and how many they are.
    struct Shown {
        const Device* device;
        quint64 revision;
        int rows;
    };

    void truncate(int units, int rows);
    void showMessages(Shown& shown, int firstRow, Device* device);

    QTreeWidget* m_tree;
    QVector<Shown> m_shown;
};
