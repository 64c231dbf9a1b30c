// SPDX-License-Identifier: MIT
#pragma once

#include <QAction>
#include <QDateTime>
#include <QMainWindow>
#include <QSound>
#include <QSystemTrayIcon>
#include <QTimer>

#include <memory>

class Device;
class DeviceList;
class DlgCheckForUpdates;
class DlgDeviceManager;
class QTreeWidgetItem;

namespace Ui {
class MainWinQorMonitor;
}

// The program's window and the owner of everything that the user works with. Its centre is the list of the
// monitor messages of all monitored units; an alert rings until it is acknowledged and brings the window to
// the front. Created by main without a parent, lives on the GUI thread. Closing hides it into the system
// tray; the ways out are the "Beenden" action and an update.
class MainWinQorMonitor : public QMainWindow {
    Q_OBJECT

public:
    // Reads the settings and loads the saved units, which starts the links of the monitored ones. Throws
    // zmq::error_t when one of them refuses its endpoint.
    explicit MainWinQorMonitor(QWidget* parent = nullptr);
    ~MainWinQorMonitor() override;
    Q_DISABLE_COPY_MOVE(MainWinQorMonitor)

    DeviceList* deviceList() const { return m_deviceList; }
    // Rings for as long as it is not finished.
    const QSound& alarmSound() const { return m_alarmSound; }

    // Fills the message list anew from every monitored unit, in list order.
    void rebuildMessageList();
    // Shows the unit's present name in all of its rows.
    void updateDevice(Device* pDevice);
    // Opens the web interface of the row's unit in the default browser.
    void processTreeWidgetItemDoubleClicked(QTreeWidgetItem* item, int column);
    // Saves the window geometry and ends the program.
    void exitApplication();

    // Rings, if sound is on, and shows the window while any unit needs attention; falls silent otherwise.
    void processAlertChanged();
    // Silences the alarm until the next alert.
    void acknowledgeWarnings();
    // Hides the window into the system tray.
    void minimizeWindow();
    // Switches the alarm sound on or off and remembers it.
    void toggleUseAudio();
    // Shows, activates and raises the window; unless forced not while the device manager or the
    // update dialog is the active one.
    void showWindow(bool force);
    void processTrayActivated(QSystemTrayIcon::ActivationReason reason);
    void updateActions();
    void updateTitle();
    // Toggles the highlight of the group box.
    void toggleAlertHighlight();

    void showAbout();
    void showDeviceManager();
    void showUpdates();

protected:
    // Hides the window instead of closing it.
    void closeEvent(QCloseEvent* event) override;
    // Acknowledges.
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void createTrayIcon();
    void createConnections();
    void connectActions();
    void fillToolBar();
    void restoreSettings();
    void loadDevices();
    void setUpViews();
    void addMessageRows(Device* device);
    void openSelectedRow();

    std::unique_ptr<Ui::MainWinQorMonitor> m_ui;
    DeviceList* m_deviceList;
    DlgDeviceManager* m_deviceManager;
    QTimer m_alertTimer;
    bool m_blinkPhase = false;
    bool m_highlightEnabled = false;
    bool m_acknowledged = false;
    QDateTime m_acknowledgeTime = QDateTime::currentDateTime();
    QSound m_alarmSound { QStringLiteral(":/AlarmSound00.wav") };
    QSystemTrayIcon* m_trayIcon = nullptr;
    QMenu* m_trayMenu = nullptr;
    std::unique_ptr<QAction> m_openAction;
    bool m_useAudio = true;
    std::unique_ptr<DlgCheckForUpdates> m_updateDialog;
};
