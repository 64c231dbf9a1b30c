// SPDX-License-Identifier: MIT
// Links on a system that has not enough open files for all of them.
#include "link/openfiles.h"

#include "support/units.h"
#include "support/zmqfaults.h"

#include <QFile>
#include <QSignalSpy>
#include <QtTest>

#include <sys/resource.h>

#include <atomic>
#include <thread>

using namespace std::chrono_literals;

namespace {
// What is allowed while it lives.
class Limit {
public:
    explicit Limit(rlim_t files)
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit limit { files, m_before.rlim_max };
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~Limit() { setrlimit(RLIMIT_NOFILE, &m_before); }
    Q_DISABLE_COPY_MOVE(Limit)

private:
    rlimit m_before {};
};
} // namespace

class TestOpenFiles : public QObject {
    Q_OBJECT

private slots:
    void raisesTheLimitToWhatIsAllowed()
    {
        const Limit limit(256);
        raiseOpenFileLimit();
        rlimit now {};
        getrlimit(RLIMIT_NOFILE, &now);
        QCOMPARE(now.rlim_cur, now.rlim_max);
    }

    void tellsWhatIsLeft()
    {
        const Limit limit(256);
        QVERIFY(canOpenFiles(100));
        QVERIFY(!canOpenFiles(300));
        // Nothing stays open.
        for (int i = 0; i < 10; ++i)
            QVERIFY(canOpenFiles(100));
    }

    void questionTakesNoFilesFromOthers()
    {
        // All the links of a hall that lost its power ask at the same moment.
        const Limit limit(256);
        std::atomic<bool> isOver { false };
        std::thread others([&] {
            while (!isOver)
                canOpenFiles(300);
        });
        int failures = 0;
        for (int i = 0; i < 20000; ++i) {
            QFile file("/dev/null"_s);
            failures += file.open(QIODevice::ReadOnly) ? 0 : 1;
        }
        isOver = true;
        others.join();
        QCOMPARE(failures, 0);
    }

    void silentUnitKeepsItsConnection()
    {
        LinkedUnit unit;
        unit.link.setPatience(100ms);
        QVERIFY(unit.monitor());
        {
            // Enough for a socket, but not for what else may need a file.
            const Limit limit(60);
            zmqfaults::reset();
            QTest::qWait(500);
            QCOMPARE(zmqfaults::count(zmqfaults::Call::NewSocket), 0);
            QVERIFY(unit.speak());
        }
        QTRY_VERIFY(zmqfaults::count(zmqfaults::Call::NewSocket) > 0);
    }

    void unitsBeyondTheLimitWait()
    {
        Publisher publisher;
        DeviceList list(nullptr);
        const QSignalSpy exhausted(&list, &DeviceList::openFilesExhausted);
        constexpr int units = 40;
        int linked = 0;
        {
            const Limit limit(200);
            for (int i = 0; i < units; ++i) {
                Device* unit = list.addDevice(loopback, i == 0 ? publisher.port() : i, 80, "http"_s);
                unit->qorInterface()->setPatience(400ms);
                unit->setMonitored(true);
                linked += unit->qorInterface()->isRunning() ? 1 : 0;
            }
            QVERIFY2(linked > 5 && linked < units, QByteArray::number(linked).constData());
            QVERIFY(exhausted.count() >= units - linked);
            // The others go on.
            QVERIFY(publisher.waitForSubscriber());
            publisher.send(statusReport());
            QTRY_COMPARE(list.at(0)->qorInterface()->state(), QorInterface::Connected);
        }
        // As soon as there are files, all are linked.
        QTRY_COMPARE(list.at(units - 1)->qorInterface()->state(), QorInterface::Pending);
    }
};

QTEST_GUILESS_MAIN(TestOpenFiles)
#include "tst_openfiles.moc"
