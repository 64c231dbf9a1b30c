// SPDX-License-Identifier: MIT
#include "link/qorinterface.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/logcapture.h"
#include "support/publisher.h"

#include <QSignalSpy>
#include <QtTest>

namespace {
const auto loopback = QStringLiteral("127.0.0.1");
} // namespace

class TestQorInterface : public QObject {
    Q_OBJECT

private slots:
    void startsIdle();
    void deliversTexts();
};

void TestQorInterface::startsIdle()
{
    const QorInterface link;
    QCOMPARE(link.state(), QorInterface::Disconnected);
    QCOMPARE(link.stateText(), QStringLiteral("Getrennt"));
    QCOMPARE(link.port(), 5566);
    QVERIFY(link.host().isEmpty());
    QVERIFY(link.ipAddress().isEmpty());
}

void TestQorInterface::deliversTexts()
{
    Publisher publisher;
    DeviceList list(nullptr);
    Device* device = list.addDevice(loopback, publisher.port(), 80, QStringLiteral("http"));
    QSignalSpy received(device->qorInterface(), &QorInterface::receiveQorMessage);
    device->setMonitored(true);
    QVERIFY(publisher.waitForSubscriber());
    publisher.send("hello");
    QTRY_COMPARE(received.count(), 1);
    QCOMPARE(received.at(0).at(0).toByteArray(), QByteArray("hello"));
    QCOMPARE(device->qorInterface()->state(), QorInterface::Connected);
}

QTEST_GUILESS_MAIN(TestQorInterface)
#include "tst_qorinterface.moc"
