// SPDX-License-Identifier: MIT
// What a unit and the list keep in the settings store.
#include "devices/device.h"
#include "devices/devicelist.h"

#include "devices/signalrecorder.h"
#include "link/qorinterface.h"
#include "support/publisher.h"
#include "support/teststore.h"

#include <QSettings>
#include <QtTest>

#include <zmq.hpp>

namespace {
const auto loopback = QStringLiteral("127.0.0.1");

QVariantMap unitValues(const QString& host, int zmqPort = 5566)
{
    return {
        { QStringLiteral("Host"), host },
        { QStringLiteral("ZmqPort"), zmqPort },
        { QStringLiteral("WebPort"), 8080 },
        { QStringLiteral("WebScheme"), QStringLiteral("https") },
        { QStringLiteral("IpAddress"), QStringLiteral("10.0.0.9") },
        { QStringLiteral("Monitored"), false },
    };
}

QString unitHost(int number)
{
    return QStringLiteral("unit %1").arg(number);
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

    void savesSixKeysWithTheirTypes();
    void loadsThroughTheSettersInOrder();
    void loadSwitchesMonitoringOn();
    void missingKeysLoadAsEmptyZeroAndFalse();
    void wrongTypesConvert_data();
    void wrongTypesConvert();
    void storedAddressNeverSurvivesLoading_data();
    void storedAddressNeverSurvivesLoading();

    void emptyStoreGivesAnEmptyList();
    void listEndsAtTheFirstGap();
    void groupWithoutHostEndsTheList();
    void emptyHostIsAUnit();
    void loadReplacesTheList();
    void savedListLoadsAgain();
    void saveRemovesOnlyTheGroupBehindTheLastUnit();
    void endpointRefusedWhileLoadingReachesTheCaller();

private:
    TestStore m_store;
};

void TestDeviceSettings::savesSixKeysWithTheirTypes()
{
    DeviceList list(nullptr);
    Device device(&list);
    device.setHost(loopback);
    device.setZmqPort(5567);
    device.setWebPort(8080);
    device.setWebScheme(QStringLiteral("https"));
    device.setQorName(QStringLiteral("Halle 2"));
    device.setMonitored(true);
    QSettings settings;
    settings.beginGroup(QStringLiteral("Device7"));
    device.save(settings);
    QStringList keys = settings.childKeys();
    keys.sort();
    QCOMPARE(
        keys,
        QStringList({ QStringLiteral("Host"), QStringLiteral("IpAddress"), QStringLiteral("Monitored"),
                      QStringLiteral("WebPort"), QStringLiteral("WebScheme"), QStringLiteral("ZmqPort") }));
    // QVariant compares across types, so the types count on their own.
    const auto check = [&settings](const QString& key, const QVariant& expected) {
        QCOMPARE(settings.value(key).userType(), expected.userType());
        QCOMPARE(settings.value(key), expected);
    };
    check(QStringLiteral("Host"), loopback);
    check(QStringLiteral("ZmqPort"), 5567);
    check(QStringLiteral("WebPort"), 8080);
    check(QStringLiteral("WebScheme"), QStringLiteral("https"));
    check(QStringLiteral("IpAddress"), loopback);
    check(QStringLiteral("Monitored"), true);
}

void TestDeviceSettings::loadsThroughTheSettersInOrder()
{
    QVariantMap values = unitValues(loopback, 5567);
    values[QStringLiteral("Monitored")] = true;
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
    settings.beginGroup(QStringLiteral("Device0"));
    device.load(settings);

    QStringList names = recorder.take();
    QCOMPARE(names.size(), 18);
    QCOMPARE(names.removeAll(QStringLiteral("list.deviceChanged")), 9);
    QCOMPARE(names,
             QStringList({ QStringLiteral("hostChanged"), QStringLiteral("ipAddressChanged"),
                           QStringLiteral("zmqPortChanged"), QStringLiteral("webPortChanged"),
                           QStringLiteral("webSchemeChanged"), QStringLiteral("ipAddressChanged"),
                           QStringLiteral("monitoredChanged"), QStringLiteral("ipAddressChanged"),
                           QStringLiteral("ipAddressChanged") }));
    QCOMPARE(addresses, QStringList({ loopback, QStringLiteral("10.0.0.9"), QString(), loopback }));
    QCOMPARE(device.host(), loopback);
    QCOMPARE(device.zmqPort(), 5567);
    QCOMPARE(device.webPort(), 8080);
    QCOMPARE(device.webScheme(), QStringLiteral("https"));
}

void TestDeviceSettings::loadSwitchesMonitoringOn()
{
    Publisher publisher;
    QVariantMap values = unitValues(loopback, publisher.port());
    values[QStringLiteral("Monitored")] = true;
    m_store.writeUnit(0, values);
    DeviceList list(nullptr);
    list.load();
    QVERIFY(list.at(0)->monitored());
    QVERIFY(publisher.waitForSubscriber());
    QTRY_COMPARE(list.at(0)->qorInterface()->state(), QorInterface::Pending);
}

void TestDeviceSettings::missingKeysLoadAsEmptyZeroAndFalse()
{
    m_store.writeUnit(0, { { QStringLiteral("Host"), unitHost(0) } });
    DeviceList list(nullptr);
    Device device(&list);
    device.setMonitored(true);
    QSettings settings;
    settings.beginGroup(QStringLiteral("Device0"));
    device.load(settings);
    QCOMPARE(device.host(), unitHost(0));
    QCOMPARE(device.zmqPort(), 0);
    QCOMPARE(device.webPort(), 0);
    QCOMPARE(device.webScheme(), QString());
    QCOMPARE(device.ipAddress(), QString());
    QVERIFY(!device.monitored());
}

void TestDeviceSettings::wrongTypesConvert_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("port");
    QTest::addColumn<bool>("monitored");
    QTest::newRow("words") << QVariant(QStringLiteral("many")) << 0 << true;
    QTest::newRow("digits as text") << QVariant(QStringLiteral("5567")) << 5567 << true;
    QTest::newRow("false as text") << QVariant(QStringLiteral("false")) << 0 << false;
    QTest::newRow("zero as text") << QVariant(QStringLiteral("0")) << 0 << false;
    QTest::newRow("list") << QVariant(QStringList { QStringLiteral("1"), QStringLiteral("2") }) << 0 << false;
}

