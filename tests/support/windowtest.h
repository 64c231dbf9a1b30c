// SPDX-License-Identifier: MIT
#pragma once

#include "devices/devicelist.h"
#include "mainwindow/mainwinqormonitor.h"
#include "support/teststore.h"

#include <QAction>
#include <QStringList>
#include <QTreeWidget>

#include <memory>

class Device;
class DlgCheckForUpdates;
class DlgDeviceManager;
class QGroupBox;

// Looked for in the central widget: the device manager's list has the same name.
QTreeWidget* messageList(const MainWinQorMonitor& window);

// What the tests of the main window share. Each test function begins with an empty store and with a window
// that has no units and has not been on the screen.
class WindowTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_window.reset(); }

protected:
    // Ends the window and starts another one on what is stored.
    void restart();
    // Shows a window and makes it the active one.
    static bool bringToFront(QWidget* window);

    DeviceList& units() const { return *m_window->deviceList(); }
    // A monitored unit that never gets a link, having no address; its messages are up to the test alone.
    Device* addUnlinkedUnit() const;

    QTreeWidget* messages() const { return messageList(*m_window); }
    // The texts of one column of the message list, top to bottom.
    QStringList column(int index) const;
    // The box around the message list.
    QGroupBox* group() const;
    QAction* action(const char* name) const { return m_window->findChild<QAction*>(QLatin1String(name)); }
    DlgDeviceManager* deviceManager() const;
    // The update dialog of the window, found among all top-level windows because it has no parent.
    static DlgCheckForUpdates* updateDialog();

    bool rings() const;
    // Emits the signal that makes the window look at the alert flags of all units.
    void raiseAlert() const { emit units().alertChanged(); }
    // Adds a unit that is not monitored, whose alert flag is therefore set, and raises an alert.
    void ring() const;
    void acknowledge() const { action("actionAcknowledgeWarnings")->trigger(); }

    TestStore m_store;
    std::unique_ptr<MainWinQorMonitor> m_window;
};

// The object names of a menu's or tool bar's actions, "-" for a separator, joined by blanks.
QString entries(const QWidget* menu);
