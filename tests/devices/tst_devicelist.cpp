// SPDX-License-Identifier: MIT
#include "devices/devicelist.h"

#include "devices/device.h"
#include "support/signalrecorder.h"
#include "support/units.h"
#include "support/literals.h"

#include <QMetaMethod>
#include <QWidget>
#include <QtTest>

#include <exception>
#include <typeinfo>

namespace {
const auto http = "http"_s;
const auto host = "alarm 1"_s;
const auto listChanged = "list.listChanged"_s;
const auto deviceChanged = "list.deviceChanged"_s;
const auto deviceStatesChanged = "list.deviceStatesChanged"_s;
const auto alertChanged = "list.alertChanged"_s;

Device* addUnit(DeviceList& list, const QString& unitHost, int zmqPort = 5566)
{
    return list.addDevice(unitHost, zmqPort, 80, http);
}
} // namespace

class TestDeviceList : public QObject {
    Q_OBJECT

private slots:
    void declaresItsSignalsInOrder()
    {
        QList<QByteArray> declared;
        const QMetaObject& meta = DeviceList::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            if (meta.method(i).methodType() == QMetaMethod::Signal)
                declared.append(meta.method(i).methodSignature());
        }
        QCOMPARE(declared,
                 QList<QByteArray>({ "listChanged()", "listRead()", "listCleared()", "deviceChanged(Device*)",
                                     "activateWindow()", "deviceStatesChanged()", "alertChanged()" }));
    }

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
        QFETCH(int, count);
        QFETCH(int, index);
        DeviceList list(nullptr);
        for (int i = 0; i < count; ++i)
            QCOMPARE(list.at(i), addUnit(list, host, i));
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
    }

    void unitIsFoundByExactHostAndPort_data()
    {
        QTest::addColumn<QString>("soughtHost");
        QTest::addColumn<int>("soughtPort");
        QTest::addColumn<int>("index");
        QTest::newRow("first") << host << 5566 << 0;
        QTest::newRow("another port") << host << 5567 << 1;
        QTest::newRow("unknown port") << host << 5568 << -1;
        QTest::newRow("another letter case") << "Alarm 1"_s << 5566 << -1;
        QTest::newRow("unknown host") << "alarm 2"_s << 5566 << -1;
        QTest::newRow("part of the host") << "alarm"_s << 5566 << -1;
        QTest::newRow("no host") << QString() << 5566 << -1;
    }

    void unitIsFoundByExactHostAndPort()
    {
        QFETCH(QString, soughtHost);
        QFETCH(int, soughtPort);
        DeviceList list(nullptr);
        addUnit(list, host, 5566);
        addUnit(list, host, 5567);
        QTEST(list.indexOf(soughtHost, soughtPort), "index");
    }

    void firstOfTwoEqualUnitsIsFound()
    {
        DeviceList list(nullptr);
        addUnit(list, host, 1);
        addUnit(list, host, 2);
        addUnit(list, host, 3)->setZmqPort(2);
        QCOMPARE(list.indexOf(host, 2), 1);
    }

    void containsItsOwnUnits()
    {
        DeviceList list(nullptr);
        Device* first = addUnit(list, host, 1);
        const Device* second = addUnit(list, host, 2);
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
        addUnit(list, host);
        SignalRecorder recorder;
        recorder.watch(list);
        Device* device = list.addDevice("alarm 2"_s, 5567, 8080, "https"_s);
        QVERIFY(device);
        QCOMPARE(recorder.take(),
                 QStringList({ deviceStatesChanged, alertChanged, deviceChanged, deviceChanged, deviceChanged,
                               deviceChanged, listChanged }));
        QCOMPARE(list.count(), 2);
        QCOMPARE(list.at(1), device);
        QCOMPARE(list.device(1), device);
        QCOMPARE(device->parent(), &list);
        QCOMPARE(device->host(), "alarm 2"_s);
        QCOMPARE(device->zmqPort(), 5567);
        QCOMPARE(device->webPort(), 8080);
        QCOMPARE(device->webScheme(), "https"_s);
        QVERIFY(!device->monitored());
    }

    void unitTellsOfItselfBeforeItIsInTheList()
    {
        DeviceList list(nullptr);
        QStringList seen;
        const QObject scope;
        connect(&list, &DeviceList::deviceChanged, &scope, [&](const Device* device) {
            seen.append("%1 %2 %3 %4 of %5"_s.arg(device->host())
                            .arg(device->zmqPort())
                            .arg(device->webPort())
                            .arg(device->webScheme())
                            .arg(list.count()));
        });
        connect(&list, &DeviceList::listChanged, &scope, [&] { seen.append(QString::number(list.count())); });
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
        QFETCH(QString, addedHost);
        QFETCH(int, addedPort);
        QFETCH(bool, added);
        DeviceList list(nullptr);
        list.addDevice(host, 5566, 80, http);
        SignalRecorder recorder;
        recorder.watch(list);
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
        Device* device = addUnit(list, host);
        SignalRecorder recorder;
        recorder.watch(list);
        list.setMonitored(device, true);
        QVERIFY(device->monitored());
        QCOMPARE(recorder.take(), QStringList { deviceChanged });
        list.setMonitored(device, true);
        list.setMonitored(nullptr, true);
        list.setMonitored(nullptr, false);
        QCOMPARE(recorder.take(), QStringList());
        list.setMonitored(device, false);
        QVERIFY(!device->monitored());
    }

    void notifiesOfTheUnit()
    {
        DeviceList list(nullptr);
        addUnit(list, host, 1);
        Device* second = addUnit(list, host, 2);
        SignalRecorder recorder;
        recorder.watch(list);
        Device* notified = nullptr;
        const QObject scope;
        connect(&list, &DeviceList::deviceChanged, &scope, [&](Device* device) { notified = device; });
        list.notifyDeviceChanged(second);
        QCOMPARE(notified, second);
        QCOMPARE(recorder.take(), QStringList { deviceChanged });
    }

    void forwardsWhatUnitsSignal()
    {
        DeviceList list(nullptr);
        Device* device = addUnit(list, host);
        SignalRecorder recorder;
        recorder.watch(list);
        emit device->deviceStateChanged();
        QCOMPARE(recorder.take(), QStringList { deviceStatesChanged });
        device->setWarnings({ warning("Feuer"_s) });
        QCOMPARE(recorder.take(), QStringList({ deviceStatesChanged, alertChanged }));
        device->setQorName("Halle 2"_s);
        QCOMPARE(recorder.take(), QStringList { deviceChanged });
    }
};

QTEST_MAIN(TestDeviceList)
#include "tst_devicelist.moc"
