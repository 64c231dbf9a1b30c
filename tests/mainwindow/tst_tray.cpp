// SPDX-License-Identifier: MIT
// The tray icon with its menu, and the ways between the tray and the screen.

#include "devices/device.h"
#include "support/markingtranslator.h"
#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/publisher.h"
#include "support/teststore.h"

#include <QCloseEvent>
#include <QDialog>
#include <QGroupBox>
#include <QMenu>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

namespace {

const auto statusToolTip = "QORweb II Monitor\nStatus: Ok"_s;

QSystemTrayIcon* trayIcon(const MainWinQorMonitor& window)
{
    return window.findChild<QSystemTrayIcon*>();
}

QAction* openAction(const MainWinQorMonitor& window)
{
    return trayIcon(window)->contextMenu()->actions().first();
}

// As the desktop does it: only the icon itself may emit this signal by name.
void activate(const MainWinQorMonitor& window, QSystemTrayIcon::ActivationReason reason)
{
    QMetaObject::invokeMethod(trayIcon(window), "activated", Qt::DirectConnection,
                              Q_ARG(QSystemTrayIcon::ActivationReason, reason));
}

} // namespace

Q_DECLARE_METATYPE(QSystemTrayIcon::ActivationReason)

class TestTray : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void iconIsTheWindows()
    {
        const MainWinQorMonitor window;
        QCOMPARE(window.findChildren<QSystemTrayIcon*>().size(), 1);
        const QSystemTrayIcon* icon = trayIcon(window);
        QCOMPARE(icon->parent(), static_cast<const QObject*>(&window));
        QVERIFY(icon->isVisible());
        QVERIFY(!icon->icon().isNull());
        QCOMPARE(icon->icon().cacheKey(), window.windowIcon().cacheKey());
        addUnit(*window.deviceList(), 1);
        raiseAlert(window);
        QVERIFY(rings(window));
        QCOMPARE(icon->icon().cacheKey(), window.windowIcon().cacheKey());
    }

    void menuHoldsItsActions()
    {
        const MainWinQorMonitor window;
        const QMenu* menu = trayIcon(window)->contextMenu();
        QCOMPARE(menu->parent(), static_cast<const QObject*>(&window));
        QStringList entries;
        const QList<QAction*> actions = menu->actions();
        for (const QAction* entry : actions)
            entries << (entry->isSeparator() ? "-"_s : entry->objectName());
        // The first one is the tray's own and has no name.
        QCOMPARE(
            entries.join(QLatin1Char(' ')),
            QStringLiteral(" - actionUseAudio actionAcknowledgeWarnings - actionDeviceManager actionAbout - "
                           "actionMinimizeWindow actionExit"));
        QCOMPARE(actions.at(2), action(window, "actionUseAudio"));
    }

    void openActionStandsOut()
    {
        const MainWinQorMonitor window;
        const QAction* open = openAction(window);
        QCOMPARE(open->text(), "Monitor öffnen"_s);
        QCOMPARE(open->font().weight(), int(QFont::Bold));
        QVERIFY(!open->isCheckable());
        QVERIFY(!open->parent());
        const QList<QAction*> others = trayIcon(window)->contextMenu()->actions().mid(1);
        for (const QAction* other : others)
            QVERIFY(other->font().weight() != QFont::Bold);
    }

    void openActionShowsTheWindow()
    {
        const MainWinQorMonitor window;
        openAction(window)->trigger();
        QVERIFY(window.isVisible());
    }

    void openActionLeavesADialogInUseInFront()
    {
        MainWinQorMonitor window;
        window.showDeviceManager();
        auto* dialog = window.findChild<QDialog*>("DlgDeviceManager"_s);
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        openAction(window)->trigger();
        QVERIFY(!window.isVisible());
        QVERIFY(dialog->isActiveWindow());
    }

    void activationShowsTheWindow_data()
    {
        QTest::addColumn<QSystemTrayIcon::ActivationReason>("reason");
        QTest::addColumn<bool>("shown");
        QTest::newRow("unknown") << QSystemTrayIcon::Unknown << false;
        QTest::newRow("right click") << QSystemTrayIcon::Context << false;
        QTest::newRow("double click") << QSystemTrayIcon::DoubleClick << true;
        QTest::newRow("click") << QSystemTrayIcon::Trigger << true;
        QTest::newRow("middle click") << QSystemTrayIcon::MiddleClick << false;
    }

    void activationShowsTheWindow()
    {
        QFETCH(const QSystemTrayIcon::ActivationReason, reason);
        QFETCH(const bool, shown);
        MainWinQorMonitor window;
        window.showDeviceManager();
        auto* dialog = window.findChild<QDialog*>("DlgDeviceManager"_s);
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        activate(window, reason);
        // Even over a dialog in use: the user has asked for it.
        QCOMPARE(window.isVisible(), shown);
        QVERIFY(QTest::qWaitForWindowActive(shown ? static_cast<QWidget*>(&window)
                                                  : static_cast<QWidget*>(dialog)));
    }

    void activationEndsMinimizing()
    {
        MainWinQorMonitor window;
        window.showMinimized();
        QVERIFY(window.isMinimized());
        activate(window, QSystemTrayIcon::Trigger);
        QVERIFY(!window.isMinimized());
        QVERIFY(window.isVisible());
    }

    void toolTipIsAlwaysOk()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        QCOMPARE(trayIcon(window)->toolTip(), statusToolTip);
        const Device* unit = addMonitoredUnit(*window.deviceList(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        QTRY_VERIFY(!unit->alert());
        QCOMPARE(trayIcon(window)->toolTip(), statusToolTip);
        publisher.send("{");
        QTRY_VERIFY(unit->alert());
        QVERIFY(rings(window));
        QCOMPARE(trayIcon(window)->toolTip(), statusToolTip);
        window.updateTitle();
        QCOMPARE(trayIcon(window)->toolTip(), statusToolTip);
    }

    void textsAreTranslatable()
    {
        const ContextMarker marker("MainWinQorMonitor");
        const MainWinQorMonitor window;
        QCOMPARE(openAction(window)->text(), "#Monitor öffnen"_s);
        QCOMPARE(trayIcon(window)->toolTip(), QLatin1Char('#') + statusToolTip);
        // The tool tip until the status is known.
        QVERIFY(marker.sources().contains("QORweb II Monitor"_s));
    }

    void titleIsTheProgramsName()
    {
        MainWinQorMonitor window;
        QCOMPARE(window.windowTitle(), "QorMonitor"_s);
        window.setWindowTitle("other"_s);
        trayIcon(window)->setToolTip("other"_s);
        window.updateTitle();
        QCOMPARE(window.windowTitle(), "QorMonitor"_s);
        QCOMPARE(trayIcon(window)->toolTip(), statusToolTip);
    }

    void closingHides()
    {
        MainWinQorMonitor window;
        window.show();
        QCloseEvent event;
        QCoreApplication::sendEvent(&window, &event);
        QVERIFY(!event.isAccepted());
        QVERIFY(!window.isVisible());
        QVERIFY(trayIcon(window)->isVisible());

        window.show();
        QVERIFY(!window.close());
        QVERIFY(!window.isVisible());
        activate(window, QSystemTrayIcon::DoubleClick);
        QVERIFY(window.isVisible());
    }

    void minimizeActionHides()
    {
        MainWinQorMonitor window;
        window.show();
        action(window, "actionMinimizeWindow")->trigger();
        QVERIFY(!window.isVisible());
        QVERIFY(!window.isMinimized());
        QVERIFY(action(window, "actionMinimizeWindow")->isEnabled());
    }

    void disabledMinimizeDoesNothing()
    {
        MainWinQorMonitor window;
        window.show();
        action(window, "actionMinimizeWindow")->setEnabled(false);
        window.minimizeWindow();
        QVERIFY(window.isVisible());
        QVERIFY(!action(window, "actionMinimizeWindow")->isEnabled());
    }

    void minimizedWindowDisablesTheAction()
    {
        MainWinQorMonitor window;
        QVERIFY(action(window, "actionMinimizeWindow")->isEnabled());
        window.showMinimized();
        // Acknowledging brings the actions up to date.
        acknowledge(window);
        QVERIFY(!action(window, "actionMinimizeWindow")->isEnabled());
        window.showNormal();
        action(window, "actionUseAudio")->trigger();
        QVERIFY(action(window, "actionMinimizeWindow")->isEnabled());
    }

    void hidingAMinimizedWindowDisablesTheAction()
    {
        MainWinQorMonitor window;
        window.showMinimized();
        QVERIFY(window.isMinimized());
        // Nothing has brought the action up to date yet.
        QVERIFY(action(window, "actionMinimizeWindow")->isEnabled());
        action(window, "actionMinimizeWindow")->trigger();
        QVERIFY(!window.isVisible());
        QVERIFY(!action(window, "actionMinimizeWindow")->isEnabled());
    }

    void highlightStaysTransparent()
    {
        MainWinQorMonitor window;
        const auto* group = window.centralWidget()->findChild<QGroupBox*>("groupBox"_s);
        addUnit(*window.deviceList(), 1);
        raiseAlert(window);
        // Nothing has called for it yet.
        QCOMPARE(group->styleSheet(), QString());
        for (int phase = 0; phase < 3; ++phase) {
            window.toggleAlertHighlight();
            QCOMPARE(group->styleSheet(), "background-color: transparent;"_s);
        }
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestTray)
#include "tst_tray.moc"
