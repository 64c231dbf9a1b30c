// SPDX-License-Identifier: MIT
// When an alert brings the window to the front, and when it leaves the user alone.

#include "dialogs/dlgabout.h"
#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/teststore.h"

#include <QApplication>
#include <QSettings>
#include <QtTest>

namespace {

QWidget* topLevel(const char* name)
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget* widget : widgets) {
        if (widget->objectName() == QLatin1String(name))
            return widget;
    }
    return nullptr;
}

// Counts how often a widget is put on top of the others.
class RaiseCounter : public QObject {
public:
    explicit RaiseCounter(QWidget* widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::ZOrderChange)
            ++m_count;
        return QObject::eventFilter(watched, event);
    }
    int m_count = 0;
};

} // namespace

class TestAlertWindow : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void alertComesToTheFront()
    {
        MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        window.showMinimized();
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        const RaiseCounter raises(&window);
        raiseAlert(window);
        QVERIFY(window.isVisible());
        QVERIFY(!window.isMinimized());
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCOMPARE(raises.m_count, 1);
    }

    void dialogInUseStaysInFront_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("device manager") << QByteArray("DlgDeviceManager");
        QTest::newRow("update dialog") << QByteArray("DlgCheckForUpdates");
    }

    void dialogInUseStaysInFront()
    {
        QFETCH(const QByteArray, name);
        MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        QWidget* dialog = topLevel(name.constData());
        QVERIFY(dialog);
        dialog->show();
        dialog->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        const RaiseCounter raises(&window);
        raiseAlert(window);
        QVERIFY(rings(window));
        QVERIFY(!window.isVisible());
        QVERIFY(dialog->isActiveWindow());
        QCOMPARE(raises.m_count, 0);
        window.processTrayActivated(QSystemTrayIcon::Trigger);
        QVERIFY(window.isVisible());
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }

    void dialogInTheBackDoesNotHoldTheWindow()
    {
        MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        topLevel("DlgDeviceManager")->show();
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        raiseAlert(window);
        QVERIFY(window.isVisible());
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }

    void alertInsideTheAboutBoxRings()
    {
        MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        bool heard = false;
        QTimer::singleShot(0, &window, [&] {
            raiseAlert(window);
            heard = rings(window) && window.isVisible();
            auto* about = window.findChild<DlgAbout*>();
            QVERIFY(about);
            about->reject();
        });
        window.showAbout();
        QVERIFY(heard);
        QVERIFY(!window.findChild<DlgAbout*>());
        QVERIFY(rings(window));
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestAlertWindow)
#include "tst_alertwindow.moc"
