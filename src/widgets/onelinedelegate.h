// SPDX-License-Identifier: MIT
#pragma once

#include <QStyledItemDelegate>

// Draws the rows of a view that carry a unit. Each cell takes one line: line breaks in its text, which units
// send as they like, are shown as blanks. What does not fit can be read in the tool tip; that of an empty
// name says which unit it is. The texts of the rows stay as they are. Owned by its view.
class OneLineDelegate : public QStyledItemDelegate {
public:
    // The column of the units' names.
    OneLineDelegate(int nameColumn, QAbstractItemView* view);

    QString displayText(const QVariant& value, const QLocale& locale) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    int m_nameColumn;
};
