// SPDX-License-Identifier: MIT
// What the real program makes of a settings store that is locked, spoilt or large, and of a kill while it
// saves.
#include "support/literals.h"
#include "support/monitorprocess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLockFile>
#include <QRandomGenerator>
#include <QtTest>

namespace {

// Qt waits 30 seconds for an empty lock. This is what a user may notice.
constexpr int noticeableMs = 2000;
constexpr int storedUnits = 30;
constexpr int addedUnits = 60;
constexpr int firstPort = 7000;
constexpr int manyUnits = 1000;

int kills()
{
    const int wanted = qEnvironmentVariableIntValue("QORMONITOR_KILLS");
    return wanted > 0 ? wanted : 20;
}

QByteArray unitGroup(int index, int zmqPort)
{
    return "\n[Device" + QByteArray::number(index)
        + "]\nHost=127.0.0.1\nIpAddress=127.0.0.1\nMonitored=false\n"
        + "WebPort=80\nWebScheme=http\nZmqPort=" + QByteArray::number(zmqPort) + '\n';
}

// A store of units that are not monitored, with the ports from firstPort on.
QByteArray unitStore(int units)
{
    QByteArray text = "[General]\nAutoCheckUpdates=false\n";
    for (int i = 0; i < units; ++i)
        text += unitGroup(i, firstPort + i);
    return text;
}

QString storePath(const MonitorHome& home)
{
    return Platform::programStore(home.path());
}

void writeStore(const MonitorHome& home, const QByteArray& text)
{
    QVERIFY(QDir().mkpath(QFileInfo(storePath(home)).path()));
    QFile file(storePath(home));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), qint64(text.size()));
}

// How many units are stored; -1 when they are not those that belong there, in order and whole.
int wholeUnits(const MonitorHome& home)
{
    QSettings settings(storePath(home), Platform::programStoreFormat());
    const int count = settings.childGroups().size();
    for (int i = 0; i < count; ++i) {
        settings.beginGroup("Device%1"_s.arg(i));
        const bool isWhole = settings.value("Host"_s) == "127.0.0.1"_s && settings.childKeys().size() == 6
            && settings.value("ZmqPort"_s).toInt() == firstPort + i;
        settings.endGroup();
        if (!isWhole)
            return -1;
    }
    return settings.status() == QSettings::NoError ? count : -1;
}

QByteArray addOrder(int zmqPort)
{
    return "add " + QByteArray::number(zmqPort);
}

} // namespace

class TestProgramStore : public QObject {
    Q_OBJECT

private slots:
    void killWhileSavingLosesNothing()
    {
        int interrupted = 0;
        for (int round = 0; round < kills(); ++round) {
            const MonitorHome home;
            writeStore(home, unitStore(storedUnits));
            MonitorProcess monitor(home);
            QVERIFY(monitor.waitForWindow());
            QByteArray orders;
            for (int i = 0; i < addedUnits; ++i)
                orders += addOrder(firstPort + storedUnits + i) + '\n';
            monitor.send(orders);
            QTest::qSleep(QRandomGenerator::global()->bounded(1, 150));
            QVERIFY(monitor.kill());
            const int acknowledged = storedUnits + monitor.answersLeft();
            const int stored = wholeUnits(home);
            QVERIFY2(stored >= acknowledged && stored <= acknowledged + 1,
                     qPrintable("%1 stored, %2 acknowledged"_s.arg(stored).arg(acknowledged)));
            const QDir folder = QFileInfo(storePath(home)).dir();
            interrupted += folder.entryList(QDir::Files).size() > 1 ? 1 : 0;

            checkNextChange(home, stored);
            if (QTest::currentTestFailed())
                return;
        }
        qInfo("%d of %d kills hit a save", interrupted, kills());
    }

    void emptyLockOfAKilledProgramHoldsNothingUp()
    {
        const MonitorHome home;
        writeStore(home, unitStore(1));
        QVERIFY(QFile(lockPath(home)).open(QIODevice::WriteOnly));
        checkNextChange(home, 1);
    }

