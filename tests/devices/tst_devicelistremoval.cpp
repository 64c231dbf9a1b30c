// SPDX-License-Identifier: MIT
// How units leave the list.
#include "devices/devicelist.h"

#include "devices/device.h"
#include "devices/signalrecorder.h"

#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

#include <exception>

namespace {
const auto http = QStringLiteral("http");
const auto host = QStringLiteral("alarm 1");
const auto listChanged = QStringLiteral("list.listChanged");

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
    void removedUnitLivesUntilTheEventLoop();
    void removeTakesOutOneOnly();
    void unitOutsideTheListIsRemovedAllTheSame();
    void removingNothingEmitsListChanged();
    void removeAtTakesTheUnitAtTheIndex();
    void removeAtOutOfRangeThrowsAndRemovesNothing();
    void clearEmptiesBeforeItsSignals();
    void clearDeletesFromLastToFirst();
};

void TestDeviceListRemoval::removedUnitLivesUntilTheEventLoop()
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

void TestDeviceListRemoval::removeTakesOutOneOnly()
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

void TestDeviceListRemoval::unitOutsideTheListIsRemovedAllTheSame()
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

void TestDeviceListRemoval::removingNothingEmitsListChanged()
{
    DeviceList list(nullptr);
    addUnit(list, host);
    SignalRecorder recorder;
    recorder.watch(list);
    list.removeDevice(nullptr);
    QCOMPARE(recorder.take(), QStringList { listChanged });
    QCOMPARE(list.count(), 1);
}

void TestDeviceListRemoval::removeAtTakesTheUnitAtTheIndex()
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

void TestDeviceListRemoval::removeAtOutOfRangeThrowsAndRemovesNothing()
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

void TestDeviceListRemoval::clearEmptiesBeforeItsSignals()
{
    DeviceList list(nullptr);
    const QPointer<Device> device = addUnit(list, host);
    QStringList seen;
    const auto look = [&](const QString& what) {
        seen.append(QStringLiteral("%1 %2 %3").arg(what).arg(list.count()).arg(device ? 1 : 0));
    };
    const QObject scope;
    connect(&list, &DeviceList::listChanged, &scope, [&] { look(QStringLiteral("changed")); });
    connect(&list, &DeviceList::listCleared, &scope, [&] { look(QStringLiteral("cleared")); });
    list.clear();
    QCOMPARE(seen, QStringList({ QStringLiteral("changed 0 1"), QStringLiteral("cleared 0 1") }));
    QVERIFY(device);
    deleteDeferred();
    QVERIFY(!device);
}

void TestDeviceListRemoval::clearDeletesFromLastToFirst()
{
    QStringList deleted;
    DeviceList list(nullptr);
    for (const QString& name : { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") })
        connect(addUnit(list, name), &QObject::destroyed, this, [&deleted, name] { deleted.append(name); });
    list.clear();
    QCOMPARE(deleted, QStringList());
    deleteDeferred();
    QCOMPARE(deleted, QStringList({ QStringLiteral("c"), QStringLiteral("b"), QStringLiteral("a") }));
}

QTEST_GUILESS_MAIN(TestDeviceListRemoval)
#include "tst_devicelistremoval.moc"
