// SPDX-License-Identifier: MIT
// The alarm: what makes it ring and brings the window to the front, what silences it, and its switch.
#include "devices/device.h"
#include "dialogs/dlgcheckforupdates.h"
#include "dialogs/dlgdevicemanager.h"
#include "support/eventwatch.h"
#include "support/messageboxes.h"
#include "support/platform.h"
#include "support/publisher.h"
#include "support/soundplays.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QGroupBox>
#include <QSettings>
#include <QSignalSpy>
#include <QSound>
#include <QtTest>

namespace {
const auto soundKey = "UseAudio"_s;
} // namespace

class TestAlerts : public WindowTest {
    Q_OBJECT

private slots:
    void alarmLoopsWithoutEnd()
    {
        const QSound& alarm = m_window->alarmSound();
        QCOMPARE(alarm.fileName(), ":/AlarmSound00.wav"_s);
        QCOMPARE(alarm.loops(), int(QSound::Infinite));
        QVERIFY(!alarm.parent());
        QVERIFY(!rings());
        QVERIFY(!m_window->isVisible());
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
        for (int i = 0; i < flags.size(); ++i)
            addUnit(units(), i)->setAlert(flags.at(i));
        acknowledge();
        m_window->hide();
        QVERIFY(!rings());
        raiseAlert();
        QCOMPARE(rings(), alert);
        QCOMPARE(m_window->isVisible(), alert);
    }

    void secondAlertDoesNotRestart()
    {
        const int before = soundPlays();
        ring();
        QVERIFY(rings());
        QCOMPARE(soundPlays(), before + 1);
        m_window->hide();
        raiseAlert();
        QVERIFY(rings());
        QCOMPARE(soundPlays(), before + 1);
        QVERIFY(m_window->isVisible());
    }

    void lastFlagGoneSilences()
    {
        Device* first = addUnit(units(), 1);
        Device* second = addUnit(units(), 2);
        raiseAlert();
        QVERIFY(rings());
        first->setAlert(false);
        QVERIFY(rings());
        m_window->hide();
        second->setAlert(false);
        QVERIFY(!rings());
        QVERIFY(!m_window->isVisible());
    }

    void acknowledgedUnitsKeepTheirFlags()
    {
        const Device* first = addUnit(units(), 1);
        const Device* second = addUnit(units(), 2);
        raiseAlert();
        QVERIFY(rings());
        acknowledge();
        QVERIFY(!rings());
        QVERIFY(first->alert());
        QVERIFY(second->alert());
        raiseAlert();
        QVERIFY(rings());
    }

