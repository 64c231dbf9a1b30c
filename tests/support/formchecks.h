// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QLayout>
#include <QList>
#include <QMetaMethod>
#include <QObject>
#include <QSpacerItem>
#include <QStringList>
#include <QWidget>

// Descriptions of forms and meta objects that tests compare with lists.
namespace FormChecks {

// The methods that the class itself declares, in order.
inline QList<QByteArray> ownMethods(const QMetaObject& meta)
{
    QList<QByteArray> methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        methods.append(meta.method(i).methodSignature());
    return methods;
}

// One line for each item of a layout: a widget's or a layout's name, or a spacer's size and policies.
inline QStringList items(const QLayout* layout)
{
    QStringList lines;
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem* item = layout->itemAt(i);
        if (item->widget())
            lines.append(item->widget()->objectName());
        else if (item->layout())
            lines.append(item->layout()->objectName());
        else if (const QSpacerItem* spacer = item->spacerItem())
            lines.append(QStringLiteral("%1x%2 %3 %4")
                             .arg(spacer->sizeHint().width())
                             .arg(spacer->sizeHint().height())
                             .arg(spacer->sizePolicy().horizontalPolicy())
                             .arg(spacer->sizePolicy().verticalPolicy()));
    }
    return lines;
}

inline QString spacer(int width, int height, QSizePolicy::Policy horizontal, QSizePolicy::Policy vertical)
{
    return QStringLiteral("%1x%2 %3 %4").arg(width).arg(height).arg(horizontal).arg(vertical);
}

} // namespace FormChecks