    void lockOfAnotherProgramIsReported()
    {
        const MonitorHome home;
        writeStore(home, unitStore(1));
        QLockFile lock(lockPath(home));
        QVERIFY(lock.lock());
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        QElapsedTimer elapsed;
        elapsed.start();
        // Its answer comes when the box is closed.
        monitor.send(addOrder(firstPort + 1) + '\n');
        QTRY_COMPARE_WITH_TIMEOUT(monitor.order("modal"), QByteArray("QMessageBox"), noticeableMs);
        QVERIFY(elapsed.elapsed() < noticeableMs);
        QVERIFY(monitor.logs("writeSettings() another program has locked "_s + storePath(home)));
        QCOMPARE(wholeUnits(home), 1);
        // The end writes the geometry, and does not wait either.
        elapsed.start();
        QCOMPARE(monitor.order("exit"), QByteArray("done"));
        QCOMPARE(monitor.waitForExitCode(), 0);
        QVERIFY(elapsed.elapsed() < noticeableMs);
    }

    void anyStoreIsStartedOn_data()
    {
        QTest::addColumn<QByteArray>("store");
        QTest::addColumn<int>("units");
        QTest::addColumn<QByteArray>("kept");
        const auto row = [](const char* name, const QByteArray& store, int units, const QByteArray& kept) {
            QTest::newRow(name) << store << units << kept;
        };
        QByteArray rubbish;
        for (int i = 0; i < 100000; ++i)
            rubbish += static_cast<char>(i * 7919 >> 5);
        row("rubbish", rubbish, 0, {});
        row("cut off", unitStore(3).chopped(60), 3, {});
        row("not a setting", unitStore(2) + "\nno setting\n[[[[\n", 2, {});
        row("gap", unitStore(2) + unitGroup(3, 1), 2, {});
        row("further gap", unitStore(2) + unitGroup(4, 1), 2, "[Device4]");
        row("twice the same unit", unitStore(2) + unitGroup(2, firstPort) + unitGroup(3, firstPort), 4, {});
        row("twice the same group", unitStore(2) + unitGroup(0, firstPort), 2, {});
        row("many units", unitStore(manyUnits), manyUnits, {});
    }

    void anyStoreIsStartedOn()
    {
        QFETCH(const QByteArray, store);
        QFETCH(const int, units);
        const MonitorHome home;
        writeStore(home, store);
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        QCOMPARE(monitor.order(addOrder(1)), QByteArray("done"));
        // All that was loaded, and the new one.
        QCOMPARE(home.setting("Device%1/ZmqPort"_s.arg(units)).toInt(), 1);
        QCOMPARE(home.setting("Device%1/ZmqPort"_s.arg(units + 1)), QVariant());
        QFile file(storePath(home));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QFETCH(const QByteArray, kept);
        QVERIFY(file.readAll().contains(kept));
        QCOMPARE(monitor.order("exit"), QByteArray("done"));
        QCOMPARE(monitor.waitForExitCode(), 0);
    }

    void unreadableStoreIsReportedWithTheFirstChange()
    {
        // A folder in the file's place, which no user can read or replace.
        const MonitorHome home;
        QVERIFY(QDir().mkpath(storePath(home)));
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        monitor.send(addOrder(1) + '\n');
        QTRY_COMPARE(monitor.order("modal"), QByteArray("QMessageBox"));
        QVERIFY(monitor.logs("writeSettings() cannot write "_s + storePath(home)));
    }

private:
    static QString lockPath(const MonitorHome& home) { return storePath(home) + ".lock"_s; }

    // Starts the program, which stores a further unit at once.
    static void checkNextChange(const MonitorHome& home, int units)
    {
        MonitorProcess monitor(home);
        QVERIFY(monitor.waitForWindow());
        QElapsedTimer elapsed;
        elapsed.start();
        QCOMPARE(monitor.order(addOrder(firstPort + units)), QByteArray("done"));
        QVERIFY2(elapsed.elapsed() < noticeableMs, qPrintable("%1 ms"_s.arg(elapsed.elapsed())));
        QCOMPARE(wholeUnits(home), units + 1);
    }
};

QTEST_GUILESS_MAIN(TestProgramStore)
#include "tst_programstore.moc"
