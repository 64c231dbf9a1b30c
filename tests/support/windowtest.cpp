// SPDX-License-Identifier: MIT
#include "support/windowtest.h"

#include "devices/device.h"
#include "dialogs/dlgcheckforupdates.h"
#include "dialogs/dlgdevicemanager.h"
#include "support/units.h"

#include <QApplication>
#include <QGroupBox>
#include <QSound>
#include <QtTest>

QTreeWidget* messageList(const MainWinQorMonitor& window)
{
    return window.centralWidget()->findChild<QTreeWidget*>("treeWidget"_s);
}

void WindowTest::init()
{
    // As in the program: closing the window ends nothing.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    m_store.clear();
    restart();
}

void WindowTest::restart()
{
    m_window.reset();
    m_window = std::make_unique<MainWinQorMonitor>();
}

bool WindowTest::bringToFront(QWidget* window)
{
    window->show();
    window->activateWindow();
    return QTest::qWaitForWindowActive(window);
}

Device* WindowTest::addUnlinkedUnit() const
{
    Device* unit = units().addDevice(QString(), units().count(), 80, "http"_s);
    unit->setMonitored(true);
    return unit;
}

QStringList WindowTest::column(int index) const
{
    QStringList texts;
    for (int i = 0; i < messages()->topLevelItemCount(); ++i)
        texts << messages()->topLevelItem(i)->text(index);
    return texts;
}

QGroupBox* WindowTest::group() const
{
    return m_window->centralWidget()->findChild<QGroupBox*>();
}

DlgDeviceManager* WindowTest::deviceManager() const
{
    return m_window->findChild<DlgDeviceManager*>();
}

DlgCheckForUpdates* WindowTest::updateDialog()
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget* widget : widgets) {
        if (auto* dialog = qobject_cast<DlgCheckForUpdates*>(widget))
            return dialog;
    }
    return nullptr;
}

bool WindowTest::rings() const
{
    return !m_window->alarmSound().isFinished();
}

void WindowTest::ring() const
{
    addUnit(units(), 1);
    raiseAlert();
}

QString entries(const QWidget* menu)
{
    QStringList names;
    const QList<QAction*> actions = menu->actions();
    for (const QAction* action : actions)
        names << (action->isSeparator() ? "-"_s : action->objectName());
    return names.join(QLatin1Char(' '));
}
