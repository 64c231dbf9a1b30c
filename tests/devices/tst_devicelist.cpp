// SPDX-License-Identifier: MIT
// The list of units: what it contains, how units come and go, and what it passes on.
#include "devices/devicelist.h"

#include "devices/device.h"
#include "support/literals.h"
#include "support/signalrecorder.h"
#include "support/units.h"

#include <QPointer>
#include <QWidget>
#include <QtTest>

#include <exception>
#include <functional>
#include <typeinfo>

using Removal = std::function<void(DeviceList&)>;
Q_DECLARE_METATYPE(Removal)

namespace {

// Qt refuses a host name with a blank at once, so no test waits for a name server.
const auto host = "alarm 1"_s;

Device* add(DeviceList& list, int zmqPort, const QString& unitHost = host)
{
    return list.addDevice(unitHost, zmqPort, 80, "http"_s);
}

void deleteDeferred()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QVector<int> ports(const DeviceList& list)
{
    QVector<int> result;
    for (int i = 0; i < list.count(); ++i)
        result.append(list.at(i)->zmqPort());
    return result;
}

} // namespace

class TestDeviceList : public QObject {
    Q_OBJECT

private slots:
    void belongsToTheWidget()
    {
        QWidget window;
        const DeviceList list(&window);
        QCOMPARE(list.parentWidget(), &window);
        QCOMPARE(list.parent(), &window);
        QCOMPARE(list.count(), 0);
        const DeviceList alone(nullptr);
        QVERIFY(!alone.parentWidget());
        QVERIFY(!alone.parent());
    }

