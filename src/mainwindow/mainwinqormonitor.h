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
class MessageList;
class QTreeWidgetItem;

namespace Ui {
class MainWinQorMonitor;
}

// The program's window and the owner of everything that the user works with. Its centre is the list of the
// monitor messages of all monitored units; an alert rings until it is acknowledged and brings the window to
// the front. Created by main without a parent, lives on the GUI thread. Closing hides it into the system
// tray; the ways out are the "Beenden" action and an update. Operations that belong to an action do nothing
// while that is disabled, unless they say otherwise.
class MainWinQorMonitor : public QMainWindow {
    Q_OBJECT

public:
    // Reads the settings and loads the saved units, which starts the links of the monitored ones. Throws
    // zmq::error_t when one of them refuses its endpoint.
    explicit MainWinQorMonitor(QWidget* parent = nullptr);
    ~MainWinQorMonitor() override;
    Q_DISABLE_COPY_MOVE(MainWinQorMonitor)

    DeviceList* deviceList() const { return m_deviceList; }
    // The alarm rings while isFinished() is false.
    const QSound& alarmSound() const { return m_alarmSound; }

    // Message list and dialogs, in mainwinqormonitor.cpp.

    // Has the message list show what every monitored unit says now, in list order.
    void rebuildMessageList();
    // Shows the unit's present name in all of its rows.
    void updateDevice(Device* pDevice);
    // Opens the web interface of the row's unit in the default browser.
    void processTreeWidgetItemDoubleClicked(QTreeWidgetItem* item, int column);
    void showAbout();
    void showDeviceManager();
    // Runs the update dialog, also while its action is disabled.
    void showUpdates();
    // Saves the window geometry and ends the program.
    void exitApplication();

    // Alarm, acknowledgement and tray, in mainwinalerts.cpp with the events and createTrayIcon().

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
    // Blinks the group box. Part of the window's interface, but nothing in this program calls it.
    void toggleAlertHighlight();

protected:
    // Hides the window instead of closing it.
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    // Acknowledges.
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void createConnections();
    void connectDeviceList();
    void connectActions();
    void connectMessageList();
    void connectMenuKey();
    void startTimers();
    void fillToolBar();
    void restoreSettings();
    void loadDevices();
    void setUpViews();
    void processListChanged();
    void processOpenFilesExhausted();
    bool hasAlert() const;
    void openSelectedRow();
    void createTrayIcon();

    std::unique_ptr<Ui::MainWinQorMonitor> m_ui;
    std::unique_ptr<MessageList> m_messageList;
    DeviceList* m_deviceList;
    DlgDeviceManager* m_deviceManager;
    // Fires every second, but nothing is connected to it: its highlight is never switched on.
    QTimer m_alertTimer;
    // Only for toggleAlertHighlight(); the second one is never set, so the group box is never highlighted.
    bool m_blinkPhase = false;
    bool m_highlightEnabled = false;
    // Since the last alert; read by toggleAlertHighlight() only.
    bool m_acknowledged = false;
    // When that was last; nothing reads it.
    QDateTime m_acknowledgeTime = QDateTime::currentDateTime();
    QSound m_alarmSound { QStringLiteral(":/AlarmSound00.wav") };
    QSystemTrayIcon* m_trayIcon = nullptr;
    QMenu* m_trayMenu = nullptr;
    std::unique_ptr<QAction> m_openAction;
    bool m_useAudio = true;
    bool m_isExhaustionTold = false;
    std::unique_ptr<DlgCheckForUpdates> m_updateDialog;
};
