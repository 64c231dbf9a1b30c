// SPDX-License-Identifier: MIT
// A link by itself: how it begins, what it resolves and announces, and the texts that it hands on.
#include "link/qorinterface.h"

#include "link/linkedunit.h"
#include "support/logcapture.h"
#include "support/publisher.h"

#include <QMetaEnum>
#include <QSignalSpy>
#include <QtTest>

class TestQorInterface : public QObject {
    Q_OBJECT

private slots:
    void startsIdle();
    void registersItsStates();
    void declaresItsSignalsInOrder();
    void settersAnnounceChanges();
    void emptyHostIsNotConnected();
    void unknownHostIsNotConnected();
    void announcesEachStepOfAConnect();
    void keepsQuietOnTheSamePort();
    void deliversTexts_data();
    void deliversTexts();
    void deliversFramesAsTexts();
    void deliversInOrderOnTheOwnThread();
    void pausesBetweenTexts();
};

void TestQorInterface::startsIdle()
{
    const QorInterface link;
    QCOMPARE(link.state(), QorInterface::Disconnected);
    QCOMPARE(link.stateText(), QStringLiteral("Getrennt"));
    QCOMPARE(link.port(), 5566);
    QVERIFY(link.host().isEmpty());
    QVERIFY(link.ipAddress().isEmpty());
    QVERIFY(!link.parent());
    QVERIFY(!link.isRunning());
}

void TestQorInterface::registersItsStates()
{
    const auto states = QMetaEnum::fromType<QorInterface::State>();
    QCOMPARE(states.keyCount(), 3);
    QCOMPARE(states.keyToValue("Disconnected"), 0);
    QCOMPARE(states.keyToValue("Pending"), 1);
    QCOMPARE(states.keyToValue("Connected"), 2);
}

void TestQorInterface::declaresItsSignalsInOrder()
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

void TestQorInterface::settersAnnounceChanges()
{
    QorInterface link;
    const SignalJournal journal(link);
    const LogCapture log;
    link.setIpAddress(QStringLiteral("192.0.2.20"));
    link.setIpAddress(QStringLiteral("192.0.2.20"));
    link.setHost(QStringLiteral("unit"));
    link.setHost(QStringLiteral("unit"));
    QCOMPARE(link.host(), QStringLiteral("unit"));
    QCOMPARE(link.ipAddress(), QStringLiteral("192.0.2.20"));
    QCOMPARE(journal.entries,
             QStringList({ QStringLiteral("address 192.0.2.20"), QStringLiteral("host unit") }));
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().at(0).type, QtCriticalMsg);
    QCOMPARE(log.lines().at(0).text, QStringLiteral("setHost \"192.0.2.20\" \"unit\""));
}

void TestQorInterface::emptyHostIsNotConnected()
{
    QorInterface link;
    link.setHost(QStringLiteral("unit"));
    link.setIpAddress(QStringLiteral("192.0.2.20"));
    const SignalJournal journal(link);
    const LogCapture log;
    QVERIFY(!link.connectQor(QString(), 7000));
    QVERIFY(link.ipAddress().isEmpty());
    QCOMPARE(link.state(), QorInterface::Disconnected);
    QVERIFY(!link.isRunning());
    QCOMPARE(
        journal.entries,
        QStringList({ QStringLiteral("host "), QStringLiteral("address "), QStringLiteral("port 7000") }));
    QCOMPARE(log.lines().size(), 1);
    QVERIFY(log.contains(QtCriticalMsg, QStringLiteral("setHost")));
}

void TestQorInterface::unknownHostIsNotConnected()
{
    QorInterface link;
    link.setIpAddress(QStringLiteral("192.0.2.20"));
    QVERIFY(!link.connectQor(QStringLiteral("no..host"), 5566));
    QCOMPARE(link.host(), QStringLiteral("no..host"));
    QVERIFY(link.ipAddress().isEmpty());
    QCOMPARE(link.state(), QorInterface::Disconnected);
    QVERIFY(!link.isRunning());
}

void TestQorInterface::announcesEachStepOfAConnect()
{
    const Publisher publisher;
    QorInterface link;
    link.setIpAddress(QStringLiteral("192.0.2.20"));
    const SignalJournal journal(link);
    QVERIFY(link.connectQor(QStringLiteral("localhost"), publisher.port()));
    QCOMPARE(link.host(), QStringLiteral("localhost"));
    QCOMPARE(link.ipAddress(), loopback());
    QCOMPARE(link.port(), publisher.port());
    const QStringList expected {
        QStringLiteral("host localhost"),
        QStringLiteral("address "),
        QStringLiteral("address ") + loopback(),
        QStringLiteral("port ") + QString::number(publisher.port()),
        QStringLiteral("state Warte auf Verbindung ..."),
    };
    QTRY_COMPARE(journal.entries, expected);
    QCOMPARE(link.state(), QorInterface::Pending);
}

void TestQorInterface::keepsQuietOnTheSamePort()
{
    const Publisher publisher;
    QorInterface link;
    QVERIFY(!link.connectQor(QString(), publisher.port()));
    const QSignalSpy ports(&link, &QorInterface::portChanged);
    QVERIFY(link.connectQor(loopback(), publisher.port()));
    QCOMPARE(ports.count(), 0);
}

void TestQorInterface::deliversTexts_data()
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

void TestQorInterface::deliversTexts()
{
    QFETCH(const QByteArray, sent);
    QFETCH(const bool, delivered);
    QFETCH(const QByteArray, text);
    Publisher publisher;
    QorInterface link;
    QSignalSpy received(&link, &QorInterface::receiveQorMessage);
    QVERIFY(link.connectQor(loopback(), publisher.port()));
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

void TestQorInterface::deliversFramesAsTexts()
{
    Publisher publisher;
    QorInterface link;
    QSignalSpy received(&link, &QorInterface::receiveQorMessage);
    QVERIFY(link.connectQor(loopback(), publisher.port()));
    QVERIFY(publisher.waitForSubscriber());
    publisher.sendFrames({ "one", "", QByteArray(5000, 'x'), "two" });
    QTRY_COMPARE(received.count(), 3);
    QCOMPARE(received.at(0).at(0).toByteArray(), QByteArray("one"));
    QCOMPARE(received.at(1).at(0).toByteArray(), QByteArray(""));
    QCOMPARE(received.at(2).at(0).toByteArray(), QByteArray("two"));
}

void TestQorInterface::deliversInOrderOnTheOwnThread()
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
    QVERIFY(link.connectQor(loopback(), publisher.port()));
    QVERIFY(publisher.waitForSubscriber());
    QByteArrayList sent;
    for (int i = 0; i < 100; ++i) {
        sent.append(QByteArray::number(i));
        publisher.send(sent.last());
    }
    QTRY_COMPARE(texts, sent);
    QVERIFY(!foreignThread);
}

void TestQorInterface::pausesBetweenTexts()
{
    Publisher publisher;
    QorInterface link;
    int texts = 0;
    connect(&link, &QorInterface::receiveQorMessage, this, [&] { ++texts; });
    QVERIFY(link.connectQor(loopback(), publisher.port()));
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

QTEST_GUILESS_MAIN(TestQorInterface)
#include "tst_qorinterface.moc"
