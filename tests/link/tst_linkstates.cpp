// SPDX-License-Identifier: MIT
// The connection state of a unit's link from the first connect to the destruction, and what is logged.
#include "link/qorinterface.h"

#include "support/linkjournal.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/units.h"

#include <QtTest>

#include <functional>
#include <memory>

using Preparation = std::function<void(QorInterface&, Publisher&)>;
Q_DECLARE_METATYPE(Preparation)

namespace {

const auto startLine = "QorInterface::run(): start thread loop"_s;

// All lines but the unit's own trace of the state.
QStringList linkLines(const LogCapture& log)
{
    QStringList texts;
    for (const LogCapture::Line& line : log.lines()) {
        if (line.type != QtInfoMsg)
            texts.append(line.text);
    }
    return texts;
}

} // namespace

class TestLinkStates : public QObject {
    Q_OBJECT

private slots:
    void goesFromPendingToConnected()
    {
        LinkedUnit unit;
        const LinkJournal journal(unit.link);
        const LogCapture log;
        QVERIFY(unit.monitor());
        QTRY_COMPARE(journal.entries.count(pendingEntry), 1);
        QCOMPARE(unit.link.state(), QorInterface::Pending);
        QCOMPARE(unit.link.stateText(), "Warte auf Verbindung ..."_s);
        QCOMPARE(log.count(QtDebugMsg, startLine), 1);

        QVERIFY(unit.speak());
        QVERIFY(unit.speak());
        QCOMPARE(unit.link.state(), QorInterface::Connected);
        QCOMPARE(unit.link.stateText(), "Verbunden"_s);
        // A second text changes nothing; the state comes before what the other listeners make of the text.
        const auto textEntry = QString("text "_s + QString::fromUtf8(statusReport()));
        QCOMPARE(journal.entries.mid(journal.entries.indexOf(pendingEntry)),
                 QStringList({ pendingEntry, connectedEntry, textEntry, textEntry }));
        QVERIFY(unit.link.isRunning());
        QCOMPARE(unit.link.priority(), QThread::InheritPriority);
    }

    void stopsOnceFromOutside()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        QVERIFY(unit.speak());
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
        QVERIFY(unit.publisher.waitForUnsubscriber());

        QCoreApplication::processEvents();
        QCOMPARE(journal.entries, expected);
        QCOMPARE(linkLines(log), QStringList({ disconnectLine, endLine, "setHost \"127.0.0.1\" \"\""_s }));
        QCOMPARE(log.count(QtDebugMsg, "QorInterface::"_s), 2);
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
        Publisher second;
        LinkedUnit unit;
        const LinkJournal journal(unit.link);
        QVERIFY(unit.monitor());
        QVERIFY(unit.speak());

        unit.device->setZmqPort(second.port());
        QVERIFY(unit.publisher.waitForUnsubscriber());
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
        QTRY_COMPARE(
            journal.entries,
            QStringList({ disconnectedEntry, "host "_s, "address "_s, "host localhost"_s,
                          "address 127.0.0.1"_s, "port "_s + QString::number(second.port()), pendingEntry }));
        QCOMPARE(linkLines(log),
                 QStringList({ disconnectLine, endLine, "setHost \"127.0.0.1\" \"\""_s,
                               "setHost \"\" \"localhost\""_s, startLine }));
    }

    void emptyHostEndsTheLink()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        unit.device->setHost(QString());
        QVERIFY(unit.publisher.waitForUnsubscriber());
        QVERIFY(unit.link.isFinished());
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
        QVERIFY(unit.link.ipAddress().isEmpty());
    }

    void followsItsUnit()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        QCOMPARE(unit.link.host(), unit.device->host());
        QCOMPARE(unit.link.port(), unit.publisher.port());
        unit.device->setMonitored(false);
        QVERIFY(unit.publisher.waitForUnsubscriber());
        QVERIFY(unit.link.host().isEmpty());
        QVERIFY(unit.monitor());
        QTRY_COMPARE(unit.link.state(), QorInterface::Pending);
        unit.device->setHost("localhost"_s);
        QVERIFY(unit.publisher.waitForSubscriber());
        QCOMPARE(unit.link.host(), "localhost"_s);
        QVERIFY(unit.speak());
        QCOMPARE(unit.link.state(), QorInterface::Connected);
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
        for (const QString& line : { startLine, endLine, disconnectLine })
            QCOMPARE(log.count(QtDebugMsg, line), rounds);
    }

    void destructionDisconnects_data()
    {
        QTest::addColumn<Preparation>("prepare");
        QTest::newRow("connected") << Preparation([](QorInterface& link, Publisher& publisher) {
            const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
            publisher.send(statusReport());
            QTRY_COMPARE(received.count(), 1);
        });
        QTest::newRow("pending") << Preparation(
            [](const QorInterface& link, Publisher&) { QTRY_COMPARE(link.state(), QorInterface::Pending); });
    }

    void destructionDisconnects()
    {
        QFETCH(const Preparation, prepare);
        Publisher publisher;
        auto link = std::make_unique<QorInterface>();
        QVERIFY(connectTo(*link, publisher));
        prepare(*link, publisher);
        const LogCapture log;
        link.reset();
        QVERIFY(publisher.waitForUnsubscriber());
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        QCOMPARE(log.count(QtDebugMsg, endLine), 1);
    }
};

QTEST_GUILESS_MAIN(TestLinkStates)
#include "tst_linkstates.moc"
