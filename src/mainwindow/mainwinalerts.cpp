// SPDX-License-Identifier: MIT
// The part of the main window that calls for attention: alarm, acknowledgement and tray.
#include "mainwindow/mainwinqormonitor.h"

#include "base/writesettings.h"
#include "devices/device.h"
#include "devices/devicelist.h"
#include "dialogs/dlgcheckforupdates.h"
#include "dialogs/dlgdevicemanager.h"
#include "mainwindow/settingskeys.h"
#include "ui_mainwinqormonitor.h"

#include <QCloseEvent>
#include <QMenu>
#include <QSettings>

// Every unit counts, also one that is not monitored.
bool MainWinQorMonitor::hasAlert() const
{
    for (int i = 0; i < m_deviceList->count(); ++i) {
        if (m_deviceList->at(i)->alert())
            return true;
    }
    return false;
}

void MainWinQorMonitor::processAlertChanged()
{
    if (!hasAlert()) {
        m_alarmSound.stop();
        return;
    }
    m_acknowledged = false;
    if (m_alarmSound.isFinished() && m_useAudio)
        m_alarmSound.play();
    // A Return that is typed just as the window comes up must not open the page of the row selected before.
    if (!isActiveWindow())
        m_ui->treeWidget->setCurrentItem(nullptr);
    showWindow(false);
}

void MainWinQorMonitor::acknowledgeWarnings()
{
    if (!m_ui->actionAcknowledgeWarnings->isEnabled())
        return;
    // The units keep their alert flags, so the next alert rings again.
    m_acknowledged = true;
    m_acknowledgeTime = QDateTime::currentDateTime();
    m_alarmSound.stop();
    updateActions();
}

void MainWinQorMonitor::minimizeWindow()
{
    if (!m_ui->actionMinimizeWindow->isEnabled())
        return;
    hide();
    updateActions();
}

void MainWinQorMonitor::toggleUseAudio()
{
    if (!m_ui->actionUseAudio->isEnabled())
        return;
    m_useAudio = !m_useAudio;
    if (!m_alarmSound.isFinished() && !m_useAudio)
        m_alarmSound.stop();
    updateActions();
    writeSettings([this](QSettings& settings) { settings.setValue(SettingsKeys::useAudio, m_useAudio); });
}

void MainWinQorMonitor::showWindow(bool force)
{
    // An alert must not pull the window over a dialog that the user is working in.
    const auto inUse = [](const QWidget* dialog) { return dialog && dialog->isActiveWindow(); };
    if (!force && (inUse(m_updateDialog.get()) || inUse(m_deviceManager)))
        return;
    showNormal();
    activateWindow();
    raise();
}

void MainWinQorMonitor::processTrayActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason == QSystemTrayIcon::DoubleClick || reason == QSystemTrayIcon::Trigger)
        showWindow(true);
}

void MainWinQorMonitor::updateActions()
{
    m_ui->actionMinimizeWindow->setEnabled(!isMinimized());
    m_ui->actionUseAudio->setChecked(m_useAudio);
}

void MainWinQorMonitor::updateTitle()
{
    setWindowTitle(tr("QorMonitor"));
    // The status is always "Ok", whatever the units report: no other is ever shown.
    if (m_trayIcon)
        m_trayIcon->setToolTip(tr("QORweb II Monitor\nStatus: %1").arg(QStringLiteral("Ok")));
}

void MainWinQorMonitor::toggleAlertHighlight()
{
    const bool phase = m_blinkPhase;
    m_blinkPhase = !m_blinkPhase;
    const bool highlight = !m_acknowledged && m_highlightEnabled && !phase;
    m_ui->groupBox->setStyleSheet(highlight ? QStringLiteral("background-color: rgba(255,255,0,0.2);")
                                            : QStringLiteral("background-color: transparent;"));
}

void MainWinQorMonitor::createTrayIcon()
{
    m_openAction = std::make_unique<QAction>(tr("Monitor öffnen"), nullptr);
    QFont font = m_openAction->font();
    font.setWeight(QFont::Bold);
    m_openAction->setFont(font);
    // triggered(bool) passes its checked state as "force". That is always false, since the action is not
    // checkable.
    connect(m_openAction.get(), &QAction::triggered, this, &MainWinQorMonitor::showWindow);

    m_trayMenu = new QMenu(this);
    m_trayIcon = new QSystemTrayIcon(this);
    m_trayMenu->addAction(m_openAction.get());
    m_trayMenu->addSeparator();
    m_trayMenu->addAction(m_ui->actionUseAudio);
    m_trayMenu->addAction(m_ui->actionAcknowledgeWarnings);
    m_trayMenu->addSeparator();
    m_trayMenu->addAction(m_ui->actionDeviceManager);
    m_trayMenu->addAction(m_ui->actionAbout);
    m_trayMenu->addSeparator();
    m_trayMenu->addAction(m_ui->actionMinimizeWindow);
    m_trayMenu->addAction(m_ui->actionExit);

    m_trayIcon->setContextMenu(m_trayMenu);
    m_trayIcon->setIcon(windowIcon());
    m_trayIcon->setToolTip(tr("QORweb II Monitor"));
    connect(m_trayIcon, &QSystemTrayIcon::activated, this, &MainWinQorMonitor::processTrayActivated);
    m_trayIcon->setVisible(true);
}

void MainWinQorMonitor::closeEvent(QCloseEvent* event)
{
    hide();
    event->ignore();
}

void MainWinQorMonitor::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    // The desktop restores the window, too, and it may have been minimised when the actions were last
    // updated.
    if (event->type() == QEvent::WindowStateChange && !isMinimized())
        updateActions();
}

void MainWinQorMonitor::mouseDoubleClickEvent(QMouseEvent* event)
{
    Q_UNUSED(event)
    acknowledgeWarnings();
}
