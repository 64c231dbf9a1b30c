// SPDX-License-Identifier: MIT
// How units leave the list.
#include "devices/devicelist.h"

#include "devices/device.h"
#include "support/signalrecorder.h"
#include "support/literals.h"

#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

#include <exception>

namespace {
const auto http = "http"_s;
const auto host = "alarm 1"_s;
const auto listChanged = "list.listChanged"_s;

Device* addUnit(DeviceList& list, const QString& unitHost, int zmqPort = 5566)
{
    return list.addDevice(unitHost, zmqPort, 80, http);
}

void deleteDeferred()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
} // namespace

class TestDeviceListRemoval : public QObject {
    Q_OBJECT

private slots:
    void removedUnitLivesUntilTheEventLoop()
    {
        DeviceList list(nullptr);
        const QPointer<Device> device = addUnit(list, host);
        SignalRecorder recorder;
        recorder.watch(list);
        list.removeDevice(device);
        QCOMPARE(recorder.take(), QStringList { listChanged });
        QCOMPARE(list.count(), 0);
        QVERIFY(device);
        QCOMPARE(device->host(), host);
        deleteDeferred();
        QVERIFY(!device);
        QCOMPARE(recorder.take(), QStringList());
    }

    void removeTakesOutOneOnly()
    {
        DeviceList list(nullptr);
        Device* first = addUnit(list, host, 1);
        Device* second = addUnit(list, host, 2);
        Device* third = addUnit(list, host, 3);
        int countAtSignal = -1;
        const QObject scope;
        connect(&list, &DeviceList::listChanged, &scope, [&] { countAtSignal = list.count(); });
        list.removeDevice(second);
        QCOMPARE(countAtSignal, 2);
        QCOMPARE(list.at(0), first);
        QCOMPARE(list.at(1), third);
    }

    void unitOutsideTheListIsRemovedAllTheSame()
    {
        DeviceList list(nullptr);
        addUnit(list, host);
        const QPointer<Device> outside = new Device(&list);
        SignalRecorder recorder;
        recorder.watch(list);
        list.removeDevice(outside);
        QCOMPARE(recorder.take(), QStringList { listChanged });
        QCOMPARE(list.count(), 1);
        QVERIFY(outside);
        deleteDeferred();
        QVERIFY(!outside);
    }

    void removingNothingEmitsListChanged()
    {
        DeviceList list(nullptr);
        addUnit(list, host);
        SignalRecorder recorder;
        recorder.watch(list);
        list.removeDevice(nullptr);
        QCOMPARE(recorder.take(), QStringList { listChanged });
        QCOMPARE(list.count(), 1);
    }

    void removeAtTakesTheUnitAtTheIndex()
    {
        DeviceList list(nullptr);
        const QPointer<Device> first = addUnit(list, host, 1);
        const QPointer<Device> second = addUnit(list, host, 2);
        QSignalSpy changedSpy(&list, &DeviceList::listChanged);
        list.removeAt(1);
        QCOMPARE(changedSpy.count(), 1);
        QCOMPARE(list.count(), 1);
        deleteDeferred();
        QVERIFY(first);
        QVERIFY(!second);
    }

    void removeAtOutOfRangeThrowsAndRemovesNothing()
    {
        DeviceList list(nullptr);
        addUnit(list, host);
        SignalRecorder recorder;
        recorder.watch(list);
        QVERIFY_EXCEPTION_THROWN(list.removeAt(1), std::exception);
        QVERIFY_EXCEPTION_THROWN(list.removeAt(-1), std::exception);
        QCOMPARE(list.count(), 1);
        QCOMPARE(recorder.take(), QStringList());
    }

    void clearEmptiesBeforeItsSignals()
    {
        DeviceList list(nullptr);
        const QPointer<Device> device = addUnit(list, host);
        QStringList seen;
        const auto look = [&](const QString& what) {
            seen.append("%1 %2 %3"_s.arg(what).arg(list.count()).arg(device ? 1 : 0));
        };
        const QObject scope;
        connect(&list, &DeviceList::listChanged, &scope, [&] { look("changed"_s); });
        connect(&list, &DeviceList::listCleared, &scope, [&] { look("cleared"_s); });
        list.clear();
        QCOMPARE(seen, QStringList({ "changed 0 1"_s, "cleared 0 1"_s }));
        QVERIFY(device);
        deleteDeferred();
        QVERIFY(!device);
    }

    void clearDeletesFromLastToFirst()
    {
        QStringList deleted;
        DeviceList list(nullptr);
        for (const QString& name : { "a"_s, "b"_s, "c"_s })
            connect(addUnit(list, name), &QObject::destroyed, this,
                    [&deleted, name] { deleted.append(name); });
        list.clear();
        QCOMPARE(deleted, QStringList());
        deleteDeferred();
        QCOMPARE(deleted, QStringList({ "c"_s, "b"_s, "a"_s }));
    }
};

QTEST_GUILESS_MAIN(TestDeviceListRemoval)
#include "tst_devicelistremoval.moc"