    void doubleClickOnTheWindowAcknowledges()
    {
        ring();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QVERIFY(rings());
        // Whatever of the window does not use the double-click itself hands it on.
        QTest::mouseDClick(group(), Qt::LeftButton, Qt::NoModifier, { 2, 2 });
        QVERIFY(!rings());

        raiseAlert();
        QMouseEvent event(QEvent::MouseButtonDblClick, { 1, 1 }, Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(m_window.get(), &event);
        QVERIFY(!rings());
        // The base class would have declined it.
        QVERIFY(event.isAccepted());
    }

    void unitRingsByItsState()
    {
        Publisher publisher;
        const Device* unit = addMonitoredUnit(units(), publisher.port());
        raiseAlert();
        QVERIFY(rings());
        // Waiting for the unit's first word is enough.
        QVERIFY(publisher.waitForSubscriber());
        QTRY_VERIFY(!unit->alert());
        QVERIFY(!rings());
        m_window->hide();
        publisher.send("{");
        QTRY_VERIFY(unit->alert());
        QVERIFY(rings());
        QVERIFY(m_window->isVisible());
        publisher.send(statusReport("QOR-1"_s));
        QTRY_VERIFY(!unit->alert());
        QVERIFY(!rings());
    }

    void unmonitoredUnitKeepsItsFlag()
    {
        Publisher publisher;
        Device* unit = addMonitoredUnit(units(), publisher.port());
        QTRY_VERIFY(!unit->alert());
        QVERIFY(!rings());
        unit->setMonitored(false);
        QVERIFY(unit->alert());
        QVERIFY(rings());
        acknowledge();
        QVERIFY(unit->alert());
    }

    void newWarningRingsForAnotherUnitOnly_data()
    {
        QTest::addColumn<bool>("otherUnit");
        QTest::newRow("alone") << false;
        QTest::newRow("beside a unit that is not monitored") << true;
    }

    void newWarningRingsForAnotherUnitOnly()
    {
        QFETCH(const bool, otherUnit);
        Publisher publisher;
        const Device* unit = addMonitoredUnit(units(), publisher.port());
        if (otherUnit)
            QVERIFY(addUnit(units(), 1)->alert());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s));
        QTRY_COMPARE(column(2), QStringList(connectedText));
        acknowledge();
        m_window->hide();
        const QSignalSpy alerts(&units(), &DeviceList::alertChanged);
        publisher.send(statusReport("QOR-1"_s, { warning("Lüfter steht"_s) }));
        QTRY_COMPARE(column(2), QStringList({ connectedText, "Lüfter steht"_s }));
        QCOMPARE(alerts.count(), 1);
        // The warning has called, but it sets no flag.
        QVERIFY(!unit->alert());
        QCOMPARE(rings(), otherUnit);
        QCOMPARE(m_window->isVisible(), otherUnit);
    }

    void newWarningStopsAnAlarmWithoutFlag()
    {
        Publisher publisher;
        const Device* unit = addMonitoredUnit(units(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        publisher.send(statusReport("QOR-1"_s));
        QTRY_COMPARE(column(2), QStringList(connectedText));
        ring();
        {
            // The window does not learn of the removal, so the alarm goes on although no flag is left.
            const QSignalBlocker blocker(&units());
            units().removeAt(1);
        }
        QCOMPARE(units().count(), 1);
        QVERIFY(!unit->alert());
        QVERIFY(rings());
        const QSignalSpy alerts(&units(), &DeviceList::alertChanged);
        publisher.send(statusReport("QOR-1"_s, { warning("Lüfter steht"_s) }));
        QTRY_COMPARE(column(2), QStringList({ connectedText, "Lüfter steht"_s }));
        QCOMPARE(alerts.count(), 1);
        QVERIFY(!rings());
    }

    void alertComesToTheFront()
    {
        m_window->showMinimized();
        QWidget other;
        QVERIFY(bringToFront(&other));
        checkRaises(1);
        QVERIFY(!m_window->isMinimized());
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    void deviceManagerInUseStaysInFront() { checkStaysInFront(deviceManager()); }
    void updateDialogInUseStaysInFront() { checkStaysInFront(updateDialog()); }

    void dialogInTheBackDoesNotHoldTheWindow()
    {
        deviceManager()->show();
        QWidget other;
        QVERIFY(bringToFront(&other));
        checkRaises(1);
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    void alertInsideTheAboutBoxRings()
    {
        MessageBoxes dialogs;
        bool heard = false;
        dialogs.answerDialog([&](QDialog* about) {
            ring();
            heard = rings() && m_window->isVisible();
            about->reject();
        });
        m_window->showAbout();
        QVERIFY(heard);
        QCOMPARE(dialogs.last().className, QByteArray("DlgAbout"));
        QVERIFY(!dialogs.last().dialog);
        QVERIFY(rings());
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
            m_store.writeUnit(i, { { "Host"_s, loopback }, { "ZmqPort"_s, i } });
        QSettings().setValue(soundKey, sound);
        restart();
        QCOMPARE(rings(), sound);
        QVERIFY(m_window->isVisible());
    }

    void ringingAtStartEndsWithTheLastFlag()
    {
        // Neither unit sends a text, since Pending is enough.
        const Publisher first;
        const Publisher second;
        int index = 0;
        for (const int port : { first.port(), second.port() })
            m_store.writeUnit(index++,
                              { { "Host"_s, loopback }, { "ZmqPort"_s, port }, { "Monitored"_s, true } });
        restart();
        QVERIFY(rings());
        QVector<bool> ringing;
        // The window outlives this function and emits the signal again at its end.
        const QObject recording;
        connect(&units(), &DeviceList::alertChanged, &recording, [&] { ringing << rings(); });
        // The first unit that is Pending leaves the flag of the other.
        QTRY_COMPARE(ringing, QVector<bool>({ true, false }));
        QCOMPARE(column(2), QStringList({ pendingText, pendingText }));
    }

    void storedSwitchIsShown_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("on");
        QTest::newRow("nothing stored") << QVariant() << true;
        QTest::newRow("on") << QVariant(true) << true;
        QTest::newRow("off") << QVariant(false) << false;
    }

    void storedSwitchIsShown()
    {
        QFETCH(const QVariant, stored);
        QFETCH(const bool, on);
        if (stored.isValid())
            QSettings().setValue(soundKey, stored);
        restart();
        QCOMPARE(action("actionUseAudio")->isChecked(), on);
        // Looking at the switch stores nothing.
        QCOMPARE(QSettings().contains(soundKey), stored.isValid());
        ring();
        QCOMPARE(rings(), on);
        // Without the sound, too.
        QVERIFY(m_window->isVisible());
    }

    void switchIsStoredAtOnce()
    {
        for (const bool on : { false, true, false }) {
            QCOMPARE(action("actionUseAudio")->isChecked(), !on);
            action("actionUseAudio")->trigger();
            QCOMPARE(action("actionUseAudio")->isChecked(), on);
            // What a program that dies now leaves behind.
            QFile file(m_store.filePath());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QVERIFY(Platform::withLineFeeds(file.readAll())
                        .split('\n')
                        .contains(on ? "UseAudio=true" : "UseAudio=false"));
            restart();
            QCOMPARE(action("actionUseAudio")->isChecked(), on);
        }
    }

    void switchSilencesAtOnceAndRingsLater()
    {
        ring();
        QVERIFY(rings());
        action("actionUseAudio")->trigger();
        QVERIFY(!rings());
        m_window->hide();
        raiseAlert();
        QVERIFY(!rings());
        QVERIFY(m_window->isVisible());
        // Switching on waits for the next alert.
        action("actionUseAudio")->trigger();
        QVERIFY(!rings());
        raiseAlert();
        QVERIFY(rings());
    }

    void highlightStaysTransparent()
    {
        ring();
        // An alert alone does not set the style.
        QCOMPARE(group()->styleSheet(), QString());
        for (int phase = 0; phase < 3; ++phase) {
            m_window->toggleAlertHighlight();
            QCOMPARE(group()->styleSheet(), "background-color: transparent;"_s);
        }
    }

private:
    // Rings, and checks how many times this raises the window. With zero times the window stays hidden.
    void checkRaises(int times) const
    {
        int raises = 0;
        const EventWatch watch([&](const QObject* receiver, QEvent::Type type) {
            if (receiver == m_window.get() && type == QEvent::ZOrderChange)
                ++raises;
        });
        ring();
        QVERIFY(rings());
        QCOMPARE(raises, times);
        QCOMPARE(m_window->isVisible(), times > 0);
    }

    void checkStaysInFront(QWidget* dialog) const
    {
        QVERIFY(bringToFront(dialog));
        checkRaises(0);
        QVERIFY(dialog->isActiveWindow());
        // The user may ask for it.
        m_window->processTrayActivated(QSystemTrayIcon::Trigger);
        QVERIFY(m_window->isVisible());
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }
};

QTEST_MAIN(TestAlerts)
#include "tst_alerts.moc"
