// SPDX-License-Identifier: MIT
// "Warnton bei neuen Meldungen": the switch of the alarm sound and its memory.
#include "alarmwindow.h"

#include "support/teststore.h"

#include <QSettings>
#include <QtTest>

namespace {
const auto key = QStringLiteral("UseAudio");
} // namespace

class TestAlarmSwitch : public QObject {
    Q_OBJECT

private slots:
    void init();
    void storedStateIsShown_data();
    void storedStateIsShown();
    void switchIsRemembered();
    void storedBeforeTheProgramEnds();
    void switchingOffSilences();
    void switchedOffAlertIsSilent();
    void switchingOnWaitsForTheNextAlert();
    void disabledSwitchDoesNothing();

private:
    TestStore m_store;
};

void TestAlarmSwitch::init()
{
    m_store.clear();
    QSettings().setValue(QStringLiteral("AutoCheckUpdates"), false);
}

void TestAlarmSwitch::storedStateIsShown_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<bool>("on");
    QTest::newRow("nothing stored") << QVariant() << true;
    QTest::newRow("on") << QVariant(true) << true;
    QTest::newRow("off") << QVariant(false) << false;
}

void TestAlarmSwitch::storedStateIsShown()
{
    QFETCH(const QVariant, stored);
    QFETCH(const bool, on);
    if (stored.isValid())
        QSettings().setValue(key, stored);
    const MainWinQorMonitor window;
    QCOMPARE(action(window, "actionUseAudio")->isChecked(), on);
    // Looking at the switch stores nothing.
    QCOMPARE(QSettings().contains(key), stored.isValid());
    addIdleUnit(window, 1);
    raiseAlert(window);
    QCOMPARE(rings(window), on);
}

void TestAlarmSwitch::switchIsRemembered()
{
    for (const bool on : { false, true, false }) {
        {
            const MainWinQorMonitor window;
            QCOMPARE(action(window, "actionUseAudio")->isChecked(), !on);
            action(window, "actionUseAudio")->trigger();
            QCOMPARE(action(window, "actionUseAudio")->isChecked(), on);
            QCOMPARE(QSettings().value(key), QVariant(on ? QStringLiteral("true") : QStringLiteral("false")));
        }
        const MainWinQorMonitor next;
        QCOMPARE(action(next, "actionUseAudio")->isChecked(), on);
    }
}

void TestAlarmSwitch::storedBeforeTheProgramEnds()
{
    const MainWinQorMonitor window;
    action(window, "actionUseAudio")->trigger();
    // What a program that dies now leaves behind.
    QFile file(m_store.filePath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().split('\n').contains("UseAudio=false"));
}

void TestAlarmSwitch::switchingOffSilences()
{
    const MainWinQorMonitor window;
    addIdleUnit(window, 1);
    raiseAlert(window);
    QVERIFY(rings(window));
    action(window, "actionUseAudio")->trigger();
    QVERIFY(!rings(window));
}

void TestAlarmSwitch::switchedOffAlertIsSilent()
{
    MainWinQorMonitor window;
    addIdleUnit(window, 1);
    window.toggleUseAudio();
    QVERIFY(!window.isVisible());
    raiseAlert(window);
    QVERIFY(!rings(window));
    QVERIFY(window.isVisible());
}

void TestAlarmSwitch::switchingOnWaitsForTheNextAlert()
{
    const MainWinQorMonitor window;
    addIdleUnit(window, 1);
    action(window, "actionUseAudio")->trigger();
    raiseAlert(window);
    action(window, "actionUseAudio")->trigger();
    QVERIFY(action(window, "actionUseAudio")->isChecked());
    QVERIFY(!rings(window));
    raiseAlert(window);
    QVERIFY(rings(window));
}

void TestAlarmSwitch::disabledSwitchDoesNothing()
{
    MainWinQorMonitor window;
    addIdleUnit(window, 1);
    raiseAlert(window);
    action(window, "actionUseAudio")->setEnabled(false);
    window.toggleUseAudio();
    QVERIFY(action(window, "actionUseAudio")->isChecked());
    QVERIFY(rings(window));
    QVERIFY(!QSettings().contains(key));
}

QTEST_MAIN(TestAlarmSwitch)
#include "tst_alarmswitch.moc"
