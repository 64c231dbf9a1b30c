// SPDX-License-Identifier: MIT
// The dialogs that the main window owns or makes: how they are called up, and in which order they end.

#include "dialogs/dlgabout.h"
#include "dialogs/dlgcheckforupdates.h"
#include "dialogs/dlgdevicemanager.h"
#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/teststore.h"

#include <QApplication>
#include <QLineEdit>
#include <QPointer>
#include <QStatusBar>
#include <QTimer>
#include <QtTest>

#include <memory>

namespace {

// The main window's own: it has no parent.
DlgCheckForUpdates* updateDialog()
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget* widget : widgets) {
        if (auto* dialog = qobject_cast<DlgCheckForUpdates*>(widget))
            return dialog;
    }
    return nullptr;
}

} // namespace

// Notes every dialog that runs modally, and closes it.
class ModalWatch : public QObject {
public:
    ModalWatch()
    {
        connect(&m_timer, &QTimer::timeout, this, &ModalWatch::look);
        m_timer.start(1);
    }

    int m_count = 0;
    QPointer<QDialog> m_dialog;
    QByteArray m_class;
    const QObject* m_parent = nullptr;

private:
    void look()
    {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        ++m_count;
        m_dialog = dialog;
        m_class = dialog->metaObject()->className();
        m_parent = dialog->parent();
        dialog->reject();
    }

    QTimer m_timer;
};

class TestWindowDialogs : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        m_window = std::make_unique<MainWinQorMonitor>();
    }

    void cleanup() { m_window.reset(); }
    void aboutIsFreshEachTime()
    {
        const ModalWatch watch;
        for (int round = 1; round <= 2; ++round) {
            action("actionAbout")->trigger();
            QCOMPARE(watch.m_count, round);
            QCOMPARE(watch.m_class, QByteArray(DlgAbout::staticMetaObject.className()));
            QCOMPARE(watch.m_parent, m_window.get());
            // Gone at once, so the next one is another.
            QVERIFY(!watch.m_dialog);
        }
    }

    void disabledAboutDoesNothing()
    {
        const ModalWatch watch;
        action("actionAbout")->setEnabled(false);
        m_window->showAbout();
        QCOMPARE(watch.m_count, 0);
        action("actionAbout")->setEnabled(true);
        m_window->showAbout();
        QCOMPARE(watch.m_count, 1);
    }

    void deviceManagerKeepsItsState()
    {
        auto* manager = m_window->findChild<DlgDeviceManager*>();
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

    void disabledDeviceManagerDoesNothing()
    {
        const auto* manager = m_window->findChild<DlgDeviceManager*>();
        action("actionDeviceManager")->setEnabled(false);
        m_window->showDeviceManager();
        QVERIFY(!manager->isVisible());
        action("actionDeviceManager")->setEnabled(true);
        m_window->showDeviceManager();
        QVERIFY(manager->isVisible());
    }

    void updatesRunModally()
    {
        const ModalWatch watch;
        const QPointer<DlgCheckForUpdates> dialog = updateDialog();
        QVERIFY(dialog);
        for (int round = 1; round <= 2; ++round) {
            action("actionUpdates")->trigger();
            // Only after the dialog has been closed.
            QCOMPARE(watch.m_count, round);
            QCOMPARE(watch.m_dialog.data(), dialog.data());
            QVERIFY(dialog);
            QVERIFY(!dialog->isVisible());
        }
    }

    void disabledUpdatesRunAllTheSame()
    {
        const ModalWatch watch;
        action("actionUpdates")->setEnabled(false);
        m_window->showUpdates();
        QCOMPARE(watch.m_count, 1);
        QCOMPARE(watch.m_dialog.data(), updateDialog());
    }

    void windowHasNoSignalsAndSlots()
    {
        const QMetaObject& meta = MainWinQorMonitor::staticMetaObject;
        QCOMPARE(QByteArray(meta.className()), QByteArray("MainWinQorMonitor"));
        QCOMPARE(meta.methodCount(), meta.methodOffset());
    }

    void dialogsEndBeforeTheUnits()
    {
        QStringList ended;
        const auto note = [&](const QObject* object, const char* name) {
            connect(object, &QObject::destroyed, this, [&ended, name] { ended << QLatin1String(name); });
        };
        note(m_window->deviceList(), "device list");
        note(updateDialog(), "update dialog");
        note(m_window->findChild<DlgDeviceManager*>(), "device manager");
        note(m_window->statusBar(), "form");
        m_window.reset();
        QCOMPARE(ended, QStringList({ "device manager"_s, "update dialog"_s, "device list"_s, "form"_s }));
    }

private:
    QAction* action(const char* name) const { return ::action(*m_window, name); }

    TestStore m_store;
    std::unique_ptr<MainWinQorMonitor> m_window;
};

QTEST_MAIN(TestWindowDialogs)
#include "tst_windowdialogs.moc"
