// SPDX-License-Identifier: MIT
// What a unit and the list keep in the settings store.
#include "devices/device.h"
#include "devices/devicelist.h"

#include "support/signalrecorder.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/publisher.h"
#include "support/teststore.h"
#include "support/units.h"

#include <QSettings>
#include <QtTest>

#include <zmq.hpp>

namespace {

QVariantMap unitValues(const QString& host, int zmqPort = 5566)
{
    return {
        { "Host"_s, host },           { "ZmqPort"_s, zmqPort },        { "WebPort"_s, 8080 },
        { "WebScheme"_s, "https"_s }, { "IpAddress"_s, "10.0.0.9"_s }, { "Monitored"_s, false },
    };
}

QString unitHost(int number)
{
    return "unit %1"_s.arg(number);
}

QStringList hosts(const DeviceList& list)
{
    QStringList result;
    for (int i = 0; i < list.count(); ++i)
        result.append(list.at(i)->host());
    return result;
}
} // namespace

class TestDeviceSettings : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }

    void savesSixKeysWithTheirTypes()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.setHost(loopback);
        device.setZmqPort(5567);
        device.setWebPort(8080);
        device.setWebScheme("https"_s);
        device.setQorName("Halle 2"_s);
        device.setMonitored(true);
        QSettings settings;
        settings.beginGroup("Device7"_s);
        device.save(settings);
        QStringList keys = settings.childKeys();
        keys.sort();
        QCOMPARE(
            keys,
            QStringList({ "Host"_s, "IpAddress"_s, "Monitored"_s, "WebPort"_s, "WebScheme"_s, "ZmqPort"_s }));
        // QVariant compares across types, so the types count on their own.
        const auto check = [&settings](const QString& key, const QVariant& expected) {
            QCOMPARE(settings.value(key).userType(), expected.userType());
            QCOMPARE(settings.value(key), expected);
        };
        check("Host"_s, loopback);
        check("ZmqPort"_s, 5567);
        check("WebPort"_s, 8080);
        check("WebScheme"_s, "https"_s);
        check("IpAddress"_s, loopback);
        check("Monitored"_s, true);
    }

    void loadsThroughTheSettersInOrder()
    {
        QVariantMap values = unitValues(loopback, 5567);
        values["Monitored"_s] = true;
        m_store.writeUnit(0, values);
        DeviceList list(nullptr);
        Device device(&list);
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        QStringList addresses;
        const QObject scope;
        connect(&device, &Device::ipAddressChanged, &scope, [&] { addresses.append(device.ipAddress()); });
        QSettings settings;
        settings.beginGroup("Device0"_s);
        device.load(settings);

        QStringList names = recorder.take();
        QCOMPARE(names.size(), 18);
        QCOMPARE(names.removeAll("list.deviceChanged"_s), 9);
        QCOMPARE(names,
                 QStringList({ "hostChanged"_s, "ipAddressChanged"_s, "zmqPortChanged"_s, "webPortChanged"_s,
                               "webSchemeChanged"_s, "ipAddressChanged"_s, "monitoredChanged"_s,
                               "ipAddressChanged"_s, "ipAddressChanged"_s }));
        QCOMPARE(addresses, QStringList({ loopback, "10.0.0.9"_s, QString(), loopback }));
        QCOMPARE(device.host(), loopback);
        QCOMPARE(device.zmqPort(), 5567);
        QCOMPARE(device.webPort(), 8080);
        QCOMPARE(device.webScheme(), "https"_s);
    }

    void loadSwitchesMonitoringOn()
    {
        Publisher publisher;
        QVariantMap values = unitValues(loopback, publisher.port());
        values["Monitored"_s] = true;
        m_store.writeUnit(0, values);
        DeviceList list(nullptr);
        list.load();
        QVERIFY(list.at(0)->monitored());
        QVERIFY(publisher.waitForSubscriber());
        QTRY_COMPARE(list.at(0)->qorInterface()->state(), QorInterface::Pending);
    }

    void missingKeysLoadAsEmptyZeroAndFalse()
    {
        m_store.writeUnit(0, { { "Host"_s, unitHost(0) } });
        DeviceList list(nullptr);
        Device device(&list);
        device.setMonitored(true);
        QSettings settings;
        settings.beginGroup("Device0"_s);
        device.load(settings);
        QCOMPARE(device.host(), unitHost(0));
        QCOMPARE(device.zmqPort(), 0);
        QCOMPARE(device.webPort(), 0);
        QCOMPARE(device.webScheme(), QString());
        QCOMPARE(device.ipAddress(), QString());
        QVERIFY(!device.monitored());
    }

    void wrongTypesConvert_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<int>("port");
        QTest::addColumn<bool>("monitored");
        QTest::newRow("words") << QVariant("many"_s) << 0 << true;
        QTest::newRow("digits as text") << QVariant("5567"_s) << 5567 << true;
        QTest::newRow("false as text") << QVariant("false"_s) << 0 << false;
        QTest::newRow("zero as text") << QVariant("0"_s) << 0 << false;
        QTest::newRow("list") << QVariant(QStringList { "1"_s, "2"_s }) << 0 << false;
    }

    void wrongTypesConvert()
    {
        QFETCH(QVariant, stored);
        m_store.writeUnit(0,
                          { { "Host"_s, unitHost(0) },
                            { "ZmqPort"_s, stored },
                            { "WebPort"_s, stored },
                            { "Monitored"_s, stored } });
        DeviceList list(nullptr);
        list.load();
        QTEST(list.at(0)->zmqPort(), "port");
        QTEST(list.at(0)->webPort(), "port");
        QTEST(list.at(0)->monitored(), "monitored");
    }

    void storedAddressNeverSurvivesLoading_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("address");
        QTest::newRow("the host resolves to another one") << loopback << loopback;
        QTest::newRow("the host does not resolve") << unitHost(0) << QString();
        QTest::newRow("there is no host") << QString() << QString();
    }

    void storedAddressNeverSurvivesLoading()
    {
        QFETCH(QString, host);
        m_store.writeUnit(0, unitValues(host));
        DeviceList list(nullptr);
        list.load();
        QTEST(list.at(0)->ipAddress(), "address");
    }

    void emptyStoreGivesAnEmptyList()
    {
        DeviceList list(nullptr);
        SignalRecorder recorder;
        recorder.watch(list);
        list.load();
        QCOMPARE(list.count(), 0);
        QCOMPARE(recorder.take(),
                 QStringList({ "list.listChanged"_s, "list.listCleared"_s, "list.listRead"_s }));
    }

    void listEndsAtTheFirstGap()
    {
        for (const int index : { 0, 1, 3 })
            m_store.writeUnit(index, unitValues(unitHost(index)));
        DeviceList list(nullptr);
        QStringList seen;
        const QObject scope;
        connect(&list, &DeviceList::listChanged, &scope, [&] { seen.append(QString::number(list.count())); });
        connect(&list, &DeviceList::listRead, &scope, [&] { seen.append("read"_s); });
        list.load();
        QCOMPARE(hosts(list), QStringList({ unitHost(0), unitHost(1) }));
        QCOMPARE(list.at(1)->parent(), &list);
        // Once for the clearing, then once for each unit that has just been appended.
        QCOMPARE(seen, QStringList({ "0"_s, "1"_s, "2"_s, "read"_s }));
        QCOMPARE(QSettings().value("Device3/Host"_s).toString(), unitHost(3));
    }

    void groupWithoutHostEndsTheList()
    {
        m_store.writeUnit(0, unitValues(unitHost(0)));
        m_store.writeUnit(1, { { "ZmqPort"_s, 5566 } });
        m_store.writeUnit(2, unitValues(unitHost(2)));
        DeviceList list(nullptr);
        list.load();
        QCOMPARE(hosts(list), QStringList { unitHost(0) });
    }

    void emptyHostIsAUnit()
    {
        m_store.writeUnit(0, { { "Host"_s, QString() } });
        m_store.writeUnit(1, unitValues(unitHost(1)));
        DeviceList list(nullptr);
        list.load();
        QCOMPARE(hosts(list), QStringList({ QString(), unitHost(1) }));
    }

    void loadReplacesTheList()
    {
        m_store.writeUnit(0, unitValues(unitHost(0)));
        DeviceList list(nullptr);
        list.addDevice(unitHost(8), 5566, 80, "http"_s);
        list.load();
        QCOMPARE(hosts(list), QStringList { unitHost(0) });
    }

    void savedListLoadsAgain()
    {
        DeviceList list(nullptr);
        for (int number = 0; number < 12; ++number)
            list.addDevice(unitHost(number), number, 8000 + number, "https"_s);
        list.save();
        DeviceList again(nullptr);
        again.load();
        QCOMPARE(hosts(again), hosts(list));
        QCOMPARE(again.at(11)->zmqPort(), 11);
        QCOMPARE(again.at(11)->webPort(), 8011);
        QCOMPARE(again.at(11)->webScheme(), "https"_s);
    }

    void saveRemovesOnlyTheGroupBehindTheLastUnit()
    {
        DeviceList list(nullptr);
        for (int number = 0; number < 5; ++number)
            list.addDevice(unitHost(number), 5566, 80, "http"_s);
        list.save();
        list.removeAt(3);
        list.removeAt(0);
        list.save();
        QCOMPARE(QSettings().childGroups(),
                 QStringList({ "Device0"_s, "Device1"_s, "Device2"_s, "Device4"_s }));
        QCOMPARE(QSettings().value("Device4/Host"_s).toString(), unitHost(4));
        list.load();
        QCOMPARE(hosts(list), QStringList({ unitHost(1), unitHost(2), unitHost(4) }));
    }

    void endpointRefusedWhileLoadingReachesTheCaller()
    {
        QVariantMap refused = unitValues(loopback, -1);
        refused["Monitored"_s] = true;
        m_store.writeUnit(0, unitValues(unitHost(0)));
        m_store.writeUnit(1, refused);
        m_store.writeUnit(2, unitValues(unitHost(2)));
        DeviceList list(nullptr);
        SignalRecorder recorder;
        recorder.watch(list);
        QVERIFY_EXCEPTION_THROWN(list.load(), zmq::error_t);
        QCOMPARE(hosts(list), QStringList { unitHost(0) });
        QVERIFY(!recorder.take().contains("list.listRead"_s));
    }

private:
    TestStore m_store;
};

QTEST_GUILESS_MAIN(TestDeviceSettings)
#include "tst_devicesettings.moc"
