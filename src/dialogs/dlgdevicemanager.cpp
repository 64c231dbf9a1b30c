// SPDX-License-Identifier: MIT
#include "dialogs/dlgdevicemanager.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/hostlookup.h"
#include "mainwindow/mainwinqormonitor.h"
#include "ui_dlgdevicemanager.h"
#include "widgets/devicerow.h"
#include "widgets/onelinedelegate.h"

#include <QDebug>
#include <QMessageBox>
#include <QSettings>

namespace {

enum Column {
    HostColumn,
    IpAddressColumn,
    ZmqPortColumn,
    WebPortColumn,
    WebSchemeColumn,
    NameColumn,
    StatusColumn,
};
constexpr int hostColumnWidth = 150;
constexpr int ipAddressColumnWidth = 100;
constexpr int zmqPortColumnWidth = 100;

QTreeWidgetItem* makeRow(const Device& device)
{
    auto* row = new QTreeWidgetItem({ device.host(),
                                      device.ipAddress(),
                                      {},
                                      {},
                                      device.webScheme(),
                                      device.qorName(),
                                      device.stateText() },
                                    0);
    // As numbers they sort as such.
    row->setData(ZmqPortColumn, Qt::DisplayRole, device.zmqPort());
    row->setData(WebPortColumn, Qt::DisplayRole, device.webPort());
    return row;
}

// Collected before they are changed: writing to a sorted column moves the row.
QVector<QTreeWidgetItem*> allRows(const QTreeWidget* tree)
{
    QVector<QTreeWidgetItem*> rows;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        rows.append(tree->topLevelItem(i));
    return rows;
}

Device* currentDevice(const QTreeWidget* tree)
{
    const QTreeWidgetItem* row = tree->currentItem();
    return row ? boundDevice(row) : nullptr;
}

} // namespace

DlgDeviceManager::DlgDeviceManager(MainWinQorMonitor* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::DlgDeviceManager>())
    , m_mainWindow(parent)
{
    m_ui->setupUi(this);
    m_ui->treeWidget->setItemDelegate(new OneLineDelegate(NameColumn, m_ui->treeWidget));
    // List order until the user clicks a header.
    m_ui->treeWidget->header()->setSortIndicator(-1, Qt::AscendingOrder);
    // Shows a port as it is typed. Another locale may show 5566 as "5.566" or in other digits.
    m_ui->treeWidget->setLocale(QLocale::c());
    // Return on a row does the same as a click on it.
    connect(m_ui->treeWidget, &QTreeWidget::itemActivated, this,
            &DlgDeviceManager::on_treeWidget_itemClicked);
    updateDevice(nullptr);
    m_ui->treeWidget->setColumnWidth(HostColumn, hostColumnWidth);
    m_ui->treeWidget->setColumnWidth(IpAddressColumn, ipAddressColumnWidth);
    m_ui->treeWidget->setColumnWidth(ZmqPortColumn, zmqPortColumnWidth);
    updateActions();
}

DlgDeviceManager::~DlgDeviceManager() = default;

void DlgDeviceManager::updateActions()
{
    const bool selected = !m_selectedDevice.isNull();
    m_ui->pushButtonAddHost->setEnabled(true);
    m_ui->pushButtonChangeHost->setEnabled(selected);
    m_ui->pushButtonRemove->setEnabled(selected);
    m_ui->pushButtonMonitor->setEnabled(selected);
    m_ui->pushButtonStopMonitor->setEnabled(selected);
}

void DlgDeviceManager::updateList()
{
    updateDevice(nullptr);
}

void DlgDeviceManager::rebuildList()
{
    qCritical() << "DlgDeviceManager::rebuildList()";
    m_ui->treeWidget->clear();
    const DeviceList* list = m_mainWindow->deviceList();
    for (int i = 0; i < list->count(); ++i) {
        Device* device = list->at(i);
        addDeviceRow(m_ui->treeWidget, makeRow(*device), device);
    }
    updateActions();
}

void DlgDeviceManager::updateDevice(Device* pDevice)
{
    qCritical() << "DlgDeviceManager::updateDevice()";
    if (!pDevice)
        return;
    const auto rows = allRows(m_ui->treeWidget);
    for (QTreeWidgetItem* row : rows) {
        if (boundDevice(row) != pDevice)
            continue;
        row->setData(NameColumn, Qt::DisplayRole, pDevice->qorName());
        row->setData(StatusColumn, Qt::DisplayRole, pDevice->stateText());
    }
}

void DlgDeviceManager::refreshStatus()
{
    if (!isVisible())
        return;
    const auto rows = allRows(m_ui->treeWidget);
    for (QTreeWidgetItem* row : rows) {
        if (const Device* device = boundDevice(row))
            row->setData(StatusColumn, Qt::DisplayRole, device->stateText());
    }
}

void DlgDeviceManager::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    refreshStatus();
}

void DlgDeviceManager::on_pushButtonClose_clicked()
{
    close();
}

void DlgDeviceManager::on_pushButtonRemove_clicked()
{
    const QTreeWidgetItem* row = m_ui->treeWidget->currentItem();
    if (!row)
        return;
    Device* device = boundDevice(row);
    if (!device) {
        qCritical() << "DlgDeviceManager::on_pushButtonRemove_clicked() illegal null pointer";
        return;
    }
    // The entry fields and the buttons stay: they may hold another unit, or what the user is typing.
    device->setMonitored(false);
    m_mainWindow->deviceList()->removeDevice(device);
    reportSave(m_mainWindow->deviceList()->save());
}

