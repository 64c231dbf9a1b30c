// SPDX-License-Identifier: MIT
#pragma once

#include <QMainWindow>

#include <memory>

class Device;
class DeviceList;
class QTreeWidgetItem;

namespace Ui {
class MainWinQorMonitor;
}

// The program's window and the owner of everything that the user works with. Its centre is the list of the
// monitor messages of all monitored units. Created by main without a parent, lives on the GUI thread; the
// "Beenden" action is the way out.
class MainWinQorMonitor : public QMainWindow {
    Q_OBJECT

public:
    // Reads the settings and loads the saved units, which starts the links of the monitored ones. Throws
    // zmq::error_t when one of them refuses its endpoint.
    explicit MainWinQorMonitor(QWidget* parent = nullptr);
    ~MainWinQorMonitor() override;
    Q_DISABLE_COPY_MOVE(MainWinQorMonitor)

    DeviceList* deviceList() const { return m_deviceList; }

    // Fills the message list anew from every monitored unit, in list order.
    void rebuildMessageList();
    // Shows the unit's present name in all of its rows.
    void updateDevice(Device* pDevice);
    // Opens the web interface of the row's unit in the default browser.
    void processTreeWidgetItemDoubleClicked(QTreeWidgetItem* item, int column);
    // Saves the window geometry and ends the program.
    void exitApplication();

private:
    void createConnections();
    void fillToolBar();
    void restoreSettings();
    void loadDevices();
    void setUpViews();
    void addMessageRows(Device* device);
    void forgetDevice(QObject* device);

    std::unique_ptr<Ui::MainWinQorMonitor> m_ui;
    DeviceList* m_deviceList;
};