    void indexOutOfRangeThrows_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("index");
        QTest::newRow("empty list") << 0 << 0;
        QTest::newRow("behind the last") << 2 << 2;
        QTest::newRow("far behind") << 2 << 2147483647;
        QTest::newRow("negative") << 2 << -1;
        QTest::newRow("most negative") << 2 << -2147483647 - 1;
    }

    void indexOutOfRangeThrows()
    {
        QFETCH(const int, count);
        QFETCH(const int, index);
        DeviceList list(nullptr);
        for (int i = 0; i < count; ++i)
            QCOMPARE(list.at(i), add(list, i));
        SignalRecorder recorder(list);
        const auto isPlainException = [&](auto call) {
            try {
                call();
            } catch (const std::exception& error) {
                return typeid(error) == typeid(std::exception);
            }
            return false;
        };
        QVERIFY(isPlainException([&] { list.at(index); }));
        QVERIFY(isPlainException([&] { list.device(index); }));
        QVERIFY(isPlainException([&] { list.removeAt(index); }));
        QCOMPARE(list.count(), count);
        QCOMPARE(recorder.take(), QString());
    }

    void unitIsFoundByExactHostAndPort_data()
    {
        QTest::addColumn<QString>("soughtHost");
        QTest::addColumn<int>("soughtPort");
        QTest::addColumn<int>("index");
        QTest::newRow("first") << host << 5566 << 0;
        QTest::newRow("another port") << host << 5567 << 1;
        QTest::newRow("the first of two equal units") << host << 5568 << 2;
        QTest::newRow("unknown port") << host << 5569 << -1;
        QTest::newRow("another letter case") << "Alarm 1"_s << 5566 << -1;
        QTest::newRow("unknown host") << "alarm 2"_s << 5566 << -1;
        QTest::newRow("part of the host") << "alarm"_s << 5566 << -1;
        QTest::newRow("no host") << QString() << 5566 << -1;
    }

    void unitIsFoundByExactHostAndPort()
    {
        QFETCH(const QString, soughtHost);
        QFETCH(const int, soughtPort);
        DeviceList list(nullptr);
        for (const int port : { 5566, 5567, 5568 })
            add(list, port);
        add(list, 1)->setZmqPort(5568);
        QTEST(list.indexOf(soughtHost, soughtPort), "index");
    }

    void containsItsOwnUnits()
    {
        DeviceList list(nullptr);
        Device* first = addUnit(list, 1);
        const Device* second = addUnit(list, 2);
        const Device outside(&list);
        QVERIFY(list.contains(first));
        QVERIFY(list.contains(second));
        QVERIFY(!list.contains(&outside));
        QVERIFY(!list.contains(nullptr));
        list.removeDevice(first);
        QVERIFY(!list.contains(first));
        QVERIFY(list.contains(second));
    }

    void addedUnitIsAnnouncedAndAppended()
    {
        DeviceList list(nullptr);
        add(list, 1);
        SignalRecorder recorder(list);
        Device* device = list.addDevice("alarm 2"_s, 5567, 8080, "https"_s);
        QCOMPARE(recorder.take(),
                 "list.deviceStatesChanged list.alertChanged list.deviceChanged list.deviceChanged "
                 "list.deviceChanged list.deviceChanged list.listChanged"_s);
        QCOMPARE(list.count(), 2);
        QCOMPARE(list.at(1), device);
        QCOMPARE(list.device(1), device);
        QCOMPARE(device->parent(), &list);
        QVERIFY(!device->monitored());
    }

    void unitTellsOfItselfBeforeItIsInTheList()
    {
        QStringList seen;
        DeviceList list(nullptr);
        connect(&list, &DeviceList::deviceChanged, &list, [&](const Device* device) {
            seen.append("%1 %2 %3 %4 of %5"_s.arg(device->host())
                            .arg(device->zmqPort())
                            .arg(device->webPort())
                            .arg(device->webScheme())
                            .arg(list.count()));
        });
        connect(&list, &DeviceList::listChanged, &list, [&] { seen.append(QString::number(list.count())); });
        list.addDevice(host, 1, 2, "https"_s);
        QCOMPARE(seen,
                 QStringList({ "alarm 1 5566 80 http of 0"_s, "alarm 1 1 80 http of 0"_s,
                               "alarm 1 1 2 http of 0"_s, "alarm 1 1 2 https of 0"_s, "1"_s }));
    }

    void knownUnitIsNotAddedAgain_data()
    {
        QTest::addColumn<QString>("addedHost");
        QTest::addColumn<int>("addedPort");
        QTest::addColumn<bool>("added");
        QTest::newRow("the same") << host << 5566 << false;
        QTest::newRow("another port") << host << 5567 << true;
        QTest::newRow("another letter case") << host.toUpper() << 5566 << true;
    }

    void knownUnitIsNotAddedAgain()
    {
        QFETCH(const QString, addedHost);
        QFETCH(const int, addedPort);
        QFETCH(const bool, added);
        DeviceList list(nullptr);
        add(list, 5566);
        SignalRecorder recorder(list);
        // Web port and scheme do not make another unit.
        QCOMPARE(list.addDevice(addedHost, addedPort, 443, "https"_s) != nullptr, added);
        QCOMPARE(list.count(), added ? 2 : 1);
        QCOMPARE(recorder.take().isEmpty(), !added);
        QCOMPARE(list.at(0)->webPort(), 80);
        QCOMPARE(list.findChildren<Device*>().size(), list.count());
    }

    void monitoringIsPassedOn()
    {
        DeviceList list(nullptr);
        Device* device = add(list, 1);
        SignalRecorder recorder(list);
        list.setMonitored(device, true);
        QVERIFY(device->monitored());
        QCOMPARE(recorder.take(), "list.deviceChanged"_s);
        list.setMonitored(device, true);
        list.setMonitored(nullptr, true);
        list.setMonitored(nullptr, false);
        QCOMPARE(recorder.take(), QString());
        list.setMonitored(device, false);
        QVERIFY(!device->monitored());
    }

    void forwardsWhatUnitsSignal()
    {
        Device* notified = nullptr;
        DeviceList list(nullptr);
        add(list, 1);
        Device* device = add(list, 2);
        SignalRecorder recorder(list);
        connect(&list, &DeviceList::deviceChanged, &list, [&](Device* changed) { notified = changed; });
        list.notifyDeviceChanged(device);
        QCOMPARE(recorder.take(), "list.deviceChanged"_s);
        QCOMPARE(notified, device);
        emit device->deviceStateChanged();
        QCOMPARE(recorder.take(), "list.deviceStatesChanged"_s);
        device->setWarnings({ warning("Feuer"_s) });
        QCOMPARE(recorder.take(), "list.deviceStatesChanged list.alertChanged"_s);
    }

    void removedUnitLivesUntilTheEventLoop_data()
    {
        QTest::addColumn<Removal>("remove");
        QTest::newRow("by pointer") << Removal([](DeviceList& list) { list.removeDevice(list.at(1)); });
        QTest::newRow("by index") << Removal([](DeviceList& list) { list.removeAt(1); });
    }

    void removedUnitLivesUntilTheEventLoop()
    {
        QFETCH(const Removal, remove);
        QVector<int> portsAtSignal;
        DeviceList list(nullptr);
        add(list, 1);
        const QPointer<Device> device = add(list, 2);
        add(list, 3);
        connect(&list, &DeviceList::listChanged, &list, [&] { portsAtSignal = ports(list); });
        SignalRecorder recorder(list);
        remove(list);
        QCOMPARE(recorder.take(), "list.listChanged"_s);
        QCOMPARE(portsAtSignal, QVector<int>({ 1, 3 }));
        QVERIFY(device);
        QCOMPARE(device->host(), host);
        deleteDeferred();
        QVERIFY(!device);
        QCOMPARE(recorder.take(), QString());
        QCOMPARE(ports(list), QVector<int>({ 1, 3 }));
        QCOMPARE(list.findChildren<Device*>().size(), 2);
    }

    void removalDoesNotAskWhetherTheUnitIsInTheList()
    {
        DeviceList list(nullptr);
        add(list, 1);
        const QPointer<Device> outside = new Device(&list);
        SignalRecorder recorder(list);
        list.removeDevice(outside);
        QCOMPARE(recorder.take(), "list.listChanged"_s);
        QVERIFY(outside);
        deleteDeferred();
        QVERIFY(!outside);
        list.removeDevice(nullptr);
        QCOMPARE(recorder.take(), "list.listChanged"_s);
        QCOMPARE(list.count(), 1);
    }

    void clearEmptiesBeforeItsSignalsAndDeletesFromLastToFirst()
    {
        QStringList seen;
        DeviceList list(nullptr);
        for (const int port : { 1, 2, 3 })
            connect(add(list, port), &QObject::destroyed, this,
                    [&seen, port] { seen.append("deleted %1"_s.arg(port)); });
        connect(&list, &DeviceList::listChanged, &list,
                [&] { seen.append("changed %1"_s.arg(list.count())); });
        connect(&list, &DeviceList::listCleared, &list,
                [&] { seen.append("cleared %1"_s.arg(list.count())); });
        list.clear();
        QCOMPARE(seen, QStringList({ "changed 0"_s, "cleared 0"_s }));
        deleteDeferred();
        QCOMPARE(seen.mid(2), QStringList({ "deleted 3"_s, "deleted 2"_s, "deleted 1"_s }));
    }
};

QTEST_MAIN(TestDeviceList)
#include "tst_devicelist.moc"
