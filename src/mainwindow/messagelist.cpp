// SPDX-License-Identifier: MIT
#include "mainwindow/messagelist.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "mainwindow/messagecolour.h"
#include "widgets/devicerow.h"

#include <QBrush>
#include <QTreeWidget>

#include <algorithm>

namespace {

QTreeWidgetItem* makeRow(const QJsonObject& message, const QString& name)
{
    const auto text = [&message](const char* key) { return message.value(QLatin1String(key)).toString(); };
    auto* row = new QTreeWidgetItem(0);
    row->setText(MessageList::TimeColumn, text("date") + QLatin1Char(' ') + text("time"));
    row->setText(MessageList::NameColumn, name);
    row->setText(MessageList::TextColumn, text("displaytext"));
    if (const auto colour = messageColour(text("class"))) {
        const QString word = messageClassText(text("class"));
        for (int column = 0; column < MessageList::ColumnCount; ++column) {
            row->setBackground(column, QBrush(*colour));
            row->setData(column, Qt::AccessibleDescriptionRole, word);
        }
    }
    return row;
}

void copyRow(const QTreeWidgetItem* from, QTreeWidgetItem* to)
{
    for (int column = 0; column < MessageList::ColumnCount; ++column) {
        for (const int role : { Qt::DisplayRole, Qt::BackgroundRole, Qt::AccessibleDescriptionRole })
            to->setData(column, role, from->data(column, role));
    }
}

void removeRow(QTreeWidget* tree, int index)
{
    // Qt would select the row behind it, which may be another unit's.
    if (tree->currentItem() == tree->topLevelItem(index))
        tree->setCurrentItem(nullptr);
    delete tree->takeTopLevelItem(index);
}

bool showTheSame(const QTreeWidgetItem* left, const QTreeWidgetItem* right)
{
    for (int column = 0; column < MessageList::ColumnCount; ++column) {
        if (left->text(column) != right->text(column)
            || left->background(column) != right->background(column))
            return false;
    }
    return true;
}

} // namespace

MessageList::MessageList(QTreeWidget* tree)
    : m_tree(tree)
{
}

void MessageList::show(const DeviceList& devices)
{
    int row = 0;
    int unit = 0;
    for (int i = 0; i < devices.count(); ++i) {
        Device* device = devices.at(i);
        if (!device->monitored())
            continue;
        // From the first unit that has come or gone on, all rows are made anew.
        if (unit < m_shown.size() && m_shown.at(unit).device != device)
            truncate(unit, row);
        if (unit == m_shown.size())
            m_shown.append({ device, 0, 0 });
        Shown& shown = m_shown[unit];
        if (shown.revision != device->revision())
            showMessages(shown, row, device);
        row += shown.rows;
        ++unit;
    }
    truncate(unit, row);
}

// Keeps the first units and their rows.
void MessageList::truncate(int units, int rows)
{
    m_shown.resize(units);
    while (m_tree->topLevelItemCount() > rows)
        removeRow(m_tree, m_tree->topLevelItemCount() - 1);
}

// Changes what lies between the rows at the beginning and at the end that stay the same.
void MessageList::showMessages(Shown& shown, int firstRow, Device* device)
{
    const QJsonArray messages = device->messages();
    QVector<QTreeWidgetItem*> rows;
    std::transform(messages.begin(), messages.end(), std::back_inserter(rows),
                   [&](const QJsonValue& message) { return makeRow(message.toObject(), device->qorName()); });

    const int same = std::min(shown.rows, rows.size());
    int before = 0;
    while (before < same && showTheSame(m_tree->topLevelItem(firstRow + before), rows.at(before)))
        ++before;
    int behind = 0;
    while (behind < same - before
           && showTheSame(m_tree->topLevelItem(firstRow + shown.rows - 1 - behind),
                          rows.at(rows.size() - 1 - behind)))
        ++behind;

    const int kept = same - behind;
    for (int i = shown.rows - behind - 1; i >= kept; --i)
        removeRow(m_tree, firstRow + i);
    for (int i = 0; i < rows.size(); ++i) {
        if (i >= kept && i < rows.size() - behind) {
            insertDeviceRow(m_tree, firstRow + i, rows.at(i), device);
            continue;
        }
        if (i >= before && i < kept)
            copyRow(rows.at(i), m_tree->topLevelItem(firstRow + i));
        delete rows.at(i);
    }
    shown.revision = device->revision();
    shown.rows = rows.size();
}
