// SPDX-License-Identifier: MIT
#pragma once

#include "dialogs/dlgdevicemanager.h"
#include "mainwindow/mainwinqormonitor.h"
#include "support/literals.h"
#include "support/messageboxes.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

class Device;
class DeviceList;

// A main window and its device manager, worked on as the user does, and with their boxes answered.
class ManagedWindow {
public:
    MessageBoxes boxes;

    MainWinQorMonitor* window() { return &m_window; }
    DeviceList* list() const { return m_window.deviceList(); }
    DlgDeviceManager* dialog() const { return m_window.findChild<DlgDeviceManager*>(); }
    QTreeWidget* tree() const { return dialog()->findChild<QTreeWidget*>(); }
    // By the part of its object name behind "pushButton".
    QPushButton* button(const char* name) const;
    // By the part of its object name behind "lineEdit".
    QLineEdit* field(const char* name) const;

    // Shows the dialog and waits until it is in use.
    bool show();
    void click(const char* name) { button(name)->click(); }
    // What a click does, even while the button is disabled.
    void invoke(const char* name);
    // Types into the four entry fields.
    void enter(const QString& host, const QString& zmqPort = "5566"_s, const QString& webPort = "80"_s,
               const QString& scheme = "http"_s);
    // Enters a unit on the loopback address and adds it.
    Device* add(int zmqPort = 5566, const QString& webPort = "80"_s);
    // Adds such a unit and clicks its row, so that it stands in the entry fields.
    Device* addLoaded(int zmqPort = 5566);
    // Makes the unit's row the current one without a click.
    void select(const Device* device) { tree()->setCurrentItem(rowOf(device)); }
    // Clicks or double-clicks the unit's row with the mouse; the dialog must be on the screen.
    void clickRow(const Device* device);
    void doubleClickRow(const Device* device);

    // What stands in the four entry fields, joined by blanks.
    QString fields() const;
    // The texts of one row or of one column, joined by "|".
    QString row(int index) const;
    QString column(int index) const;
    QTreeWidgetItem* rowOf(const Device* device) const;
    // The names of the enabled buttons in the order of the form, joined by blanks.
    QString enabledButtons() const;

private:
    MainWinQorMonitor m_window;
};

// In the order of the form.
constexpr const char* buttonNames[]
    = { "Monitor", "StopMonitor", "Remove", "Refresh", "ChangeHost", "AddHost", "Close" };

// The enabled buttons without and with a unit in the entry fields.
inline const auto nothingLoaded = "Refresh AddHost Close"_s;
inline const auto unitLoaded = "Monitor StopMonitor Remove Refresh ChangeHost AddHost Close"_s;

// The units in the settings store as "host:port webPort scheme monitored", joined by "|".
QString storedUnits();
