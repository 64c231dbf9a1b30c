// SPDX-License-Identifier: MIT
#include "widgets/devicerow.h"

#include "devices/device.h"

#include <QTreeWidget>

namespace {

constexpr int deviceColumn = 0;
constexpr int deviceRole = Qt::UserRole;

void bindDevice(QTreeWidgetItem* row, Device* device)
{
    row->setData(deviceColumn, deviceRole, QVariant::fromValue(device));
}

// Removes a unit that is being destroyed from all rows of a tree. Each tree has one such object, so that a
// unit is connected once, however often the rows are made anew.
class DestroyedDevices : public QObject {
    Q_OBJECT

public:
    static DestroyedDevices* of(QTreeWidget* tree)
    {
        auto* existing = tree->findChild<DestroyedDevices*>(QString(), Qt::FindDirectChildrenOnly);
        return existing ? existing : new DestroyedDevices(tree);
    }

    void forget(const QObject* device)
    {
        for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
            QTreeWidgetItem* row = m_tree->topLevelItem(i);
            const QVariant bound = row->data(deviceColumn, deviceRole);
            // Read the pointer directly: QVariant::value() would look into an object that is half destroyed.
            if (bound.userType() == qMetaTypeId<Device*>()
                && *static_cast<Device* const*>(bound.constData()) == device)
                bindDevice(row, nullptr);
        }
    }

private:
    explicit DestroyedDevices(QTreeWidget* tree)
        : QObject(tree)
        , m_tree(tree)
    {
    }

    QTreeWidget* m_tree;
};

} // namespace

void insertDeviceRow(QTreeWidget* tree, int index, QTreeWidgetItem* row, Device* device)
{
    QObject::connect(device, &QObject::destroyed, DestroyedDevices::of(tree), &DestroyedDevices::forget,
                     Qt::UniqueConnection);
    bindDevice(row, device);
    tree->insertTopLevelItem(index, row);
}

void addDeviceRow(QTreeWidget* tree, QTreeWidgetItem* row, Device* device)
{
    insertDeviceRow(tree, tree->topLevelItemCount(), row, device);
}

Device* boundDevice(const QTreeWidgetItem* row)
{
    return qobject_cast<Device*>(row->data(deviceColumn, deviceRole).value<QObject*>());
}

Device* boundDevice(const QModelIndex& cell)
{
    return qobject_cast<Device*>(cell.siblingAtColumn(deviceColumn).data(deviceRole).value<QObject*>());
}

#include "devicerow.moc"
