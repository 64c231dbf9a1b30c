// SPDX-License-Identifier: MIT
#include "mainwindow/mainwinqormonitor.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "mainwindow/devicerow.h"
#include "mainwindow/messagecolour.h"
#include "ui_mainwinqormonitor.h"

#include <QDebug>
#include <QDesktopServices>
#include <QSettings>
#include <QUrl>

namespace {

const auto geometryKey = QStringLiteral("geometry");

enum Column {
    TimeColumn,
    NameColumn,
    TextColumn,
    ColumnCount,
};
constexpr int timeColumnWidth = 150;
constexpr int nameColumnWidth = 200;

} // namespace

MainWinQorMonitor::MainWinQorMonitor(QWidget* parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWinQorMonitor>())
    , m_deviceList(new DeviceList(this))
{
    m_ui->setupUi(this);
    createConnections();
    fillToolBar();
    restoreSettings();
    loadDevices();
    setUpViews();
    setWindowTitle(tr("QorMonitor"));
}

MainWinQorMonitor::~MainWinQorMonitor()
{
    // While this object still is a main window: the units announce their end through it.
    delete m_deviceList;
}

void MainWinQorMonitor::createConnections()
{
    connect(m_deviceList, &DeviceList::deviceStatesChanged, this, &MainWinQorMonitor::rebuildMessageList);
    connect(m_deviceList, &DeviceList::deviceChanged, this, &MainWinQorMonitor::updateDevice);
    connect(m_ui->actionExit, &QAction::triggered, this, &MainWinQorMonitor::exitApplication);
    connect(m_ui->treeWidget, &QTreeWidget::itemDoubleClicked, this,
            &MainWinQorMonitor::processTreeWidgetItemDoubleClicked);
}

void MainWinQorMonitor::fillToolBar()
{
    m_ui->mainToolBar->addAction(m_ui->actionDeviceManager);
    m_ui->mainToolBar->addSeparator();
    m_ui->mainToolBar->addAction(m_ui->actionAcknowledgeWarnings);
    m_ui->mainToolBar->addAction(m_ui->actionMinimizeWindow);
    m_ui->mainToolBar->addSeparator();
    m_ui->mainToolBar->addAction(m_ui->actionAbout);
}

void MainWinQorMonitor::restoreSettings()
{
    const QSettings settings;
    restoreGeometry(settings.value(geometryKey).toByteArray());
}

void MainWinQorMonitor::loadDevices()
{
    try {
        m_deviceList->load();
    } catch (...) {
        // The destructor will not run, and the units announce their end through a whole main window only.
        delete m_deviceList;
        throw;
    }
}

void MainWinQorMonitor::setUpViews()
{
    m_ui->textBrowser->setHtml(QStringLiteral("<img src=\":/VarkoLogo200.png\">"));
    m_ui->treeWidget->setColumnWidth(TimeColumn, timeColumnWidth);
    m_ui->treeWidget->setColumnWidth(NameColumn, nameColumnWidth);
}

void MainWinQorMonitor::rebuildMessageList()
{
    m_ui->treeWidget->clear();
    for (int i = 0; i < m_deviceList->count(); ++i) {
        Device* device = m_deviceList->at(i);
        if (device->monitored())
            addMessageRows(device);
    }
}

void MainWinQorMonitor::addMessageRows(Device* device)
{
    // A row must not outlive its unit with the pointer in it.
    connect(device, &QObject::destroyed, this, &MainWinQorMonitor::forgetDevice, Qt::UniqueConnection);
    const QJsonArray messages = device->messages();
    for (const QJsonValue& message : messages) {
        const QJsonObject object = message.toObject();
        const auto text = [&object](const char* key) { return object.value(QLatin1String(key)).toString(); };
        auto* row = new QTreeWidgetItem(0);
        bindDevice(row, device);
        row->setText(TimeColumn, text("date") + QLatin1Char(' ') + text("time"));
        row->setText(NameColumn, device->qorName());
        row->setText(TextColumn, text("displaytext"));
        if (const auto colour = messageColour(text("class"))) {
            for (int column = 0; column < ColumnCount; ++column)
                row->setBackground(column, QBrush(*colour));
        }
        m_ui->treeWidget->addTopLevelItem(row);
    }
}

void MainWinQorMonitor::forgetDevice(QObject* device)
{
    unbindDevice(m_ui->treeWidget, device);
}

void MainWinQorMonitor::updateDevice(Device* pDevice)
{
    if (!pDevice)
        return;
    for (int i = 0; i < m_ui->treeWidget->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = m_ui->treeWidget->topLevelItem(i);
        if (!row || boundDevice(row) != pDevice)
            continue;
        row->setData(NameColumn, Qt::DisplayRole, pDevice->qorName());
        qCritical() << "update device" << pDevice->qorName();
    }
}

void MainWinQorMonitor::processTreeWidgetItemDoubleClicked(QTreeWidgetItem* item, int column)
{
    Q_UNUSED(column)
    if (!item)
        return;
    const Device* device = boundDevice(item);
    if (!device) {
        qCritical() << "MainWinQorMonitor::processTreeWidgetItemDoubleClicked() illegal null device";
        return;
    }
    const QString address
        = QStringLiteral("%1://%2:%3/").arg(device->webScheme(), device->host()).arg(device->webPort());
    QDesktopServices::openUrl(QUrl(address, QUrl::TolerantMode));
}

void MainWinQorMonitor::exitApplication()
{
    if (!m_ui->actionExit->isEnabled())
        return;
    // Here and nowhere else: a run that ends any other way keeps the geometry stored before.
    QSettings settings;
    settings.setValue(geometryKey, saveGeometry());
    QCoreApplication::quit();
}
