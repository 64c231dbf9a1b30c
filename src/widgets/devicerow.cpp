// SPDX-License-Identifier: MIT
#include "widgets/devicerow.h"

#include "devices/device.h"

#include <QTreeWidget>

namespace {
constexpr int deviceColumn = 0;
constexpr int deviceRole = Qt::UserRole;
} // namespace

void bindDevice(QTreeWidgetItem* row, Device* device)
{
    row->setData(deviceColumn, deviceRole, QVariant::fromValue(device));
}

Device* boundDevice(const QTreeWidgetItem* row)
{
    return qobject_cast<Device*>(row->data(deviceColumn, deviceRole).value<QObject*>());
}

void unbindDevice(const QTreeWidget* tree, const QObject* device)
{
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = tree->topLevelItem(i);
        const QVariant bound = row->data(deviceColumn, deviceRole);
        // Read raw: the regular conversion would look into an object that is half gone.
        if (bound.userType() == qMetaTypeId<Device*>()
            && *static_cast<Device* const*>(bound.constData()) == device)
            bindDevice(row, nullptr);
    }
}