void TestDeviceSettings::wrongTypesConvert()
{
    QFETCH(QVariant, stored);
    m_store.writeUnit(0,
                      { { QStringLiteral("Host"), unitHost(0) },
                        { QStringLiteral("ZmqPort"), stored },
                        { QStringLiteral("WebPort"), stored },
                        { QStringLiteral("Monitored"), stored } });
    DeviceList list(nullptr);
    list.load();
    QTEST(list.at(0)->zmqPort(), "port");
    QTEST(list.at(0)->webPort(), "port");
    QTEST(list.at(0)->monitored(), "monitored");
}

void TestDeviceSettings::storedAddressNeverSurvivesLoading_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("address");
    QTest::newRow("the host resolves to another one") << loopback << loopback;
    QTest::newRow("the host does not resolve") << unitHost(0) << QString();
    QTest::newRow("there is no host") << QString() << QString();
}

void TestDeviceSettings::storedAddressNeverSurvivesLoading()
{
    QFETCH(QString, host);
    m_store.writeUnit(0, unitValues(host));
    DeviceList list(nullptr);
    list.load();
    QTEST(list.at(0)->ipAddress(), "address");
}

void TestDeviceSettings::emptyStoreGivesAnEmptyList()
{
    DeviceList list(nullptr);
    SignalRecorder recorder;
    recorder.watch(list);
    list.load();
    QCOMPARE(list.count(), 0);
    QCOMPARE(recorder.take(),
             QStringList({ QStringLiteral("list.listChanged"), QStringLiteral("list.listCleared"),
                           QStringLiteral("list.listRead") }));
}

