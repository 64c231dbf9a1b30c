// SPDX-License-Identifier: MIT
// The condition of a unit: how it follows the link, what its monitor messages say, its warnings, and its
// alert flag.
#include "devices/device.h"

#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/signalrecorder.h"
#include "support/units.h"

#include <QSignalSpy>
#include <QtTest>

#include <functional>

using Preparation = std::function<void(LinkedUnit&)>;
Q_DECLARE_METATYPE(Preparation)

namespace {

const auto name = "Halle 2"_s;
const auto classKey = "class"_s;
const auto otherKey = "room"_s;
const auto hint = "Neue SW Version verfügbar V2.2"_s;

QJsonObject with(QJsonObject object, const QString& key, const QJsonValue& value)
{
    object.insert(key, value);
    return object;
}

QString member(const QJsonObject& message, const char* key)
{
    return message.value(QLatin1String(key)).toString();
}

// Leads a unit's link to Pending, which its thread reports.
void becomePending(LinkedUnit& unit)
{
    unit.device->setMonitored(true);
    QTRY_COMPARE(displayTexts(*unit.device).constFirst(), pendingText);
    QCOMPARE(unit.link.state(), QorInterface::Pending);
}

// Leads a unit's link to Connected by a text that says nothing.
void becomeConnected(const Device& device)
{
    emit device.qorInterface()->receiveQorMessage(QByteArrayLiteral(" "));
    QCOMPARE(device.qorInterface()->state(), QorInterface::Connected);
}

// The texts of the unit at each change of its condition.
class Conditions : public QVector<QStringList> {
public:
    explicit Conditions(const Device& device)
    {
        QObject::connect(&device, &Device::deviceStateChanged, &m_scope,
                         [this, &device] { append(displayTexts(device)); });
    }

private:
    QObject m_scope;
};

} // namespace

class TestDeviceCondition : public QObject {
    Q_OBJECT

private slots:
    void messageHasFiveKeysOfThisMoment_data()
    {
        QTest::addColumn<Preparation>("prepare");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("messageClass");
        const auto row
            = [](const char* what, const Preparation& prepare, const QString& text,
                 const QString& messageClass) { QTest::newRow(what) << prepare << text << messageClass; };
        row(
            "disconnected", [](LinkedUnit& u) { u.device->updateConnectState(); }, disconnectedText,
            "error"_s);
        row("pending", becomePending, pendingText, "warning"_s);
        row(
            "connected", [](LinkedUnit& u) { becomeConnected(*u.device); }, connectedText, "confirmation"_s);
        row(
            "incompatible", [](LinkedUnit& u) { u.device->setIncompatible(true); }, incompatibleText,
            "error"_s);
        row(
            "newer software", [](LinkedUnit& u) { u.device->processQorMessage(newerVersionInfo(name)); },
            hint, "warning"_s);
    }

    void messageHasFiveKeysOfThisMoment()
    {
        QFETCH(const Preparation, prepare);
        const QDateTime before = QDateTime::currentDateTime().addMSecs(-1000);
        LinkedUnit unit;
        unit.device->setQorName(name);
        prepare(unit);
        const QJsonObject message = unit.device->messages().last().toObject();
        QCOMPARE(message.keys(),
                 QStringList({ "class"_s, "date"_s, "displaytext"_s, "qorName"_s, "time"_s }));
        QTEST(member(message, "displaytext"), "text");
        QTEST(member(message, "class"), "messageClass");
        QCOMPARE(member(message, "qorName"), name);
        const auto made = QDateTime::fromString(member(message, "date") + member(message, "time"),
                                                "yyyy-MM-ddhh:mm:ss"_s);
        QVERIFY(made >= before && made <= QDateTime::currentDateTime());
    }

    void everyCallMakesAFreshMessage()
    {
        RecordedUnit unit;
        const auto nameInMessage
            = [&] { return member(unit.device.messages().first().toObject(), "qorName"); };
        unit.device.setQorName(name);
        // A name is written into the message when that is made, and stays there.
        QCOMPARE(nameInMessage(), QString());
        unit.recorder.take();
        unit.device.updateConnectState();
        QCOMPARE(nameInMessage(), name);
        QCOMPARE(unit.recorder.take(), "list.deviceStatesChanged deviceStateChanged"_s);
    }

