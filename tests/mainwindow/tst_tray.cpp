// SPDX-License-Identifier: MIT
// The tray icon with its menu, and the ways between the tray and the screen.
#include "devices/device.h"
#include "dialogs/dlgdevicemanager.h"
#include "support/publisher.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QCloseEvent>
#include <QMenu>
#include <QStatusBar>
#include <QtTest>

Q_DECLARE_METATYPE(QSystemTrayIcon::ActivationReason)

namespace {
const auto statusToolTip = "QORweb II Monitor\nStatus: Ok"_s;
} // namespace

class TestTray : public WindowTest {
    Q_OBJECT

private slots:
    void iconIsTheWindows()
    {
        QCOMPARE(m_window->findChildren<QSystemTrayIcon*>().size(), 1);
        QCOMPARE(icon()->parent(), m_window.get());
        QVERIFY(icon()->isVisible());
        QVERIFY(!icon()->icon().isNull());
        QCOMPARE(icon()->icon().cacheKey(), m_window->windowIcon().cacheKey());
        ring();
        QVERIFY(rings());
        QCOMPARE(icon()->icon().cacheKey(), m_window->windowIcon().cacheKey());
    }

    void menuHoldsItsActions()
    {
        const QMenu* menu = icon()->contextMenu();
        QCOMPARE(menu->parent(), m_window.get());
        // The first one is the tray's own and has no name.
        QCOMPARE(entries(menu),
                 " - actionUseAudio actionAcknowledgeWarnings - actionDeviceManager actionAbout - "
                 "actionMinimizeWindow actionExit"_s);
        QCOMPARE(menu->actions().at(2), action("actionUseAudio"));
    }

    void openActionStandsOut()
    {
        const QAction* open = openAction();
        QCOMPARE(open->text(), "Monitor öffnen"_s);
        QCOMPARE(open->font().weight(), int(QFont::Bold));
        QVERIFY(!open->isCheckable());
        QVERIFY(!open->parent());
        const QList<QAction*> others = icon()->contextMenu()->actions().mid(1);
        for (const QAction* other : others)
            QVERIFY(other->font().weight() != QFont::Bold);
    }

    void openActionShowsTheWindow()
    {
        openAction()->trigger();
        QVERIFY(m_window->isVisible());
    }

    void openActionLeavesADialogInUseInFront()
    {
        QVERIFY(useDeviceManager());
        openAction()->trigger();
        QVERIFY(!m_window->isVisible());
        QVERIFY(deviceManager()->isActiveWindow());
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
        QVERIFY(useDeviceManager());
        activate(reason);
        // Even over a dialog in use: the user has asked for it.
        QCOMPARE(m_window->isVisible(), shown);
        QWidget* front = m_window.get();
        QVERIFY(QTest::qWaitForWindowActive(shown ? front : deviceManager()));
    }

    void activationEndsMinimizing()
    {
        m_window->showMinimized();
        QVERIFY(m_window->isMinimized());
        activate(QSystemTrayIcon::Trigger);
        QVERIFY(!m_window->isMinimized());
        QVERIFY(m_window->isVisible());
    }

    void activationEndsMaximizing()
    {
        m_window->showMaximized();
        QVERIFY(m_window->isMaximized());
        activate(QSystemTrayIcon::Trigger);
        QVERIFY(!m_window->isMaximized());
    }

    void closingHides()
    {
        m_window->show();
        QCloseEvent event;
        QCoreApplication::sendEvent(m_window.get(), &event);
        QVERIFY(!event.isAccepted());
        QVERIFY(!m_window->isVisible());
        QVERIFY(icon()->isVisible());

        m_window->show();
        QVERIFY(!m_window->close());
        QVERIFY(!m_window->isVisible());
        activate(QSystemTrayIcon::DoubleClick);
        QVERIFY(m_window->isVisible());
    }

    void statusIsAlwaysOk()
    {
        Publisher publisher;
        QCOMPARE(icon()->toolTip(), statusToolTip);
        const Device* unit = addMonitoredUnit(units(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        QTRY_VERIFY(!unit->alert());
        QCOMPARE(icon()->toolTip(), statusToolTip);
        publisher.send("{");
        QTRY_VERIFY(unit->alert());
        QVERIFY(rings());
        QCOMPARE(icon()->toolTip(), statusToolTip);
        QCOMPARE(m_window->statusBar()->currentMessage(), QString());

        QCOMPARE(m_window->windowTitle(), "QorMonitor"_s);
        m_window->setWindowTitle("other"_s);
        icon()->setToolTip("other"_s);
        m_window->updateTitle();
        QCOMPARE(m_window->windowTitle(), "QorMonitor"_s);
        QCOMPARE(icon()->toolTip(), statusToolTip);
    }

private:
    QSystemTrayIcon* icon() const { return m_window->findChild<QSystemTrayIcon*>(); }
    QAction* openAction() const { return icon()->contextMenu()->actions().first(); }
    // As the desktop does it: only the icon itself may emit this signal by name.
    void activate(QSystemTrayIcon::ActivationReason reason) const
    {
        QMetaObject::invokeMethod(icon(), "activated", Qt::DirectConnection,
                                  Q_ARG(QSystemTrayIcon::ActivationReason, reason));
    }

    bool useDeviceManager() const
    {
        m_window->showDeviceManager();
        return QTest::qWaitForWindowActive(deviceManager());
    }
};

QTEST_MAIN(TestTray)
#include "tst_tray.moc"
