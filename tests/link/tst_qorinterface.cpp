// SPDX-License-Identifier: MIT
// A link: what it resolves and announces, the texts that it hands on, its states from the first connect to
// the destruction, and what it logs.
#include "link/qorinterface.h"

#include "support/linkjournal.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/units.h"

#include <QMetaEnum>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

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

class TestQorInterface : public QObject {
    Q_OBJECT

private slots:
    void startsIdle()
    {
        const QorInterface link;
        QCOMPARE(link.state(), QorInterface::Disconnected);
        QCOMPARE(link.stateText(), "Getrennt"_s);
        QCOMPARE(link.port(), 5566);
        QVERIFY(link.host().isEmpty());
        QVERIFY(link.ipAddress().isEmpty());
        QVERIFY(!link.parent());
        QVERIFY(!link.isRunning());
    }

    void registersItsStates()
    {
        const auto states = QMetaEnum::fromType<QorInterface::State>();
        QCOMPARE(states.keyCount(), 3);
        QCOMPARE(states.keyToValue("Disconnected"), 0);
        QCOMPARE(states.keyToValue("Pending"), 1);
        QCOMPARE(states.keyToValue("Connected"), 2);
    }

    void settersAnnounceChanges()
    {
        QorInterface link;
        const LinkJournal journal(link);
        const LogCapture log;
        link.setIpAddress("192.0.2.20"_s);
        link.setIpAddress("192.0.2.20"_s);
        link.setHost("unit"_s);
        link.setHost("unit"_s);
        QCOMPARE(link.host(), "unit"_s);
        QCOMPARE(link.ipAddress(), "192.0.2.20"_s);
        QCOMPARE(journal.entries, QStringList({ "address 192.0.2.20"_s, "host unit"_s }));
        QCOMPARE(log.taggedLines(), QStringList("C setHost \"192.0.2.20\" \"unit\""_s));
    }

    void hostWithoutAddressIsNotConnected_data()
    {
        QTest::addColumn<QString>("host");
        QTest::newRow("empty") << QString();
        QTest::newRow("unknown") << "no..host"_s;
    }

    void hostWithoutAddressIsNotConnected()
    {
        QFETCH(const QString, host);
        QorInterface link;
        link.setHost("unit"_s);
        link.setIpAddress("192.0.2.20"_s);
        const LinkJournal journal(link);
        const LogCapture log;
        QVERIFY(!link.connectQor(host, 7000));
        QCOMPARE(link.host(), host);
        QVERIFY(link.ipAddress().isEmpty());
        QCOMPARE(link.state(), QorInterface::Disconnected);
        QVERIFY(!link.isRunning());
        QCOMPARE(journal.entries, QStringList({ "host "_s + host, "address "_s, "port 7000"_s }));
        QCOMPARE(log.taggedLines(), QStringList("C setHost \"192.0.2.20\" \"%1\""_s.arg(host)));
    }

    void announcesEachStepOfAConnect()
    {
        const Publisher publisher;
        QorInterface link;
        link.setIpAddress("192.0.2.20"_s);
        const LinkJournal journal(link);
        QVERIFY(link.connectQor("localhost"_s, publisher.port()));
        QCOMPARE(link.host(), "localhost"_s);
        QCOMPARE(link.ipAddress(), loopback);
        QCOMPARE(link.port(), publisher.port());
        QTRY_COMPARE(journal.entries,
                     QStringList({ "host localhost"_s, "address "_s, "address 127.0.0.1"_s,
                                   "port "_s + QString::number(publisher.port()), pendingEntry }));
        QCOMPARE(link.state(), QorInterface::Pending);
        // The same port again is not announced.
        QVERIFY(link.connectQor("localhost"_s, publisher.port()));
        QCOMPARE(journal.entries.filter("port "_s).size(), 1);
    }

