// SPDX-License-Identifier: MIT
// The connection state of a unit's link from the first connect to the destruction, and what is logged.
#include "link/qorinterface.h"

#include "support/linkjournal.h"
#include "support/units.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/publisher.h"

#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {
const auto startLine = "QorInterface::run(): start thread loop"_s;
} // namespace

class TestLinkStates : public QObject {
    Q_OBJECT

private slots:
    void goesFromPendingToConnected()
    {
        Publisher publisher;
        LinkedUnit unit(publisher.port());
        const LinkJournal journal(unit.link);
        const LogCapture log;
        unit.device->setMonitored(true);
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        QCOMPARE(unit.link.stateText(), "Warte auf Verbindung ..."_s);
        QVERIFY(publisher.waitForSubscriber());
        QTRY_COMPARE(journal.entries.count(pendingEntry), 1);
        QCOMPARE(unit.link.state(), QorInterface::Pending);
        QCOMPARE(log.count(QtDebugMsg, startLine), 1);

        publisher.send(statusReport());
        publisher.send(statusReport());
        QTRY_COMPARE(journal.entries.filter("text "_s).size(), 2);
        QCOMPARE(unit.link.state(), QorInterface::Connected);
        QCOMPARE(unit.link.stateText(), "Verbunden"_s);
        // A second text changes nothing; the state comes before what the other listeners make of the text.
        QCOMPARE(journal.entries.filter("state "_s), QStringList({ pendingEntry, connectedEntry }));
        QVERIFY(unit.link.isRunning());
        QCOMPARE(unit.link.priority(), QThread::InheritPriority);
    }

