// SPDX-License-Identifier: MIT
// What those who are told of an alert find at the unit.
#include "devices/device.h"

#include "devices/devicelist.h"

#include <QtTest>

class TestDeviceAlert : public QObject {
    Q_OBJECT

private slots:
    void isStoredBeforeTheSignal()
    {
        DeviceList list(nullptr);
        Device device(&list);
        QVERIFY(device.alert());
        QVector<bool> flags;
        QVector<QDateTime> times;
        const QObject scope;
        connect(&list, &DeviceList::alertChanged, &scope, [&] {
            flags.append(device.alert());
            times.append(device.alertTime());
        });
        const QDateTime constructed = device.alertTime();
        QTRY_VERIFY(QDateTime::currentDateTime() > constructed);
        device.setAlert(false);
        QCOMPARE(flags, QVector<bool> { false });
        QVERIFY(times.at(0) > constructed);
        QTRY_VERIFY(QDateTime::currentDateTime() > times.at(0));
        device.setAlert(true);
        QCOMPARE(flags, QVector<bool>({ false, true }));
        QVERIFY(times.at(1) > times.at(0));
    }
};

QTEST_GUILESS_MAIN(TestDeviceAlert)
#include "tst_devicealert.moc"
