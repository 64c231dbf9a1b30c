// SPDX-License-Identifier: MIT
// What a unit and the list keep in the settings store.
#include "devices/device.h"
#include "devices/devicelist.h"

#include "support/literals.h"
#include "support/signalrecorder.h"
#include "support/teststore.h"
#include "support/units.h"

#include <QSettings>
#include <QtTest>

#include <zmq.hpp>

namespace {

QVariantMap unitValues(const QString& host, int zmqPort = 5566, bool monitored = false)
{
    return {
        { "Host"_s, host },           { "ZmqPort"_s, zmqPort },        { "WebPort"_s, 8080 },
        { "WebScheme"_s, "https"_s }, { "IpAddress"_s, "10.0.0.9"_s }, { "Monitored"_s, monitored },
    };
}

// Qt refuses a host name with a blank at once, so no test waits for a name server.
QString unitHost(int number)
{
    return "unit %1"_s.arg(number);
}

QStringList unitHosts(std::initializer_list<int> numbers)
{
    QStringList hosts;
    for (const int number : numbers)
        hosts.append(unitHost(number));
    return hosts;
}

QStringList hosts(const DeviceList& list)
{
    QStringList result;
    for (int i = 0; i < list.count(); ++i)
        result.append(list.at(i)->host());
    return result;
}

void addUnits(DeviceList& list, int count)
{
    for (int number = 0; number < count; ++number)
        list.addDevice(unitHost(number), number, 8000 + number, "https"_s);
}

void loadFromGroup(Device& device, const QString& group)
{
    QSettings settings;
    settings.beginGroup(group);
    device.load(settings);
}

} // namespace

