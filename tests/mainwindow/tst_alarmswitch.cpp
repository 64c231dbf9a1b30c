// SPDX-License-Identifier: MIT
// "Warnton bei neuen Meldungen": the switch of the alarm sound and its memory.

#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/teststore.h"

#include <QSettings>
#include <QtTest>

namespace {
const auto key = "UseAudio"_s;
} // namespace

class TestAlarmSwitch : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void storedStateIsShown_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("on");
        QTest::newRow("nothing stored") << QVariant() << true;
        QTest::newRow("on") << QVariant(true) << true;
        QTest::newRow("off") << QVariant(false) << false;
    }

    void storedStateIsShown()
    {
        QFETCH(const QVariant, stored);
        QFETCH(const bool, on);
        if (stored.isValid())
            QSettings().setValue(key, stored);
        const MainWinQorMonitor window;
        QCOMPARE(action(window, "actionUseAudio")->isChecked(), on);
        // Looking at the switch stores nothing.
        QCOMPARE(QSettings().contains(key), stored.isValid());
        addUnit(*window.deviceList(), 1);
        raiseAlert(window);
        QCOMPARE(rings(window), on);
    }

    void switchIsRemembered()
    {
        for (const bool on : { false, true, false }) {
            {
                const MainWinQorMonitor window;
                QCOMPARE(action(window, "actionUseAudio")->isChecked(), !on);
                action(window, "actionUseAudio")->trigger();
                QCOMPARE(action(window, "actionUseAudio")->isChecked(), on);
                QCOMPARE(QSettings().value(key), QVariant(on ? "true"_s : "false"_s));
            }
            const MainWinQorMonitor next;
            QCOMPARE(action(next, "actionUseAudio")->isChecked(), on);
        }
    }

    void storedBeforeTheProgramEnds()
    {
        const MainWinQorMonitor window;
        action(window, "actionUseAudio")->trigger();
        // What a program that dies now leaves behind.
        QFile file(m_store.filePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().split('\n').contains("UseAudio=false"));
    }

    void switchingOffSilences()
    {
        const MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        raiseAlert(window);
        QVERIFY(rings(window));
        action(window, "actionUseAudio")->trigger();
        QVERIFY(!rings(window));
    }

    void switchedOffAlertIsSilent()
    {
        MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        window.toggleUseAudio();
        QVERIFY(!window.isVisible());
        raiseAlert(window);
        QVERIFY(!rings(window));
        QVERIFY(window.isVisible());
    }

    void switchingOnWaitsForTheNextAlert()
    {
        const MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        action(window, "actionUseAudio")->trigger();
        raiseAlert(window);
        action(window, "actionUseAudio")->trigger();
        QVERIFY(action(window, "actionUseAudio")->isChecked());
        QVERIFY(!rings(window));
        raiseAlert(window);
        QVERIFY(rings(window));
    }

    void disabledSwitchDoesNothing()
    {
        MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        raiseAlert(window);
        action(window, "actionUseAudio")->setEnabled(false);
        window.toggleUseAudio();
        QVERIFY(action(window, "actionUseAudio")->isChecked());
        QVERIFY(rings(window));
        QVERIFY(!QSettings().contains(key));
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestAlarmSwitch)
#include "tst_alarmswitch.moc"