    void stateIsLogged()
    {
        const LogCapture log;
        LinkedUnit unit;
        becomePending(unit);
        becomeConnected(*unit.device);
        const QStringList states
            = log.taggedLines().filter(QRegularExpression("^I Device::updateConnectState\\(\\) "_s));
        QCOMPARE(states.size(), 3);
        QVERIFY(states.at(0).endsWith("Disconnected"_s));
        QVERIFY(states.at(1).endsWith("Pending"_s));
        QVERIFY(states.at(2).endsWith("Connected"_s));
    }

    void pendingDropsWarningsAndIncompatibility()
    {
        LinkedUnit unit;
        unit.device->setIncompatible(true);
        unit.device->setWarnings({ fire });
        const Conditions seen(*unit.device);
        SignalRecorder recorder(*unit.list);
        becomePending(unit);
        // The new message comes first, then the warnings go, then the incompatibility.
        QCOMPARE(
            seen,
            QVector<QStringList>({ { pendingText, incompatibleText }, { pendingText }, { pendingText } }));
        QVERIFY(!unit.device->alert());
        QCOMPARE(recorder.take(),
                 "list.deviceChanged list.deviceStatesChanged list.deviceStatesChanged list.alertChanged "
                 "list.deviceStatesChanged"_s);
    }

    void connectedKeepsWarningsAndIncompatibility()
    {
        RecordedUnit unit;
        unit.device.setIncompatible(true);
        unit.device.setWarnings({ fire });
        unit.recorder.take();
        becomeConnected(unit.device);
        QCOMPARE(displayTexts(unit.device), QStringList({ connectedText, incompatibleText, "Feuer"_s }));
        QCOMPARE(unit.recorder.take(), "list.deviceStatesChanged deviceStateChanged"_s);
    }

    void disconnectedDropsWarningsAndIncompatibility()
    {
        LinkedUnit unit;
        becomePending(unit);
        becomeConnected(*unit.device);
        unit.device->setIncompatible(true);
        unit.device->setWarnings({ fire });
        const Conditions seen(*unit.device);
        SignalRecorder recorder(*unit.list);
        unit.device->setMonitored(false);
        // The warnings go first, then the incompatibility, and the message changes last.
        QCOMPARE(seen,
                 QVector<QStringList>(
                     { { connectedText, incompatibleText }, { connectedText }, { disconnectedText } }));
        QVERIFY(unit.device->alert());
        // The flag is raised for the link before the incompatibility ends, so it does not change at all.
        QCOMPARE(recorder.take(),
                 "list.deviceChanged list.deviceStatesChanged list.deviceStatesChanged "
                 "list.deviceStatesChanged"_s);
    }

    void versionMessageSurvivesEveryState()
    {
        LinkedUnit unit;
        unit.device->processQorMessage(newerVersionInfo(name));
        QCOMPARE(displayTexts(*unit.device), QStringList({ disconnectedText, hint }));
        becomePending(unit);
        QCOMPARE(displayTexts(*unit.device), QStringList({ pendingText, hint }));
        becomeConnected(*unit.device);
        QCOMPARE(displayTexts(*unit.device), QStringList({ connectedText, hint }));
        unit.device->setMonitored(false);
        QCOMPARE(displayTexts(*unit.device), QStringList({ disconnectedText, hint }));
    }

    void messagesStandInOrder()
    {
        RecordedUnit unit;
        unit.device.processQorMessage(newerVersionInfo(name));
        unit.device.setIncompatible(true);
        unit.device.setWarnings({ fire, fault });
        QCOMPARE(displayTexts(unit.device),
                 QStringList({ disconnectedText, incompatibleText, hint, "Feuer"_s, "Störung"_s }));
    }

    void incompatibilityDropsTheWarningsBeforeItIsAnnounced()
    {
        RecordedUnit unit;
        unit.device.setWarnings({ fire });
        const Conditions seen(unit.device);
        unit.device.setIncompatible(true);
        unit.device.setIncompatible(false);
        const QStringList incompatible { disconnectedText, incompatibleText };
        QCOMPARE(seen, QVector<QStringList>({ incompatible, incompatible, { disconnectedText } }));
    }