    void deliversTexts_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QByteArrayList>("delivered");
        const auto row = [](const char* name, const QByteArray& sent, const QByteArrayList& delivered) {
            QTest::newRow(name) << sent << delivered;
        };
        row("text", statusReport(), { statusReport() });
        row("UTF-8", "T\xc3\xbcr offen", { "T\xc3\xbcr offen" });
        row("invalid UTF-8", "\xff\xfe\xc3", { "\xff\xfe\xc3" });
        row("empty", "", { "" });
        row("zero byte inside", QByteArray("ab\0cd", 5), { "ab" });
        row("zero byte first", QByteArray("\0cd", 3), { "" });
        row("4999 bytes", QByteArray(4999, 'x'), { QByteArray(4999, 'x') });
        row("5000 bytes", QByteArray(5000, 'x'), {});
        row("5001 bytes", QByteArray(5001, 'x'), {});
        row("a million bytes", QByteArray(1000000, 'x'), {});
    }

    void deliversTexts()
    {
        QFETCH(const QByteArray, sent);
        QFETCH(const QByteArrayList, delivered);
        Publisher publisher;
        QorInterface link;
        const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
        // No spy: the link thread would write to it.
        const QObject here;
        QVector<qint64> dropped;
        connect(&link, &QorInterface::textTooLong, &here, [&](qint64 size) { dropped.append(size); });
        QVERIFY(connectTo(link, publisher));
        QTRY_COMPARE(link.state(), QorInterface::Pending);
        const LogCapture log;
        // What comes before and after shows that nothing of one text stays behind for the next.
        const QByteArray before = "before the text";
        for (const QByteArray& text : { before, sent, QByteArray("end") })
            publisher.send(text);
        QTRY_COMPARE(received.count(), 2 + delivered.size());
        QCOMPARE(texts(received), QByteArrayList { before } + delivered + QByteArrayList { "end" });
        QCOMPARE(dropped, delivered.isEmpty() ? QVector<qint64> { sent.size() } : QVector<qint64>());
        // Not a word, even of what is dropped.
        QVERIFY(log.lines().isEmpty());
    }

    void deliversFramesAsTexts()
    {
        Publisher publisher;
        QorInterface link;
        const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
        QVERIFY(connectTo(link, publisher));
        publisher.sendFrames({ "one", "", QByteArray(5000, 'x'), "two" });
        QTRY_COMPARE(received.count(), 3);
        QCOMPARE(texts(received), QByteArrayList({ "one", "", "two" }));
    }

    void deliversInOrderOnTheOwnThread()
    {
        Publisher publisher;
        QorInterface link;
        QByteArrayList texts;
        bool foreignThread = false;
        connect(
            &link, &QorInterface::receiveQorMessage, this,
            [&](const QByteArray& json) {
                foreignThread = foreignThread || QThread::currentThread() != thread();
                texts.append(json);
            },
            Qt::DirectConnection);
        QVERIFY(connectTo(link, publisher));
        QByteArrayList sent;
        for (int i = 0; i < 100; ++i) {
            sent.append(QByteArray::number(i));
            publisher.send(sent.last());
        }
        QTRY_COMPARE(texts, sent);
        QVERIFY(!foreignThread);
    }

    void pausesBetweenTexts()
    {
        Publisher publisher;
        QorInterface link;
        const QSignalSpy received(&link, &QorInterface::receiveQorMessage);
        QVERIFY(connectTo(link, publisher));
        QElapsedTimer elapsed;
        elapsed.start();
        constexpr int sent = 300;
        for (int i = 0; i < sent; ++i)
            publisher.send("text");
        QTRY_COMPARE(received.count(), sent);
        // A millisecond between two receives.
        QVERIFY2(elapsed.elapsed() >= sent - 1, QByteArray::number(elapsed.elapsed()).constData());
    }

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

    void announcedStopIsNoSecondStop()
    {
        LinkedUnit unit;
        // Nothing to stop yet.
        unit.link.announceStop();
        QVERIFY(unit.monitor());
        QVERIFY(unit.speak());
        const LogCapture log;
        QElapsedTimer elapsed;
        elapsed.start();
        unit.link.announceStop();
        unit.link.announceStop();
        unit.device->setMonitored(false);
        QVERIFY(elapsed.elapsed() >= 100);
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        QVERIFY(unit.publisher.waitForUnsubscriber());
    }

    void connectOvertakesAnAnnouncedStop()
    {
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        Publisher second;
        unit.link.announceStop();
        unit.device->setZmqPort(second.port());
        QVERIFY(unit.publisher.waitForUnsubscriber());
        QVERIFY(second.waitForSubscriber());
        QTest::qWait(200);
        second.send(statusReport());
        QTRY_COMPARE(unit.link.state(), QorInterface::Connected);
        QElapsedTimer elapsed;
        elapsed.start();
        unit.device->setMonitored(false);
        QVERIFY(elapsed.elapsed() >= 100);
    }

    void manyStopsTakeTheirTimeOnce()
    {
        constexpr int units = 10;
        DeviceList list(nullptr);
        for (int i = 1; i <= units; ++i)
            addMonitoredUnit(list, i);
        QElapsedTimer elapsed;
        elapsed.start();
        list.clear();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(list.findChildren<Device*>().isEmpty());
        QVERIFY2(elapsed.elapsed() < units * 100 / 2, QByteArray::number(elapsed.elapsed()).constData());
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

    void announcesEachStepOfAReconnect()
    {
        Publisher second;
        LinkedUnit unit;
        QVERIFY(unit.monitor());
        QVERIFY(unit.speak());
        const LinkJournal journal(unit.link);
        const LogCapture log;
        QVERIFY(unit.link.connectQor("localhost"_s, second.port()));
        QTRY_COMPARE(
            journal.entries,
            QStringList({ disconnectedEntry, "host "_s, "address "_s, "host localhost"_s,
                          "address 127.0.0.1"_s, "port "_s + QString::number(second.port()), pendingEntry }));
        QCOMPARE(linkLines(log),
                 QStringList({ disconnectLine, endLine, "setHost \"127.0.0.1\" \"\""_s,
                               "setHost \"\" \"localhost\""_s, startLine }));
        QVERIFY(unit.publisher.waitForUnsubscriber());
        QVERIFY(second.waitForSubscriber());
        second.send(statusReport());
        QTRY_COMPARE(unit.link.state(), QorInterface::Connected);
    }

    void connectsAtOnceForAMonitoredUnit()
    {
        LinkedUnit unit;
        unit.device->setMonitored(true);
        QorInterface link;
        link.setDevice(unit.device);
        QVERIFY(link.isRunning());
        QCOMPARE(link.host(), loopback);
        QCOMPARE(link.port(), unit.publisher.port());
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
        unit.device->setHost(QString());
        QVERIFY(unit.publisher.waitForUnsubscriber());
        QVERIFY(unit.link.isFinished());
        QCOMPARE(unit.link.state(), QorInterface::Disconnected);
        QVERIFY(unit.link.ipAddress().isEmpty());
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
        QTest::addColumn<QByteArrayList>("sent");
        QTest::addColumn<QorInterface::State>("state");
        QTest::newRow("pending") << QByteArrayList() << QorInterface::Pending;
        QTest::newRow("connected") << QByteArrayList { statusReport() } << QorInterface::Connected;
    }

    void destructionDisconnects()
    {
        QFETCH(const QByteArrayList, sent);
        QFETCH(const QorInterface::State, state);
        LinkedUnit unit;
        auto link = std::make_unique<QorInterface>();
        link->setDevice(unit.device);
        QVERIFY(connectTo(*link, unit.publisher));
        for (const QByteArray& text : sent)
            unit.publisher.send(text);
        QTRY_COMPARE(link->state(), state);
        const LinkJournal journal(*link);
        const LogCapture log;
        link.reset();
        QCOMPARE(journal.entries, QStringList({ disconnectedEntry, "host "_s, "address "_s }));
        QVERIFY(unit.publisher.waitForUnsubscriber());
        QCOMPARE(log.count(QtDebugMsg, disconnectLine), 1);
        QCOMPARE(log.count(QtDebugMsg, endLine), 1);
    }

private:
    static QByteArrayList texts(const QSignalSpy& received)
    {
        QByteArrayList texts;
        for (const QVariantList& arguments : received)
            texts.append(arguments.at(0).toByteArray());
        return texts;
    }
};

QTEST_GUILESS_MAIN(TestQorInterface)
#include "tst_qorinterface.moc"
