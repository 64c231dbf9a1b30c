// SPDX-License-Identifier: MIT
#include "mainwindow/mainwinqormonitor.h"

#include "base/version.h"
#include "base/writesettings.h"
#include "devices/device.h"
#include "devices/devicelist.h"
#include "dialogs/dlgabout.h"
#include "dialogs/dlgcheckforupdates.h"
#include "dialogs/dlgdevicemanager.h"
#include "mainwindow/messagelist.h"
#include "mainwindow/settingskeys.h"
#include "ui_mainwinqormonitor.h"
#include "widgets/devicerow.h"
#include "widgets/onelinedelegate.h"

#include <QApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QMessageBox>
#include <QPointer>
#include <QSettings>
#include <QShortcut>
#include <QUrl>

#include <utility>

namespace {

constexpr int alertTimerIntervalMs = 1000;
constexpr int updateCheckDelayMs = 2000;

constexpr int timeColumnWidth = 150;
constexpr int nameColumnWidth = 200;

} // namespace

MainWinQorMonitor::MainWinQorMonitor(QWidget* parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWinQorMonitor>())
    , m_deviceList(new DeviceList(this))
    , m_deviceManager(new DlgDeviceManager(this))
    , m_updateDialog(std::make_unique<DlgCheckForUpdates>(QStringLiteral("QorMonitor"), nullptr))
{
    m_ui->setupUi(this);
    m_messageList = std::make_unique<MessageList>(m_ui->treeWidget);
    m_updateDialog->addServerUrl(updateBaseUrl());
    createTrayIcon();
    createConnections();
    m_alarmSound.setLoops(QSound::Infinite);
    m_alarmSound.stop();
    fillToolBar();
    restoreSettings();
    loadDevices();
    setUpViews();
    updateActions();
    updateTitle();
}

MainWinQorMonitor::~MainWinQorMonitor()
{
    delete m_deviceManager;
    m_deviceManager = nullptr;
    m_updateDialog.reset();
    // While this object still is a main window: the units announce their end through it.
    delete m_deviceList;
}

void MainWinQorMonitor::createConnections()
{
    connectDeviceList();
    connectActions();
    connectMessageList();
    connectMenuKey();
    startTimers();
}

void MainWinQorMonitor::connectDeviceList()
{
    connect(m_deviceList, &DeviceList::deviceStatesChanged, this, &MainWinQorMonitor::rebuildMessageList);
    connect(m_deviceList, &DeviceList::deviceChanged, this, &MainWinQorMonitor::updateDevice);
    connect(m_deviceList, &DeviceList::alertChanged, this, &MainWinQorMonitor::processAlertChanged);
    // Monitoring may have been switched. Behind updateDevice(), which still logs a unit that loses its rows.
    connect(m_deviceList, &DeviceList::deviceChanged, this, &MainWinQorMonitor::rebuildMessageList);
    connect(m_deviceList, &DeviceList::listChanged, this, &MainWinQorMonitor::processListChanged);
    connect(m_deviceList, &DeviceList::openFilesExhausted, this,
            &MainWinQorMonitor::processOpenFilesExhausted, Qt::QueuedConnection);
    connect(m_deviceList, &DeviceList::deviceChanged, m_deviceManager, &DlgDeviceManager::updateDevice);
    connect(m_deviceList, &DeviceList::listChanged, m_deviceManager, &DlgDeviceManager::rebuildList);
    connect(m_deviceList, &DeviceList::deviceStatesChanged, m_deviceManager,
            &DlgDeviceManager::refreshStatus);
}

void MainWinQorMonitor::connectActions()
{
    connect(m_ui->actionAbout, &QAction::triggered, this, &MainWinQorMonitor::showAbout);
    connect(m_ui->actionAcknowledgeWarnings, &QAction::triggered, this,
            &MainWinQorMonitor::acknowledgeWarnings);
    connect(m_ui->actionExit, &QAction::triggered, this, &MainWinQorMonitor::exitApplication);
    connect(m_ui->actionDeviceManager, &QAction::triggered, this, &MainWinQorMonitor::showDeviceManager);
    connect(m_ui->actionMinimizeWindow, &QAction::triggered, this, &MainWinQorMonitor::minimizeWindow);
    connect(m_ui->actionUpdates, &QAction::triggered, this, &MainWinQorMonitor::showUpdates);
    connect(m_ui->actionUseAudio, &QAction::triggered, this, &MainWinQorMonitor::toggleUseAudio);
}

void MainWinQorMonitor::connectMessageList()
{
    connect(m_ui->treeWidget, &QTreeWidget::itemDoubleClicked, this,
            &MainWinQorMonitor::processTreeWidgetItemDoubleClicked);
    for (const auto key : { Qt::Key_Return, Qt::Key_Enter }) {
        auto* shortcut = new QShortcut(key, m_ui->treeWidget, nullptr, nullptr, Qt::WidgetShortcut);
        connect(shortcut, &QShortcut::activated, this, &MainWinQorMonitor::openSelectedRow);
    }
}