    void alertFollowsTheLinkAndTheIncompatibility()
    {
        LinkedUnit unit;
        const QSignalSpy alerts(unit.list.get(), &DeviceList::alertChanged);
        becomePending(unit);
        QVERIFY(!unit.device->alert());
        QCOMPARE(alerts.count(), 1);
        const QDateTime before = QDateTime::currentDateTime();
        unit.device->setIncompatible(true);
        QVERIFY(unit.device->alert());
        const QDateTime raised = unit.device->alertTime();
        QVERIFY(raised >= before && raised <= QDateTime::currentDateTime());
        QCOMPARE(alerts.count(), 2);
        unit.device->updateAlert();
        QCOMPARE(alerts.count(), 2);
        QCOMPARE(unit.device->alertTime(), raised);
        unit.device->setIncompatible(false);
        QVERIFY(!unit.device->alert());
        QCOMPARE(alerts.count(), 3);
        becomeConnected(*unit.device);
        QVERIFY(!unit.device->alert());
        QCOMPARE(alerts.count(), 3);
        unit.device->setMonitored(false);
        QVERIFY(unit.device->alert());
        QCOMPARE(alerts.count(), 4);
    }

    void alertDoesNotLookAtTheMonitoredFlag()
    {
        RecordedUnit unit;
        QVERIFY(!unit.device.monitored());
        becomeConnected(unit.device);
        QVERIFY(!unit.device.alert());
        unit.device.processQorMessage(QByteArrayLiteral("nonsense"));
        QVERIFY(unit.device.alert());
    }

    void alertIsStoredBeforeItsSignalAndOnlyOnAChange()
    {
        QVector<bool> flags;
        QVector<QDateTime> times;
        RecordedUnit unit;
        connect(&unit.list, &DeviceList::alertChanged, &unit.device, [&] {
            flags.append(unit.device.alert());
            times.append(unit.device.alertTime());
        });
        const QDateTime constructed = unit.device.alertTime();
        QTRY_VERIFY(QDateTime::currentDateTime() > constructed);
        unit.device.setAlert(true);
        QCOMPARE(unit.recorder.take(), QString());
        QCOMPARE(unit.device.alertTime(), constructed);
        unit.device.setAlert(false);
        QCOMPARE(flags, QVector<bool> { false });
        QVERIFY(times.at(0) > constructed);
        QCOMPARE(unit.recorder.take(), "list.alertChanged"_s);
        QTRY_VERIFY(QDateTime::currentDateTime() > times.at(0));
        // The next judgement of the unit's condition raises it again.
        unit.device.updateAlert();
        QCOMPARE(flags, QVector<bool>({ false, true }));
        QVERIFY(times.at(1) > times.at(0));
        QCOMPARE(unit.recorder.take(), "list.alertChanged"_s);
    }

    void warningsLeaveTheAlertFlagAlone()
    {
        RecordedUnit unit;
        unit.device.setAlert(false);
        const QDateTime alertTime = unit.device.alertTime();
        unit.device.setWarnings({ fire });
        QVERIFY(!unit.device.alert());
        QCOMPARE(unit.device.alertTime(), alertTime);
        unit.device.setAlert(true);
        unit.device.setWarnings({});
        QVERIFY(unit.device.alert());
    }

