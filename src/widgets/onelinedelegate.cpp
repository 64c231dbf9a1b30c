// SPDX-License-Identifier: MIT
#include "widgets/onelinedelegate.h"

#include "devices/device.h"
#include "widgets/devicerow.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QToolTip>

#include <algorithm>
#include <cmath>

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

// Units send what they like: what looks like HTML would be shown as such, a long text without blanks would be
// one line, and a very long one larger than the screen.
QString asToolTip(QString text)
{
    constexpr int mostCharacters = 1000;
    constexpr int longestWord = 40;
    const QChar mayBreak(0x200b);
    if (text.size() > mostCharacters) {
        const int end = text.at(mostCharacters).isLowSurrogate() ? mostCharacters - 1 : mostCharacters;
        text = text.left(end) + QStringLiteral(" ...");
    }
    int word = 0;
    for (int i = 0; i < text.size(); ++i) {
        word = text.at(i).isSpace() ? 0 : word + 1;
        if (word > longestWord && !(text.at(i).isLowSurrogate() && text.at(i - 1).isHighSurrogate())) {
            text.insert(i, mayBreak);
            word = 0;
        }
    }
    return QStringLiteral("<p>%1</p>").arg(text.toHtmlEscaped());
}

// As https://www.w3.org/TR/WCAG21/#dfn-relative-luminance has it.
double luminance(const QColor& colour)
{
    const auto linear = [](double share) {
        return share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

// Black or white, whichever stands out more; at least 4.5:1 on every colour.
Qt::GlobalColor textOn(const QColor& background)
{
    // Where both have the same contrast.
    constexpr double middle = 0.179;
    return luminance(background) > middle ? Qt::black : Qt::white;
}
} // namespace

OneLineDelegate::OneLineDelegate(int nameColumn, QAbstractItemView* view)
    : QStyledItemDelegate(view)
    , m_nameColumn(nameColumn)
{
}

QString OneLineDelegate::displayText(const QVariant& value, const QLocale& locale) const
{
    QString text = QStyledItemDelegate::displayText(value, locale);
    std::replace_if(text.begin(), text.end(), breaksLine, QLatin1Char(' '));
    return text;
}

bool OneLineDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QString text = displayText(index.data(), option.locale);
    const bool isCut = sizeHint(option, index).width() > option.rect.width();
    if (const Device* device = boundDevice(index); text.isEmpty() && index.column() == m_nameColumn && device)
        text = device->displayName();
    else if (!isCut)
        text.clear();
    // An empty text hides the tool tip of another cell.
    QToolTip::showText(event->globalPos(), text.isEmpty() ? text : asToolTip(text), view->viewport(),
                       option.rect);
    return true;
}

void OneLineDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    // The colours of the rows are the same on every desktop, and the texts of some desktops hardly stand out.
    // A selected row keeps its colour, for that is what is seen from afar.
    if (option->backgroundBrush.style() != Qt::NoBrush) {
        constexpr int darkerPercent = 140;
        option->palette.setColor(QPalette::Text, textOn(option->backgroundBrush.color()));
        option->palette.setColor(QPalette::Highlight, option->backgroundBrush.color().darker(darkerPercent));
    }
    for (const auto group : { QPalette::Active, QPalette::Inactive }) {
        const QColor highlight = option->palette.color(group, QPalette::Highlight);
        option->palette.setColor(group, QPalette::HighlightedText, textOn(highlight));
    }
}
