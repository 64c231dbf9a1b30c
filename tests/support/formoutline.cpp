// SPDX-License-Identifier: MIT
#include "support/formoutline.h"

#include "support/literals.h"

#include <QAccessible>
#include <QGridLayout>
#include <QLayout>
#include <QMetaEnum>
#include <QSpacerItem>
#include <QVariant>
#include <QWidget>

namespace {

void describe(const QLayout* layout, QStringList* lines);

QString nameOf(const QObject* object)
{
    return QLatin1String(object->metaObject()->className()) + QLatin1Char(' ') + object->objectName();
}

QString policyName(QSizePolicy::Policy policy)
{
    return QLatin1String(QMetaEnum::fromType<QSizePolicy::Policy>().valueToKey(policy));
}

QString describe(const QWidget* widget)
{
    const QMetaObject* meta = widget->metaObject();
    for (const char* name : { "text", "title" }) {
        const QMetaProperty property = meta->property(meta->indexOfProperty(name));
        const QString text = property.read(widget).toString();
        if (property.isWritable() && !text.isEmpty())
            return "%1 \"%2\""_s.arg(nameOf(widget), text);
    }
    return nameOf(widget);
}

QString describe(const QSpacerItem* spacer)
{
    const QSizePolicy policy = spacer->sizePolicy();
    return "%1x%2 %3 %4"_s.arg(spacer->sizeHint().width())
        .arg(spacer->sizeHint().height())
        .arg(policyName(policy.horizontalPolicy()), policyName(policy.verticalPolicy()));
}

// In a grid an item has its row and column in front.
QString placeOf(const QLayout* layout, int index)
{
    const auto* grid = qobject_cast<const QGridLayout*>(layout);
    if (!grid)
        return {};
    int row = 0;
    int column = 0;
    int rowSpan = 0;
    int columnSpan = 0;
    grid->getItemPosition(index, &row, &column, &rowSpan, &columnSpan);
    return "%1,%2 "_s.arg(row).arg(column);
}

void describe(const QLayout* layout, QStringList* lines)
{
    lines->append(nameOf(layout) + QLatin1Char(':'));
    QList<const QLayout*> below;
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem* item = layout->itemAt(i);
        const QString place = "  "_s + placeOf(layout, i);
        if (const QWidget* widget = item->widget()) {
            lines->append(place + describe(widget));
            if (widget->layout())
                below.append(widget->layout());
        } else if (item->layout()) {
            lines->append(place + nameOf(item->layout()));
            below.append(item->layout());
        } else {
            lines->append(place + describe(item->spacerItem()));
        }
    }
    for (const QLayout* one : qAsConst(below))
        describe(one, lines);
}

} // namespace

QStringList formOutline(const QWidget& form)
{
    QStringList lines { "%1 %2x%3 \"%4\""_s.arg(form.objectName())
                            .arg(form.width())
                            .arg(form.height())
                            .arg(form.windowTitle()) };
    describe(form.layout(), &lines);
    return lines;
}

QStringList namelessControls(const QWidget& form)
{
    QStringList nameless;
    const auto widgets = form.findChildren<QWidget*>();
    for (QWidget* widget : widgets) {
        const bool isControl = widget->inherits("QAbstractButton") || widget->inherits("QLineEdit")
            || widget->inherits("QAbstractItemView") || widget->inherits("QTextEdit")
            || widget->inherits("QProgressBar") || widget->inherits("QToolBar");
        // Parts of a control have names that begin with "qt_", or none.
        const bool isOurs = !widget->objectName().isEmpty() && !widget->objectName().startsWith("qt_"_s);
        if (isControl && isOurs
            && QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name).isEmpty())
            nameless << widget->objectName();
    }
    return nameless;
}