    void alertsOnNewWarningsOnly_data()
    {
        QTest::addColumn<QJsonArray>("before");
        QTest::addColumn<QJsonArray>("after");
        QTest::addColumn<QString>("announced");
        const auto silent = ""_s;
        const auto changed = "list.deviceStatesChanged deviceStateChanged"_s;
        const auto alerted = changed + " list.alertChanged"_s;
        const auto row
            = [](const char* what, const QJsonArray& before, const QJsonArray& after,
                 const QString& announced) { QTest::newRow(what) << before << after << announced; };
        row("none at all", {}, {}, silent);
        row("the first one", {}, { fire }, alerted);
        row("the same one", { fire }, { fire }, silent);
        row("one more behind", { fire }, { fire, fault }, alerted);
        row("one more in front", { fire }, { fault, fire }, alerted);
        row("another one", { fire }, { fault }, alerted);
        row("another time", { fire }, { warning("Feuer"_s, "08:16:00"_s) }, alerted);
        row("another value of a key that is not shown", { with(fire, otherKey, 1) },
            { with(fire, otherKey, 2) }, alerted);
        row("a key more", { fire }, { with(fire, otherKey, 1) }, alerted);
        row("a key less", { with(fire, otherKey, 1) }, { fire }, alerted);
        row("another class", { with(fire, classKey, "warning"_s) }, { with(fire, classKey, "error"_s) },
            alerted);
        row("the first of two goes", { fire, fault }, { fault }, changed);
        row("the second of two goes", { fire, fault }, { fire }, changed);
        row("all go", { fire, fault }, {}, changed);
        row("another order", { fire, fault }, { fault, fire }, changed);
        row("one twice", { fire }, { fire, fire }, changed);
        row("no objects are equal objects", { 1 }, { "two"_s }, changed);
        row("no object, but the first one", {}, { 1 }, alerted);
        row("an object after none", { 1 }, { fire }, alerted);
    }

    void alertsOnNewWarningsOnly()
    {
        QFETCH(const QJsonArray, before);
        QFETCH(const QJsonArray, after);
        RecordedUnit unit;
        unit.device.setWarnings(before);
        unit.recorder.take();
        unit.device.setWarnings(after);
        QTEST(unit.recorder.take(), "announced");
        QCOMPARE(unit.device.messages().size(), 1 + after.size());
        // What was just taken is what the next report is compared with.
        unit.device.setWarnings(after);
        QCOMPARE(unit.recorder.take(), QString());
    }

    void warningsAreStoredBeforeTheSignals()
    {
        QVector<QStringList> seen;
        RecordedUnit unit;
        const auto look = [&] { seen.append(displayTexts(unit.device)); };
        connect(&unit.device, &Device::deviceStateChanged, &unit.list, look);
        connect(&unit.list, &DeviceList::alertChanged, &unit.device, look);
        unit.device.setWarnings({ fire });
        const QStringList raised { disconnectedText, "Feuer"_s };
        QCOMPARE(seen, QVector<QStringList>({ raised, raised }));
        unit.device.setWarnings({});
        QCOMPARE(seen, QVector<QStringList>({ raised, raised, { disconnectedText } }));
    }

    void warningsAreHandedOutAsCopiesUnchangedButForTheClass()
    {
        RecordedUnit unit;
        const QJsonObject extended = with(with(fire, "date"_s, "heute"_s), otherKey, QJsonArray { 1, 2 });
        const QJsonArray raised { with(extended, classKey, "warning"_s), fault, 7 };
        unit.device.setWarnings(raised);
        unit.recorder.take();
        QJsonArray warnings = unit.device.messages();
        warnings.removeFirst();
        const auto error = "error"_s;
        QCOMPARE(warnings,
                 QJsonArray({ with(extended, classKey, error), with(fault, classKey, error),
                              QJsonObject { { classKey, error } } }));
        // What is stored has kept the unit's class.
        unit.device.setWarnings(raised);
        QCOMPARE(unit.recorder.take(), QString());
    }

    void unitSpeaksAndFallsSilent()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        unit.publisher.send(statusReport(name, { fire }));
        QTRY_COMPARE(displayTexts(*unit.device), QStringList({ connectedText, "Feuer"_s }));
        QCOMPARE(unit.device->qorName(), name);
        QVERIFY(!unit.device->alert());
        QTRY_COMPARE_WITH_TIMEOUT(displayTexts(*unit.device), QStringList { disconnectedText }, 10000);
        QVERIFY(unit.device->alert());
        QCOMPARE(unit.device->stateText(), "Getrennt"_s);
        unit.publisher.send(statusReport(name, { fire }));
        QTRY_COMPARE(displayTexts(*unit.device), QStringList({ connectedText, "Feuer"_s }));
        QVERIFY(!unit.device->alert());
    }

private:
    const QJsonObject fire = warning("Feuer"_s);
    const QJsonObject fault = warning("Störung"_s);
};

QTEST_GUILESS_MAIN(TestDeviceCondition)
#include "tst_devicecondition.moc"
