// SPDX-License-Identifier: MIT
#include "devices/device.h"

#include "devices/devicelist.h"
#include "link/qorinterface.h"

#include <QtTest>

class TestDevice : public QObject {
    Q_OBJECT

private slots:
    void freshUnitHasTheInitialValues();
};

void TestDevice::freshUnitHasTheInitialValues()
{
    DeviceList list(nullptr);
    const Device device(&list);
    QCOMPARE(device.zmqPort(), 5566);
    QCOMPARE(device.webPort(), 80);
    QCOMPARE(device.webScheme(), QStringLiteral("http"));
    QVERIFY(!device.monitored());
    QVERIFY(device.alert());
}

QTEST_GUILESS_MAIN(TestDevice)
#include "tst_device.moc"
