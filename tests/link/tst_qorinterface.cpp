// SPDX-License-Identifier: MIT
// A link by itself: how it begins, what it resolves and announces, and the texts that it hands on.
#include "link/qorinterface.h"

#include "support/linkjournal.h"
#include "support/units.h"
#include "support/literals.h"
#include "support/logcapture.h"
#include "support/publisher.h"

#include <QMetaEnum>
#include <QSignalSpy>
#include <QtTest>

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

    void declaresItsSignalsInOrder()
    {
        const QMetaObject& meta = QorInterface::staticMetaObject;
        QByteArrayList signatures;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            if (meta.method(i).methodType() == QMetaMethod::Signal)
                signatures.append(meta.method(i).methodSignature());
        }
        // Behind them come those of its own use.
        QCOMPARE(signatures.mid(0, 5),
                 QByteArrayList({ "receiveQorMessage(QByteArray)", "connectStateChanged()",
                                  "hostChanged(QString)", "portChanged()", "ipAddressChanged(QString)" }));
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
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().at(0).type, QtCriticalMsg);
        QCOMPARE(log.lines().at(0).text, "setHost \"192.0.2.20\" \"unit\""_s);
    }

    void emptyHostIsNotConnected()
    {
        QorInterface link;
        link.setHost("unit"_s);
        link.setIpAddress("192.0.2.20"_s);
        const LinkJournal journal(link);
        const LogCapture log;
        QVERIFY(!link.connectQor(QString(), 7000));
        QVERIFY(link.ipAddress().isEmpty());
        QCOMPARE(link.state(), QorInterface::Disconnected);
        QVERIFY(!link.isRunning());
        QCOMPARE(journal.entries, QStringList({ "host "_s, "address "_s, "port 7000"_s }));
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.contains(QtCriticalMsg, "setHost"_s));
    }

    void unknownHostIsNotConnected()
    {
        QorInterface link;
        link.setIpAddress("192.0.2.20"_s);
        QVERIFY(!link.connectQor("no..host"_s, 5566));
        QCOMPARE(link.host(), "no..host"_s);
        QVERIFY(link.ipAddress().isEmpty());
        QCOMPARE(link.state(), QorInterface::Disconnected);
        QVERIFY(!link.isRunning());
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
        const QStringList expected {
            "host localhost"_s,
            "address "_s,
            "address "_s + loopback,
            "port "_s + QString::number(publisher.port()),
            "state Warte auf Verbindung ..."_s,
        };
        QTRY_COMPARE(journal.entries, expected);
        QCOMPARE(link.state(), QorInterface::Pending);
    }

    void keepsQuietOnTheSamePort()
    {
        const Publisher publisher;
        QorInterface link;
        QVERIFY(!link.connectQor(QString(), publisher.port()));
        const QSignalSpy ports(&link, &QorInterface::portChanged);
        QVERIFY(link.connectQor(loopback, publisher.port()));
        QCOMPARE(ports.count(), 0);
    }

    void deliversTexts_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<bool>("delivered");
        QTest::addColumn<QByteArray>("text");
        const auto add = [](const char* name, const QByteArray& sent, const QByteArray& text) {
            QTest::newRow(name) << sent << true << text;
        };
        add("text", "{\"cmd\":\"StatusReport\"}", "{\"cmd\":\"StatusReport\"}");
        add("UTF-8", "T\xc3\xbcr offen", "T\xc3\xbcr offen");
        add("invalid UTF-8", "\xff\xfe\xc3", "\xff\xfe\xc3");
        add("empty", "", "");
        add("zero byte inside", QByteArray("ab\0cd", 5), "ab");
        add("zero byte first", QByteArray("\0cd", 3), "");
        add("4999 bytes", QByteArray(4999, 'x'), QByteArray(4999, 'x'));
        QTest::newRow("5000 bytes") << QByteArray(5000, 'x') << false << QByteArray();
        QTest::newRow("5001 bytes") << QByteArray(5001, 'x') << false << QByteArray();
        QTest::newRow("a million bytes") << QByteArray(1000000, 'x') << false << QByteArray();
    }

    void deliversTexts()
    {
        QFETCH(const QByteArray, sent);
        QFETCH(const bool, delivered);
        QFETCH(const QByteArray, text);
        Publisher publisher;
        QorInterface link;
        QSignalSpy received(&link, &QorInterface::receiveQorMessage);
        QVERIFY(link.connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        QTRY_COMPARE(link.state(), QorInterface::Pending);
        const LogCapture log;
        // What comes before and after shows that nothing of one text stays behind for the next.
        publisher.send("before the text");
        publisher.send(sent);
        publisher.send("end");
        QTRY_VERIFY(!received.isEmpty() && received.last().at(0).toByteArray() == "end");
        QCOMPARE(received.count(), delivered ? 3 : 2);
        QCOMPARE(received.at(0).at(0).toByteArray(), QByteArray("before the text"));
        if (delivered)
            QCOMPARE(received.at(1).at(0).toByteArray(), text);
        // Not a word, even of what is dropped.
        QVERIFY(log.lines().isEmpty());
    }

    void deliversFramesAsTexts()
    {
        Publisher publisher;
        QorInterface link;
        QSignalSpy received(&link, &QorInterface::receiveQorMessage);
        QVERIFY(link.connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        publisher.sendFrames({ "one", "", QByteArray(5000, 'x'), "two" });
        QTRY_COMPARE(received.count(), 3);
        QCOMPARE(received.at(0).at(0).toByteArray(), QByteArray("one"));
        QCOMPARE(received.at(1).at(0).toByteArray(), QByteArray(""));
        QCOMPARE(received.at(2).at(0).toByteArray(), QByteArray("two"));
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
        QVERIFY(link.connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
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
        int texts = 0;
        connect(&link, &QorInterface::receiveQorMessage, this, [&] { ++texts; });
        QVERIFY(link.connectQor(loopback, publisher.port()));
        QVERIFY(publisher.waitForSubscriber());
        QElapsedTimer elapsed;
        elapsed.start();
        constexpr int sent = 300;
        for (int i = 0; i < sent; ++i)
            publisher.send("text");
        QTRY_COMPARE(texts, sent);
        // A millisecond between two receives.
        QVERIFY2(elapsed.elapsed() >= sent - 1, QByteArray::number(elapsed.elapsed()).constData());
    }
};

QTEST_GUILESS_MAIN(TestQorInterface)
#include "tst_qorinterface.moc"
