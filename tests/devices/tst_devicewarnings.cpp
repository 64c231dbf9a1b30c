// SPDX-License-Identifier: MIT
// A unit's warnings, and when they raise the alarm.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "support/signalrecorder.h"
#include "support/units.h"
#include "support/literals.h"

#include <QtTest>

namespace {
const auto deviceStateChanged = "deviceStateChanged"_s;
const auto deviceStatesChanged = "list.deviceStatesChanged"_s;
const auto alertChanged = "list.alertChanged"_s;

QJsonObject fire(const QString& time = "08:15:00"_s)
{
    return warning("Feuer"_s, time);
}

QJsonObject fault()
{
    return warning("Störung"_s);
}

QJsonObject with(QJsonObject object, const QString& key, const QJsonValue& value)
{
    object.insert(key, value);
    return object;
}
} // namespace

class TestDeviceWarnings : public QObject {
    Q_OBJECT

private slots:
    void alertsOnNewWarningsOnly_data()
    {
        QTest::addColumn<QJsonArray>("before");
        QTest::addColumn<QJsonArray>("after");
        QTest::addColumn<bool>("changed");
        QTest::addColumn<bool>("alerted");
        const auto row = [](const char* what, const QJsonArray& before, const QJsonArray& after, bool changed,
                            bool alerted) { QTest::newRow(what) << before << after << changed << alerted; };
        const auto otherKey = "room"_s;
        row("none at all", {}, {}, false, false);
        row("the first one", {}, { fire() }, true, true);
        row("the same one", { fire() }, { fire() }, false, false);
        row("one more behind", { fire() }, { fire(), fault() }, true, true);
        row("one more in front", { fire() }, { fault(), fire() }, true, true);
        row("another one", { fire() }, { fault() }, true, true);
        row("another time", { fire() }, { fire("08:16:00"_s) }, true, true);
        row("another value of a key that is not shown", { with(fire(), otherKey, 1) },
            { with(fire(), otherKey, 2) }, true, true);
        row("a key more", { fire() }, { with(fire(), otherKey, 1) }, true, true);
        row("a key less", { with(fire(), otherKey, 1) }, { fire() }, true, true);
        row("another class", { with(fire(), "class"_s, "warning"_s) }, { with(fire(), "class"_s, "error"_s) },
            true, true);
        row("the first of two goes", { fire(), fault() }, { fault() }, true, false);
        row("the second of two goes", { fire(), fault() }, { fire() }, true, false);
        row("all go", { fire(), fault() }, {}, true, false);
        row("another order", { fire(), fault() }, { fault(), fire() }, true, false);
        row("one twice", { fire() }, { fire(), fire() }, true, false);
        row("no objects are equal objects", { 1 }, { "two"_s }, true, false);
        row("no object, but the first one", {}, { 1 }, true, true);
        row("an object after none", { 1 }, { fire() }, true, true);
    }

    void alertsOnNewWarningsOnly()
    {
        QFETCH(QJsonArray, before);
        QFETCH(QJsonArray, after);
        QFETCH(bool, changed);
        QFETCH(bool, alerted);
        DeviceList list(nullptr);
        Device device(&list);
        device.setWarnings(before);
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        device.setWarnings(after);
        QStringList expected;
        if (changed)
            expected << deviceStatesChanged << deviceStateChanged;
        if (alerted)
            expected << alertChanged;
        QCOMPARE(recorder.take(), expected);
        QCOMPARE(device.messages().size(), 1 + after.size());
        // What was just taken is what the next report is compared with.
        device.setWarnings(after);
        QCOMPARE(recorder.take(), QStringList());
    }

    void areStoredBeforeTheSignals()
    {
        DeviceList list(nullptr);
        Device device(&list);
        QVector<QStringList> seen;
        const auto look = [&] { seen.append(displayTexts(device)); };
        const QObject scope;
        connect(&device, &Device::deviceStateChanged, &scope, look);
        connect(&list, &DeviceList::alertChanged, &scope, look);
        device.setWarnings({ fire() });
        const QStringList raised { disconnectedText, "Feuer"_s };
        QCOMPARE(seen, QVector<QStringList>({ raised, raised }));
        device.setWarnings({});
        QCOMPARE(seen, QVector<QStringList>({ raised, raised, { disconnectedText } }));
    }

    void leaveTheAlertFlagAlone()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.setAlert(false);
        const QDateTime alertTime = device.alertTime();
        device.setWarnings({ fire() });
        QVERIFY(!device.alert());
        QCOMPARE(device.alertTime(), alertTime);
        device.setAlert(true);
        device.setWarnings({});
        QVERIFY(device.alert());
    }

    void areHandedOutUnchangedButForTheClass()
    {
        DeviceList list(nullptr);
        Device device(&list);
        const auto classKey = "class"_s;
        const QJsonObject extended = with(with(fire(), "date"_s, "heute"_s), "room"_s, QJsonArray { 1, 2 });
        const auto error = "error"_s;
        device.setWarnings({ with(extended, classKey, "warning"_s), fault(), 7 });
        QJsonArray warnings = device.messages();
        warnings.removeFirst();
        QCOMPARE(warnings,
                 QJsonArray({ with(extended, classKey, error), with(fault(), classKey, error),
                              QJsonObject { { classKey, error } } }));
    }

    void areHandedOutAsCopies()
    {
        DeviceList list(nullptr);
        Device device(&list);
        const QJsonArray raised { with(fire(), "class"_s, "warning"_s) };
        device.setWarnings(raised);
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        QCOMPARE(device.messages(), device.messages());
        device.setWarnings(raised);
        QCOMPARE(recorder.take(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestDeviceWarnings)
#include "tst_devicewarnings.moc"