void MainWinQorMonitor::connectMenuKey()
{
    // The menus' titles have no mnemonics and not every style lets Alt into the menu bar.
    auto* menuKey = new QShortcut(Qt::Key_F10, this);
    connect(menuKey, &QShortcut::activated, m_ui->menuBar,
            [this] { m_ui->menuBar->setActiveAction(m_ui->menuApplication->menuAction()); });
}

void MainWinQorMonitor::startTimers()
{
    m_alertTimer.setInterval(alertTimerIntervalMs);
    m_alertTimer.start();
    // The automatic check runs once, whether the window is shown or not.
    const QPointer<DlgCheckForUpdates> updateDialog(m_updateDialog.get());
    QTimer::singleShot(updateCheckDelayMs, Qt::CoarseTimer, [updateDialog] {
        if (updateDialog)
            updateDialog->checkForUpdates(false);
    });
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
    restoreGeometry(settings.value(SettingsKeys::geometry).toByteArray());
    m_useAudio = settings.value(SettingsKeys::useAudio, true).toBool();
}

void MainWinQorMonitor::loadDevices()
{
    try {
        m_deviceList->load();
    } catch (...) {
        // The destructor will not run after this. Delete the units while the main window is still whole: they
        // emit signals to it when they end.
        delete m_deviceList;
        throw;
    }
}

void MainWinQorMonitor::setUpViews()
{
    m_ui->textBrowser->setHtml(QStringLiteral("<img src=\":/VarkoLogo200.png\">"));
    m_ui->treeWidget->setItemDelegate(new OneLineDelegate(MessageList::NameColumn, m_ui->treeWidget));
    m_ui->treeWidget->setColumnWidth(MessageList::TimeColumn, timeColumnWidth);
    m_ui->treeWidget->setColumnWidth(MessageList::NameColumn, nameColumnWidth);
}

void MainWinQorMonitor::rebuildMessageList()
{
    m_messageList->show(*m_deviceList);
}

void MainWinQorMonitor::processListChanged()
{
    rebuildMessageList();
    if (!hasAlert())
        m_alarmSound.stop();
}

void MainWinQorMonitor::processOpenFilesExhausted()
{
    if (std::exchange(m_isExhaustionTold, true))
        return;
    qWarning() << "MainWinQorMonitor::processOpenFilesExhausted() the system has no open files left";
    auto* box = new QMessageBox(
        QMessageBox::Warning, windowTitle(),
        tr("Das System stellt nicht genügend offene Dateien für alle Geräte bereit.\n"
           "Die Geräte mit der Meldung \"Verbindung getrennt\" werden zum Teil nicht überwacht."),
        QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    // It must not stand in the way of the list.
    box->setModal(false);
    box->show();
}

void MainWinQorMonitor::updateDevice(Device* pDevice)
{
    if (!pDevice)
        return;
    for (int i = 0; i < m_ui->treeWidget->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = m_ui->treeWidget->topLevelItem(i);
        if (!row || boundDevice(row) != pDevice)
            continue;
        row->setData(MessageList::NameColumn, Qt::DisplayRole, pDevice->qorName());
        // No error: the windows trace at critical level, and people search the log for it.
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

void MainWinQorMonitor::openSelectedRow()
{
    // Only what the user has really selected: a key typed as the window comes to the front opens nothing.
    const QList<QTreeWidgetItem*> selected = m_ui->treeWidget->selectedItems();
    if (!selected.isEmpty())
        processTreeWidgetItemDoubleClicked(selected.first(), MessageList::TimeColumn);
}

void MainWinQorMonitor::exitApplication()
{
    if (!m_ui->actionExit->isEnabled())
        return;
    // Here and nowhere else: a run that ends any other way keeps the geometry stored before.
    writeSettings([this](QSettings& settings) { settings.setValue(SettingsKeys::geometry, saveGeometry()); });
    QCoreApplication::quit();
}

void MainWinQorMonitor::showAbout()
{
    if (!m_ui->actionAbout->isEnabled())
        return;
    DlgAbout about(this);
    about.exec();
}

void MainWinQorMonitor::showDeviceManager()
{
    if (!m_ui->actionDeviceManager->isEnabled())
        return;
    m_deviceManager->show();
    // From the tray, while it must wait for another dialog.
    if (QApplication::activeModalWidget())
        return;
    // It may be open already, behind other windows.
    m_deviceManager->raise();
    m_deviceManager->activateWindow();
}

void MainWinQorMonitor::showUpdates()
{
    m_updateDialog->exec();
}