    void stopsOnceFromOutside()
    {
        Publisher publisher;
        LinkedUnit unit(publisher.port());
        unit.device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        QSignalSpy received(&unit.link, &QorInterface::receiveQorMessage);
        publisher.send(statusReport());
        QTRY_COMPARE(received.count(), 1);
        const LinkJournal journal(unit.link);
        const LogCapture log;

        QElapsedTimer elapsed;
        elapsed.start();
        unit.link.disconnectQor();
        QVERIFY(elapsed.elapsed() >= 100);
        QVERIFY(unit.link.isFinished());
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
        const QStringList expected { disconnectedEntry, "host "_s, "address "_s };
        QCOMPARE(journal.entries, expected);
        QVERIFY(publisher.waitForUnsubscriber());

        QCoreApplication::processEvents();
        QCOMPARE(journal.entries, expected);
        QVector<LogCapture::Line> lines = log.lines();
        // The unit's own trace of the state.
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](const LogCapture::Line& line) { return line.type == QtInfoMsg; }),
                    lines.end());
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines.at(0).text, disconnectLine);
        QCOMPARE(lines.at(1).text, endLine);
        QCOMPARE(lines.at(2).text, "setHost \"127.0.0.1\" \"\""_s);
        QCOMPARE(lines.at(0).type, QtDebugMsg);
        QCOMPARE(lines.at(1).type, QtDebugMsg);
    }

    void leavesAnIdleLinkAlone()
    {
        QorInterface link;
        link.setHost("unit"_s);
        link.setIpAddress("192.0.2.20"_s);
        const LinkJournal journal(link);
        const LogCapture log;
        link.disconnectQor();
        QVERIFY(log.lines().isEmpty());
        QVERIFY(journal.entries.isEmpty());
        QCOMPARE(link.host(), "unit"_s);
        QCOMPARE(link.ipAddress(), "192.0.2.20"_s);
    }

    void reconnectsThroughPending()
    {
        Publisher first;
        Publisher second;
        LinkedUnit unit(first.port());
        const LinkJournal journal(unit.link);
        unit.device->setMonitored(true);
        QVERIFY(first.waitForSubscriber());
        first.send(statusReport());
        QTRY_COMPARE(unit.link.state(), QorInterface::Connected);

        unit.device->setZmqPort(second.port());
        QVERIFY(first.waitForUnsubscriber());
        QVERIFY(second.waitForSubscriber());
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        second.send(statusReport());
        QTRY_COMPARE(unit.link.state(), QorInterface::Connected);
        QCOMPARE(
            journal.entries.filter("state "_s),
            QStringList({ pendingEntry, connectedEntry, disconnectedEntry, pendingEntry, connectedEntry }));
    }

    void announcesEachStepOfAReconnect()
    {
        const Publisher first;
        const Publisher second;
        QorInterface link;
        QVERIFY(link.connectQor(loopback, first.port()));
        QTRY_COMPARE(link.state(), QorInterface::Pending);
        QCoreApplication::processEvents();
        const LinkJournal journal(link);
        const LogCapture log;
        QVERIFY(link.connectQor("localhost"_s, second.port()));
        const QStringList expected {
            disconnectedEntry,     "host "_s,
            "address "_s,          "host localhost"_s,
            "address 127.0.0.1"_s, "port "_s + QString::number(second.port()),
            pendingEntry,
        };
        QTRY_COMPARE(journal.entries, expected);
        const QVector<LogCapture::Line> lines = log.lines();
        QCOMPARE(lines.size(), 5);
        QCOMPARE(lines.at(0).text, disconnectLine);
        QCOMPARE(lines.at(1).text, endLine);
        QCOMPARE(lines.at(2).text, "setHost \"127.0.0.1\" \"\""_s);
        QCOMPARE(lines.at(3).text, "setHost \"\" \"localhost\""_s);
        QCOMPARE(lines.at(4).text, startLine);
    }

    void emptyHostEndsTheLink()
    {
        Publisher publisher;
        LinkedUnit unit(publisher.port());
        unit.device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        unit.device->setHost(QString());
        QVERIFY(publisher.waitForUnsubscriber());
        QVERIFY(unit.link.isFinished());
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
        QVERIFY(unit.link.ipAddress().isEmpty());
    }

    void followsItsUnit()
    {
        Publisher publisher;
        LinkedUnit unit(publisher.port());
        unit.device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        QCOMPARE(unit.link.host(), unit.device->host());
        QCOMPARE(unit.link.port(), publisher.port());
        unit.device->setMonitored(false);
        QVERIFY(publisher.waitForUnsubscriber());
        QVERIFY(unit.link.host().isEmpty());
        unit.device->setMonitored(true);
        QVERIFY(publisher.waitForSubscriber());
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        unit.device->setHost("localhost"_s);
        QVERIFY(publisher.waitForSubscriber());
        QCOMPARE(unit.link.host(), "localhost"_s);
        publisher.send(statusReport());
        QTRY_COMPARE(unit.link.state(), QorInterface::Connected);
    }

    void survivesAStopBeforeTheLoop()
    {
        const Publisher publisher;
        QorInterface link;
        const LogCapture log;
        constexpr int rounds = 20;
        for (int i = 0; i < rounds; ++i) {
            QVERIFY(link.connectQor(loopback, publisher.port()));
            link.disconnectQor();
            QVERIFY(link.isFinished());
            QCOMPARE(link.state(), QorInterface::Disconnected);
        }
        QCoreApplication::processEvents();
        QCOMPARE(link.state(), QorInterface::Disconnected);
        QCOMPARE(log.count(QtDebugMsg, startLine), rounds);
        QCOMPARE(log.count(QtDebugMsg, endLine), rounds);
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), rounds);
    }

    void destructionDisconnects_data()
    {
        QTest::addColumn<bool>("connected");
        QTest::newRow("connected") << true;
        QTest::newRow("pending") << false;
    }

    void destructionDisconnects()
    {
        QFETCH(const bool, connected);
        Publisher publisher;
        auto link = std::make_unique<QorInterface>();
        QSignalSpy received(link.get(), &QorInterface::receiveQorMessage);
        QVERIFY(link->connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        if (connected) {
            publisher.send(statusReport());
            QTRY_COMPARE(received.count(), 1);
        }
        const LogCapture log;
        link.reset();
        QVERIFY(publisher.waitForUnsubscriber());
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        QCOMPARE(log.count(QtDebugMsg, endLine), 1);
    }
};

QTEST_GUILESS_MAIN(TestLinkStates)
#include "tst_linkstates.moc"
