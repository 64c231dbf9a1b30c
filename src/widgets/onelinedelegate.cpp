// SPDX-License-Identifier: MIT
#include "widgets/onelinedelegate.h"

#include <algorithm>

namespace {
bool breaksLine(QChar character)
{
    switch (character.unicode()) {
    case '\n':
    case '\v':
    case '\f':
    case '\r':
    case 0x0085: // next line
    case QChar::LineSeparator:
    case QChar::ParagraphSeparator:
        return true;
    default:
        return false;
    }
}
} // namespace

QString OneLineDelegate::displayText(const QVariant& value, const QLocale& locale) const
{
    QString text = QStyledItemDelegate::displayText(value, locale);
    std::replace_if(text.begin(), text.end(), breaksLine, QLatin1Char(' '));
    return text;
}