void DlgDeviceManager::on_pushButtonAddHost_clicked()
{
    const Entry added = entry();
    if (added.host.isEmpty())
        return;
    DeviceList* list = m_mainWindow->deviceList();
    if (!list->addDevice(added.host, added.zmqPort, added.webPort, added.webScheme)) {
        showDuplicateWarning();
        return;
    }
    const bool isSaved = list->save();
    resetEntry();
    reportSave(isSaved);
}

void DlgDeviceManager::on_pushButtonChangeHost_clicked()
{
    DeviceList* list = m_mainWindow->deviceList();
    Device* device = m_selectedDevice;
    // A removed unit lives on until control returns to the event loop, but is nothing to change any more.
    if (!list->contains(device))
        return;
    const Entry changed = entry();
    if (changed.host.isEmpty())
        return;
    const int found = list->indexOf(changed.host, changed.zmqPort);
    if (found != -1 && list->at(found) != device) {
        showDuplicateWarning();
        return;
    }
    device->setHost(changed.host);
    device->setZmqPort(changed.zmqPort);
    device->setWebPort(changed.webPort);
    device->setWebScheme(changed.webScheme);
    const bool isSaved = list->save();
    resetEntry();
    reportSave(isSaved);
}

void DlgDeviceManager::on_pushButtonMonitor_clicked()
{
    setCurrentMonitored(true);
}

void DlgDeviceManager::on_pushButtonStopMonitor_clicked()
{
    setCurrentMonitored(false);
}

void DlgDeviceManager::setCurrentMonitored(bool on)
{
    if (!m_ui->treeWidget->currentItem())
        return;
    DeviceList* list = m_mainWindow->deviceList();
    list->setMonitored(currentDevice(m_ui->treeWidget), on);
    const bool isSaved = list->save();
    updateActions();
    reportSave(isSaved);
}

void DlgDeviceManager::on_pushButtonRefresh_clicked()
{
    // The address cells follow only with the next rebuild; the units' links are left alone.
    const DeviceList* list = m_mainWindow->deviceList();
    QStringList hosts;
    for (int i = 0; i < list->count(); ++i)
        hosts.append(list->at(i)->host());
    // Without a name server this costs one time-out for all of them.
    lookUpAfresh(hosts);
    for (int i = 0; i < list->count(); ++i)
        list->at(i)->updateIpAddress();
}

void DlgDeviceManager::on_lineEditNewHost_returnPressed()
{
    // Return is neither "Hinzufügen" nor "Ändern": which of them the user means is not known.
}

void DlgDeviceManager::on_treeWidget_itemDoubleClicked(QTreeWidgetItem* item, int column)
{
    Q_UNUSED(column)
    Device* device = item ? boundDevice(item) : nullptr;
    if (!device)
        return;
    device->setMonitored(!device->monitored());
    const bool isSaved = m_mainWindow->deviceList()->save();
    updateActions();
    reportSave(isSaved);
}

void DlgDeviceManager::on_treeWidget_itemClicked(QTreeWidgetItem* item, int column)
{
    Q_UNUSED(column)
    Device* device = item ? boundDevice(item) : nullptr;
    if (!device)
        return;
    m_selectedDevice = device;
    m_ui->lineEditNewHost->setText(device->host());
    m_ui->lineEditPort->setText(QString::number(device->zmqPort()));
    m_ui->lineEditWebPort->setText(QString::number(device->webPort()));
    m_ui->lineEditWebScheme->setText(device->webScheme());
    updateActions();
}

DlgDeviceManager::Entry DlgDeviceManager::entry() const
{
    const auto text = [](const QLineEdit* field) { return field->text().trimmed(); };
    return { text(m_ui->lineEditNewHost), text(m_ui->lineEditPort).toInt(),
             text(m_ui->lineEditWebPort).toInt(), text(m_ui->lineEditWebScheme) };
}

void DlgDeviceManager::resetEntry()
{
    m_selectedDevice = nullptr;
    m_ui->lineEditNewHost->clear();
    m_ui->lineEditPort->setText(QStringLiteral("5566"));
    m_ui->lineEditWebPort->setText(QStringLiteral("80"));
    m_ui->lineEditWebScheme->setText(QStringLiteral("http"));
    updateActions();
}

void DlgDeviceManager::showDuplicateWarning()
{
    QMessageBox::warning(this, windowTitle(), tr("Dieser Host/Port existiert bereits in der Liste!"),
                         QMessageBox::Ok);
}

void DlgDeviceManager::reportSave(bool isSaved)
{
    if (isSaved)
        return;
    QMessageBox::warning(
        this, windowTitle(),
        tr("Die Geräteliste konnte nicht gespeichert werden:\n%1\n\nDie Änderung gilt nur, bis der Monitor "
           "beendet wird. Bitte prüfen Sie, ob der Datenträger voll, der Ordner schreibgeschützt oder die "
           "Datei "
           "durch ein anderes Programm gesperrt ist. Ist das behoben, wird die ganze Liste mit der nächsten "
           "Änderung gespeichert.")
            .arg(QSettings().fileName()),
        QMessageBox::Ok);
}
