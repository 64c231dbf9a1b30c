// SPDX-License-Identifier: MIT
// Links to units that say nothing, or nothing any more.
#include "link/qorinterface.h"

#include "support/linkjournal.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/units.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

class TestLinkSilence : public QObject {
    Q_OBJECT

private slots:
    void waitsForAPortOfNobody()
    {
        const int port = Publisher().port();
        LinkedUnit unit;
        unit.device->setZmqPort(port);
        unit.device->setMonitored(true);
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        QVERIFY(unit.link.isRunning());
        // ZeroMQ could not send the subscription. This must not delay the end.
        QElapsedTimer elapsed;
        elapsed.start();
        unit.list.reset();
        QVERIFY2(elapsed.elapsed() < 2000, QByteArray::number(elapsed.elapsed()).constData());
    }

    void waitsForAServerThatIsNoPublisher()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        int answered = 0;
        connect(&server, &QTcpServer::newConnection, this, [&] {
            QTcpSocket* socket = server.nextPendingConnection();
            socket->write(
                "HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\nThis is no publisher at all.\r\n");
            socket->disconnectFromHost();
            ++answered;
        });
        LinkedUnit unit;
        unit.device->setZmqPort(server.serverPort());
        const QSignalSpy received(&unit.link, &QorInterface::receiveQorMessage);
        unit.device->setMonitored(true);
        // The link connects again and again, because a unit may still be starting up.
        QTRY_VERIFY(answered >= 3);
        QCOMPARE(unit.link.state(), QorInterface::Pending);
        QVERIFY(unit.link.isRunning());
        QCOMPARE(received.count(), 0);
        unit.device->setMonitored(false);
        QVERIFY(unit.link.isFinished());
    }

    void silenceDisconnectsAndTheNextTextConnects()
    {
        QElapsedTimer sinceText;
        qint64 silence = 0;
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        QVERIFY(unit.speak());
        // The time counts from the last text, not from the first.
        connect(&unit.link, &QorInterface::receiveQorMessage, this, [&] { sinceText.start(); });
        QTimer::singleShot(1500, this, [&] { unit.publisher.send(statusReport()); });
        connect(&unit.link, &QorInterface::connectStateChanged, this, [&] { silence = sinceText.elapsed(); });
        const LinkJournal journal(unit.link);
        const LogCapture log;
        QTRY_COMPARE_WITH_TIMEOUT(unit.link.state(), QorInterface::Disconnected, 10000);
        // The clock here starts a little after the timer, so it may show a little less than 5000 ms. A busy
        // computer may add some time.
        QVERIFY2(silence >= 4990 && silence <= 5750, QByteArray::number(silence).constData());
        QCOMPARE(unit.link.stateText(), "Getrennt"_s);
        QVERIFY(unit.link.isRunning());
        QCOMPARE(unit.link.host(), loopback);
        QCOMPARE(unit.link.ipAddress(), loopback);
        QCOMPARE(log.count(QtDebugMsg, disconnectLine) + log.count(QtDebugMsg, endLine), 0);

        QVERIFY(unit.speak());
        QCOMPARE(unit.link.state(), QorInterface::Connected);
        QCOMPARE(journal.entries.filter("state "_s), QStringList({ disconnectedEntry, connectedEntry }));
    }

    void silentUnitIsStoppedForGood()
    {
        // All of them at once, for the silence takes its time.
        LinkedUnit unmonitored;
        LinkedUnit moved;
        LinkedUnit destroyed;
        for (LinkedUnit* unit : { &unmonitored, &moved, &destroyed }) {
            QVERIFY(unit->monitor());
            QVERIFY(unit->speak());
            QCOMPARE(unit->link.state(), QorInterface::Connected);
        }
        for (LinkedUnit* unit : { &unmonitored, &moved, &destroyed })
            QTRY_COMPARE_WITH_TIMEOUT(unit->link.state(), QorInterface::Disconnected, 10000);

        const LinkJournal journal(unmonitored.link);
        const LogCapture log;
        unmonitored.device->setMonitored(false);
        QVERIFY(unmonitored.publisher.waitForUnsubscriber());
        QVERIFY(unmonitored.link.isFinished());
        // Told once more although the state is the same, for the unit is no longer listened to.
        QCOMPARE(journal.entries, QStringList({ disconnectedEntry, "host "_s, "address "_s }));

        Publisher next;
        moved.device->setZmqPort(next.port());
        QVERIFY(moved.publisher.waitForUnsubscriber());
        QVERIFY(next.waitForSubscriber());
        next.send(statusReport());
        QTRY_COMPARE(moved.link.state(), QorInterface::Connected);

        destroyed.list.reset();
        QVERIFY(destroyed.publisher.waitForUnsubscriber());
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 3);
        QCOMPARE(log.count(QtDebugMsg, endLine), 3);
    }

    void silenceIsNotCarriedOverToTheNextConnect()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        QVERIFY(unit.speak());
        unit.device->setMonitored(false);
        const LinkJournal journal(unit.link);
        unit.device->setMonitored(true);
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        // Past the time that the last text of the old connection had.
        QVERIFY(!QTest::qWaitFor([&] { return unit.link.state() != QorInterface::Pending; }, 6000));
        QCOMPARE(journal.entries.filter("state "_s), QStringList(pendingEntry));
    }
};

QTEST_GUILESS_MAIN(TestLinkSilence)
#include "tst_linksilence.moc"