void TestDeviceSettings::listEndsAtTheFirstGap()
{
    for (const int index : { 0, 1, 3 })
        m_store.writeUnit(index, unitValues(unitHost(index)));
    DeviceList list(nullptr);
    QStringList seen;
    const QObject scope;
    connect(&list, &DeviceList::listChanged, &scope, [&] { seen.append(QString::number(list.count())); });
    connect(&list, &DeviceList::listRead, &scope, [&] { seen.append(QStringLiteral("read")); });
    list.load();
    QCOMPARE(hosts(list), QStringList({ unitHost(0), unitHost(1) }));
    QCOMPARE(list.at(1)->parent(), &list);
    // Once for the clearing, then once for each unit that has just been appended.
    QCOMPARE(seen,
             QStringList(
                 { QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("read") }));
    QCOMPARE(QSettings().value(QStringLiteral("Device3/Host")).toString(), unitHost(3));
}

void TestDeviceSettings::groupWithoutHostEndsTheList()
{
    m_store.writeUnit(0, unitValues(unitHost(0)));
    m_store.writeUnit(1, { { QStringLiteral("ZmqPort"), 5566 } });
    m_store.writeUnit(2, unitValues(unitHost(2)));
    DeviceList list(nullptr);
    list.load();
    QCOMPARE(hosts(list), QStringList { unitHost(0) });
}

void TestDeviceSettings::emptyHostIsAUnit()
{
    m_store.writeUnit(0, { { QStringLiteral("Host"), QString() } });
    m_store.writeUnit(1, unitValues(unitHost(1)));
    DeviceList list(nullptr);
    list.load();
    QCOMPARE(hosts(list), QStringList({ QString(), unitHost(1) }));
}

void TestDeviceSettings::loadReplacesTheList()
{
    m_store.writeUnit(0, unitValues(unitHost(0)));
    DeviceList list(nullptr);
    list.addDevice(unitHost(8), 5566, 80, QStringLiteral("http"));
    list.load();
    QCOMPARE(hosts(list), QStringList { unitHost(0) });
}

void TestDeviceSettings::savedListLoadsAgain()
{
    DeviceList list(nullptr);
    for (int number = 0; number < 12; ++number)
        list.addDevice(unitHost(number), number, 8000 + number, QStringLiteral("https"));
    list.save();
    DeviceList again(nullptr);
    again.load();
    QCOMPARE(hosts(again), hosts(list));
    QCOMPARE(again.at(11)->zmqPort(), 11);
    QCOMPARE(again.at(11)->webPort(), 8011);
    QCOMPARE(again.at(11)->webScheme(), QStringLiteral("https"));
}

void TestDeviceSettings::saveRemovesOnlyTheGroupBehindTheLastUnit()
{
    DeviceList list(nullptr);
    for (int number = 0; number < 5; ++number)
        list.addDevice(unitHost(number), 5566, 80, QStringLiteral("http"));
    list.save();
    list.removeAt(3);
    list.removeAt(0);
    list.save();
    QCOMPARE(QSettings().childGroups(),
             QStringList({ QStringLiteral("Device0"), QStringLiteral("Device1"), QStringLiteral("Device2"),
                           QStringLiteral("Device4") }));
    QCOMPARE(QSettings().value(QStringLiteral("Device4/Host")).toString(), unitHost(4));
    list.load();
    QCOMPARE(hosts(list), QStringList({ unitHost(1), unitHost(2), unitHost(4) }));
}

void TestDeviceSettings::endpointRefusedWhileLoadingReachesTheCaller()
{
    QVariantMap refused = unitValues(loopback, -1);
    refused[QStringLiteral("Monitored")] = true;
    m_store.writeUnit(0, unitValues(unitHost(0)));
    m_store.writeUnit(1, refused);
    m_store.writeUnit(2, unitValues(unitHost(2)));
    DeviceList list(nullptr);
    SignalRecorder recorder;
    recorder.watch(list);
    QVERIFY_EXCEPTION_THROWN(list.load(), zmq::error_t);
    QCOMPARE(hosts(list), QStringList { unitHost(0) });
    QVERIFY(!recorder.take().contains(QStringLiteral("list.listRead")));
}

QTEST_GUILESS_MAIN(TestDeviceSettings)
#include "tst_devicesettings.moc"