class TestDeviceSettings : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }

    void savesSixKeysWithTheirTypes()
    {
        RecordedUnit unit;
        unit.device.setHost(loopback);
        unit.device.setZmqPort(5567);
        unit.device.setWebPort(8080);
        unit.device.setWebScheme("https"_s);
        unit.device.setQorName("Halle 2"_s);
        unit.device.setMonitored(true);
        QSettings settings;
        settings.beginGroup("Device7"_s);
        unit.device.save(settings);
        const QVariantMap expected {
            { "Host"_s, loopback },       { "ZmqPort"_s, 5567 },       { "WebPort"_s, 8080 },
            { "WebScheme"_s, "https"_s }, { "IpAddress"_s, loopback }, { "Monitored"_s, true },
        };
        QCOMPARE(settings.childKeys(), QStringList(expected.keys()));
        for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
            QCOMPARE(settings.value(it.key()), it.value());
            // QVariant compares across types, so the types count on their own.
            QCOMPARE(settings.value(it.key()).userType(), it.value().userType());
        }
    }

    void loadsThroughTheSettersInOrder()
    {
        Publisher publisher;
        m_store.writeUnit(0, unitValues(loopback, publisher.port(), true));
        QStringList addresses;
        RecordedUnit unit;
        unit.recorder.ignore({ "list.deviceChanged"_s });
        connect(&unit.device, &Device::ipAddressChanged, &unit.list,
                [&] { addresses.append(unit.device.ipAddress()); });
        loadFromGroup(unit.device, "Device0"_s);
        QCOMPARE(unit.recorder.take(),
                 "hostChanged ipAddressChanged zmqPortChanged webPortChanged webSchemeChanged "
                 "ipAddressChanged monitoredChanged ipAddressChanged ipAddressChanged"_s);
        QCOMPARE(addresses, QStringList({ loopback, "10.0.0.9"_s, QString(), loopback }));
        QCOMPARE(unit.device.host(), loopback);
        QCOMPARE(unit.device.zmqPort(), publisher.port());
        QCOMPARE(unit.device.webPort(), 8080);
        QCOMPARE(unit.device.webScheme(), "https"_s);
        QVERIFY(unit.device.monitored());
        QVERIFY(publisher.waitForSubscriber());
    }

    void missingKeysLoadAsEmptyZeroAndFalse()
    {
        m_store.writeUnit(0, { { "Host"_s, unitHost(0) } });
        RecordedUnit unit;
        unit.device.setMonitored(true);
        loadFromGroup(unit.device, "Device0"_s);
        QCOMPARE(unit.device.host(), unitHost(0));
        QCOMPARE(unit.device.zmqPort(), 0);
        QCOMPARE(unit.device.webPort(), 0);
        QCOMPARE(unit.device.webScheme(), QString());
        QCOMPARE(unit.device.ipAddress(), QString());
        QVERIFY(!unit.device.monitored());
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
        QFETCH(const QVariant, stored);
        QVariantMap values { { "Host"_s, unitHost(0) } };
        for (const QString& key : { "ZmqPort"_s, "WebPort"_s, "Monitored"_s })
            values[key] = stored;
        m_store.writeUnit(0, values);
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
        QFETCH(const QString, host);
        m_store.writeUnit(0, unitValues(host));
        DeviceList list(nullptr);
        list.load();
        QTEST(list.at(0)->ipAddress(), "address");
    }

    void emptyStoreGivesAnEmptyList()
    {
        DeviceList list(nullptr);
        SignalRecorder recorder(list);
        list.load();
        QCOMPARE(list.count(), 0);
        QCOMPARE(recorder.take(), "list.listChanged list.listCleared list.listRead"_s);
    }

    void listEndsAtTheFirstGap()
    {
        for (const int index : { 0, 1, 3 })
            m_store.writeUnit(index, unitValues(unitHost(index)));
        QStringList seen;
        DeviceList list(nullptr);
        connect(&list, &DeviceList::listChanged, &list, [&] { seen.append(QString::number(list.count())); });
        connect(&list, &DeviceList::listRead, &list, [&] { seen.append("read"_s); });
        list.load();
        QCOMPARE(hosts(list), unitHosts({ 0, 1 }));
        QCOMPARE(list.at(1)->parent(), &list);
        // Once for the clearing, then once for each unit that has just been appended.
        QCOMPARE(seen, QStringList({ "0"_s, "1"_s, "2"_s, "read"_s }));
        QCOMPARE(QSettings().value("Device3/Host"_s).toString(), unitHost(3));
    }

    void aMissingHostEndsTheListButNotAnEmptyOne()
    {
        m_store.writeUnit(0, { { "Host"_s, QString() } });
        m_store.writeUnit(1, unitValues(unitHost(1)));
        m_store.writeUnit(2, { { "ZmqPort"_s, 5566 } });
        m_store.writeUnit(3, unitValues(unitHost(3)));
        DeviceList list(nullptr);
        list.load();
        QCOMPARE(hosts(list), QStringList({ QString(), unitHost(1) }));
    }

    void savedListReplacesAnotherOne()
    {
        DeviceList list(nullptr);
        addUnits(list, 12);
        list.save();
        DeviceList again(nullptr);
        again.addDevice("other unit"_s, 5566, 80, "http"_s);
        again.load();
        QCOMPARE(hosts(again), hosts(list));
        QCOMPARE(again.at(11)->zmqPort(), 11);
        QCOMPARE(again.at(11)->webPort(), 8011);
        QCOMPARE(again.at(11)->webScheme(), "https"_s);
    }

    void saveRemovesOnlyTheGroupBehindTheLastUnit()
    {
        DeviceList list(nullptr);
        addUnits(list, 5);
        list.save();
        list.removeAt(3);
        list.removeAt(0);
        list.save();
        QCOMPARE(QSettings().childGroups(),
                 QStringList({ "Device0"_s, "Device1"_s, "Device2"_s, "Device4"_s }));
        QCOMPARE(QSettings().value("Device4/Host"_s).toString(), unitHost(4));
        list.load();
        QCOMPARE(hosts(list), unitHosts({ 1, 2, 4 }));
    }

    void endpointRefusedWhileLoadingReachesTheCaller()
    {
        m_store.writeUnit(0, unitValues(unitHost(0)));
        m_store.writeUnit(1, unitValues(loopback, -1, true));
        m_store.writeUnit(2, unitValues(unitHost(2)));
        DeviceList list(nullptr);
        SignalRecorder recorder(list);
        QVERIFY_EXCEPTION_THROWN(list.load(), zmq::error_t);
        QCOMPARE(hosts(list), unitHosts({ 0 }));
        QVERIFY(!recorder.take().contains("list.listRead"_s));
    }

private:
    TestStore m_store;
};

QTEST_GUILESS_MAIN(TestDeviceSettings)
#include "tst_devicesettings.moc"
