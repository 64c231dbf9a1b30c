// SPDX-License-Identifier: MIT
// What the window's actions do: the dialogs that they call up, and hiding the window.
#include "dialogs/dlgcheckforupdates.h"
#include "dialogs/dlgdevicemanager.h"
#include "support/literals.h"
#include "support/messageboxes.h"
#include "support/windowtest.h"

#include <QApplication>
#include <QLineEdit>
#include <QSettings>
#include <QStatusBar>
#include <QtTest>

using Operation = void (MainWinQorMonitor::*)();
Q_DECLARE_METATYPE(Operation)

class TestWindowActions : public WindowTest {
    Q_OBJECT

private slots:
    void disabledActionDoesNothing_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::newRow("actionAbout") << &MainWinQorMonitor::showAbout;
        QTest::newRow("actionAcknowledgeWarnings") << &MainWinQorMonitor::acknowledgeWarnings;
        QTest::newRow("actionDeviceManager") << &MainWinQorMonitor::showDeviceManager;
        QTest::newRow("actionMinimizeWindow") << &MainWinQorMonitor::minimizeWindow;
        QTest::newRow("actionUseAudio") << &MainWinQorMonitor::toggleUseAudio;
    }

    void disabledActionDoesNothing()
    {
        QFETCH(const Operation, operation);
        const MessageBoxes dialogs;
        const auto state = [&] {
            return QVariantList({ rings(), m_window->isVisible(), deviceManager()->isVisible(),
                                  dialogs.count(), QSettings().allKeys(),
                                  action("actionUseAudio")->isChecked(),
                                  action("actionMinimizeWindow")->isEnabled() });
        };
        ring();
        action(QTest::currentDataTag())->setEnabled(false);
        const QVariantList before = state();
        (m_window.get()->*operation)();
        QCOMPARE(state(), before);
        action(QTest::currentDataTag())->setEnabled(true);
        (m_window.get()->*operation)();
        QVERIFY(state() != before);
    }

    void aboutIsFreshEachTime()
    {
        const MessageBoxes dialogs;
        for (int round = 1; round <= 2; ++round) {
            action("actionAbout")->trigger();
            QCOMPARE(dialogs.count(), round);
            QCOMPARE(dialogs.last().className, QByteArray("DlgAbout"));
            QCOMPARE(dialogs.last().parent, m_window.get());
            // Gone at once, so the next one is another.
            QVERIFY(!dialogs.last().dialog);
        }
    }

    void deviceManagerKeepsItsState()
    {
        auto* manager = deviceManager();
        auto* host = manager->findChild<QLineEdit*>("lineEditNewHost"_s);
        QVERIFY(!manager->isVisible());
        action("actionDeviceManager")->trigger();
        QVERIFY(manager->isVisible());
        QVERIFY(!manager->isModal());
        QVERIFY(!QApplication::activeModalWidget());
        QTest::keyClicks(host, "unit.example"_s);
        manager->close();
        QVERIFY(!manager->isVisible());

        action("actionDeviceManager")->trigger();
        QCOMPARE(m_window->findChildren<DlgDeviceManager*>(), QList<DlgDeviceManager*>({ manager }));
        QVERIFY(manager->isVisible());
        QCOMPARE(host->text(), "unit.example"_s);
    }

    void updatesRunModallyEvenWhenDisabled()
    {
        const MessageBoxes dialogs;
        const DlgCheckForUpdates* dialog = updateDialog();
        const auto checkRuns = [&](int times) {
            // Only after the dialog has been closed.
            QCOMPARE(dialogs.count(), times);
            QCOMPARE(dialogs.last().dialog.data(), dialog);
            QVERIFY(!dialog->isVisible());
        };
        action("actionUpdates")->trigger();
        checkRuns(1);
        action("actionUpdates")->trigger();
        checkRuns(2);
        action("actionUpdates")->setEnabled(false);
        m_window->showUpdates();
        checkRuns(3);
    }

    void partsHaveTheirParents()
    {
        QCOMPARE(units().parent(), m_window.get());
        QCOMPARE(deviceManager()->parent(), m_window.get());
        // It may be on the screen alone.
        QVERIFY(!updateDialog()->parent());
        QWidget owner;
        QCOMPARE(MainWinQorMonitor(&owner).parent(), &owner);
    }

    void listDoesNotCallTheWindow()
    {
        emit units().activateWindow();
        QVERIFY(!m_window->isVisible());
    }

    void dialogsEndBeforeTheUnits()
    {
        QStringList ended;
        const auto note = [&](const QObject* object, const char* name) {
            connect(object, &QObject::destroyed, this, [&ended, name] { ended << QLatin1String(name); });
        };
        note(&units(), "device list");
        note(updateDialog(), "update dialog");
        note(deviceManager(), "device manager");
        note(m_window->statusBar(), "form");
        m_window.reset();
        QCOMPARE(ended, QStringList({ "device manager"_s, "update dialog"_s, "device list"_s, "form"_s }));
    }

    void minimizeActionHides()
    {
        m_window->show();
        action("actionMinimizeWindow")->trigger();
        QVERIFY(!m_window->isVisible());
        QVERIFY(!m_window->isMinimized());
        QVERIFY(action("actionMinimizeWindow")->isEnabled());
    }

    void minimizedWindowDisablesTheAction()
    {
        QVERIFY(action("actionMinimizeWindow")->isEnabled());
        m_window->showMinimized();
        QVERIFY(m_window->isMinimized());
        // Nothing has brought the action up to date yet.
        QVERIFY(action("actionMinimizeWindow")->isEnabled());
        acknowledge();
        QVERIFY(!action("actionMinimizeWindow")->isEnabled());
        m_window->showNormal();
        QVERIFY(action("actionMinimizeWindow")->isEnabled());
    }

    void soundSwitchUpdatesTheActions()
    {
        m_window->showMinimized();
        m_window->toggleUseAudio();
        QVERIFY(!action("actionMinimizeWindow")->isEnabled());
        QVERIFY(!action("actionUseAudio")->isChecked());
    }

    void hidingAMinimizedWindowDisablesTheAction()
    {
        m_window->showMinimized();
        action("actionMinimizeWindow")->trigger();
        QVERIFY(!m_window->isVisible());
        QVERIFY(!action("actionMinimizeWindow")->isEnabled());
    }
};

QTEST_MAIN(TestWindowActions)
#include "tst_windowactions.moc"
