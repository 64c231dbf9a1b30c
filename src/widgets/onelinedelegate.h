// SPDX-License-Identifier: MIT
#pragma once

#include <QStyledItemDelegate>

// Draws each cell in one line: line breaks in its text, which units send as they like, are shown as blanks.
// The texts of the rows keep them. Owned by the view that it is for.
class OneLineDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant& value, const QLocale& locale) const override;
};
