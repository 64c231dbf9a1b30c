// SPDX-License-Identifier: MIT
// A unit's warnings, and when they raise the alarm.
#include "devices/device.h"

#include "support/literals.h"
#include "support/signalrecorder.h"
#include "support/units.h"

#include <QtTest>

namespace {

const auto classKey = "class"_s;
const auto otherKey = "room"_s;

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

    void areStoredBeforeTheSignals()
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

    void areHandedOutAsCopiesUnchangedButForTheClass()
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

private:
    const QJsonObject fire = warning("Feuer"_s);
    const QJsonObject fault = warning("Störung"_s);
};

QTEST_GUILESS_MAIN(TestDeviceWarnings)
#include "tst_devicewarnings.moc"
