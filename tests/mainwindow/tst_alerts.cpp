// SPDX-License-Identifier: MIT
// What makes the alarm ring and what silences it.

#include "devices/device.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/publisher.h"
#include "support/teststore.h"

#include <QSettings>
#include <QSignalSpy>
#include <QSoundEffect>
#include <QtTest>

class TestAlerts : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void alarmLoopsWithoutEnd()
    {
        const MainWinQorMonitor window;
        QCOMPARE(window.alarmSound().fileName(), ":/AlarmSound00.wav"_s);
        QCOMPARE(window.alarmSound().loops(), int(QSound::Infinite));
        QVERIFY(!window.alarmSound().parent());
        QVERIFY(!rings(window));
        QVERIFY(!window.isVisible());
    }

    void storedUnitsRingAtStart_data()
    {
        QTest::addColumn<bool>("sound");
        QTest::newRow("sound on") << true;
        QTest::newRow("sound off") << false;
    }

    void storedUnitsRingAtStart()
    {
        QFETCH(const bool, sound);
        for (int i = 0; i < 2; ++i)
            m_store.writeUnit(i, { { "Host"_s, "127.0.0.1"_s }, { "ZmqPort"_s, i } });
        QSettings().setValue("UseAudio"_s, sound);
        const MainWinQorMonitor window;
        QCOMPARE(rings(window), sound);
        QVERIFY(window.isVisible());
    }

    void anyFlagRings_data()
    {
        QTest::addColumn<QVector<bool>>("flags");
        QTest::addColumn<bool>("alert");
        QTest::newRow("no unit") << QVector<bool>() << false;
        QTest::newRow("no flag") << QVector<bool> { false, false, false } << false;
        QTest::newRow("first") << QVector<bool> { true, false, false } << true;
        QTest::newRow("middle") << QVector<bool> { false, true, false } << true;
        QTest::newRow("last") << QVector<bool> { false, false, true } << true;
        QTest::newRow("all") << QVector<bool> { true, true, true } << true;
    }

    void anyFlagRings()
    {
        QFETCH(const QVector<bool>, flags);
        QFETCH(const bool, alert);
        MainWinQorMonitor window;
        for (int i = 0; i < flags.size(); ++i)
            addUnit(*window.deviceList(), i)->setAlert(flags.at(i));
        acknowledge(window);
        window.hide();
        QVERIFY(!rings(window));
        raiseAlert(window);
        QCOMPARE(rings(window), alert);
        QCOMPARE(window.isVisible(), alert);
    }

    void secondAlertDoesNotRestart()
    {
        MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        raiseAlert(window);
        QVERIFY(rings(window));
        auto* effect = window.alarmSound().findChild<QSoundEffect*>();
        const QSignalSpy playing(effect, &QSoundEffect::playingChanged);
        const QSignalSpy loops(effect, &QSoundEffect::loopsRemainingChanged);
        raiseAlert(window);
        QVERIFY(rings(window));
        QCOMPARE(playing.count(), 0);
        QCOMPARE(loops.count(), 0);
    }

    void lastFlagGoneSilences()
    {
        MainWinQorMonitor window;
        Device* first = addUnit(*window.deviceList(), 1);
        Device* second = addUnit(*window.deviceList(), 2);
        raiseAlert(window);
        QVERIFY(rings(window));
        first->setAlert(false);
        QVERIFY(rings(window));
        window.hide();
        second->setAlert(false);
        QVERIFY(!rings(window));
        QVERIFY(!window.isVisible());
    }

    void acknowledgedUnitsKeepTheirFlags()
    {
        MainWinQorMonitor window;
        const Device* first = addUnit(*window.deviceList(), 1);
        const Device* second = addUnit(*window.deviceList(), 2);
        raiseAlert(window);
        QVERIFY(rings(window));
        acknowledge(window);
        QVERIFY(!rings(window));
        QVERIFY(first->alert());
        QVERIFY(second->alert());
        raiseAlert(window);
        QVERIFY(rings(window));
    }

    void disabledAcknowledgeKeepsRinging()
    {
        MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        raiseAlert(window);
        action(window, "actionAcknowledgeWarnings")->setEnabled(false);
        window.acknowledgeWarnings();
        QVERIFY(rings(window));
        action(window, "actionAcknowledgeWarnings")->setEnabled(true);
        window.acknowledgeWarnings();
        QVERIFY(!rings(window));
    }

    void doubleClickOnTheWindowAcknowledges()
    {
        MainWinQorMonitor window;
        addUnit(*window.deviceList(), 1);
        raiseAlert(window);
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(rings(window));
        // Whatever of the window does not use the double-click itself hands it on.
        QTest::mouseDClick(window.centralWidget()->findChild<QWidget*>("groupBox"_s), Qt::LeftButton,
                           Qt::NoModifier, { 2, 2 });
        QVERIFY(!rings(window));

        raiseAlert(window);
        QMouseEvent event(QEvent::MouseButtonDblClick, { 1, 1 }, Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
        QVERIFY(!rings(window));
        // The base class would have declined it.
        QVERIFY(event.isAccepted());
    }

    void unmonitoredUnitKeepsItsFlag()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        Device* unit = addMonitoredUnit(*window.deviceList(), publisher.port());
        QTRY_VERIFY(!unit->alert());
        QVERIFY(!rings(window));
        unit->setMonitored(false);
        QVERIFY(unit->alert());
        QVERIFY(rings(window));
        acknowledge(window);
        QVERIFY(unit->alert());
    }

    void connectedUnitSilences()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        const Device* unit = addMonitoredUnit(*window.deviceList(), publisher.port());
        window.processAlertChanged();
        QTRY_VERIFY(!unit->alert());
        QVERIFY(!rings(window));
    }

    void incompatibleUnitRings()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        const Device* unit = addMonitoredUnit(*window.deviceList(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s));
        QTRY_VERIFY(!unit->alert());
        window.hide();
        publisher.send("{");
        QTRY_VERIFY(unit->alert());
        QVERIFY(rings(window));
        QVERIFY(window.isVisible());
        publisher.send(statusReport("QOR-1"_s));
        QTRY_VERIFY(!unit->alert());
        QVERIFY(!rings(window));
    }

    void newWarningAloneStaysSilent()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        const Device* unit = addMonitoredUnit(*window.deviceList(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s));
        QTRY_COMPARE(unit->qorInterface()->state(), QorInterface::Connected);
        window.hide();
        const QSignalSpy alerts(window.deviceList(), &DeviceList::alertChanged);
        publisher.send(statusReport("QOR-1"_s, { warning("Lüfter steht"_s) }));
        QTRY_COMPARE(messageList(window)->topLevelItemCount(), 2);
        QCOMPARE(alerts.count(), 1);
        // The warning has called, but it sets no flag.
        QVERIFY(!unit->alert());
        QVERIFY(!rings(window));
        QVERIFY(!window.isVisible());
    }

    void newWarningRingsForAnotherUnmonitoredUnit()
    {
        Publisher publisher;
        MainWinQorMonitor window;
        const Device* unit = addMonitoredUnit(*window.deviceList(), publisher.port());
        const Device* idle = addUnit(*window.deviceList(), 1);
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s));
        QTRY_COMPARE(unit->qorInterface()->state(), QorInterface::Connected);
        QVERIFY(idle->alert());
        acknowledge(window);
        window.hide();
        publisher.send(statusReport("QOR-1"_s, { warning("Lüfter steht"_s) }));
        QTRY_VERIFY(rings(window));
        QVERIFY(window.isVisible());
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestAlerts)
#include "tst_alerts.moc"
