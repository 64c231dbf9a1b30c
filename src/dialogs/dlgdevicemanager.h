// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QPointer>

#include <memory>

class Device;
class MainWinQorMonitor;
class QTreeWidgetItem;

namespace Ui {
class DlgDeviceManager;
}

// The dialog in which the units are listed, added, changed, removed and monitored; every change is saved at
// once. Non-modal; created once by the main window, through which it reaches the device list, and reused.
// The buttons act on the tree's current row; only "Ändern" acts on the unit loaded into the entry fields.
class DlgDeviceManager : public QDialog {
    Q_OBJECT

public:
    explicit DlgDeviceManager(MainWinQorMonitor* parent);
    ~DlgDeviceManager() override;
    Q_DISABLE_COPY_MOVE(DlgDeviceManager)

    // Refreshes the status of all rows, without a log line. A hidden dialog does so when it is shown.
    void refreshStatus();

public slots:
    // Enables the buttons that need a unit loaded into the fields.
    void updateActions();
    // Only logs. The program does not call it.
    void updateList();
    // Fills the tree anew, in list order.
    void rebuildList();
    // Refreshes name and status of the unit's row; the other cells change only by a rebuild.
    void updateDevice(Device* pDevice);

protected:
    void showEvent(QShowEvent* event) override;

private slots:
    void on_pushButtonClose_clicked();
    void on_pushButtonRemove_clicked();
    void on_pushButtonAddHost_clicked();
    void on_pushButtonChangeHost_clicked();
    void on_pushButtonMonitor_clicked();
    void on_pushButtonStopMonitor_clicked();
    void on_pushButtonRefresh_clicked();
    void on_lineEditNewHost_returnPressed();
    void on_treeWidget_itemDoubleClicked(QTreeWidgetItem* item, int column);
    void on_treeWidget_itemClicked(QTreeWidgetItem* item, int column);

private:
    // What the four entry fields hold; a port that is no number is 0.
    struct Entry {
        QString host;
        int zmqPort;
        int webPort;
        QString webScheme;
    };

    Entry entry() const;
    void resetEntry();
    void showDuplicateWarning();
    // Tells the user when the list could not be saved. To be called last: the box is an event loop.
    void reportSave(bool isSaved);
    void setCurrentMonitored(bool on);

    std::unique_ptr<Ui::DlgDeviceManager> m_ui;
    MainWinQorMonitor* m_mainWindow;
    QPointer<Device> m_selectedDevice;
};
