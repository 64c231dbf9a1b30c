// SPDX-License-Identifier: MIT
// How often names are looked up, and how long callers wait for it.
#include "link/hostlookup.h"

#include "devices/devicelist.h"
#include "support/fakenames.h"
#include "support/literals.h"
#include "support/teststore.h"
#include "support/units.h"

#include <QStringList>
#include <QtTest>

namespace {
const QStringList names { "hall1.example"_s, "hall2.example"_s, "hall3.example"_s, "hall4.example"_s,
                          "hall5.example"_s };
constexpr int delayMs = 400;

qint64 timeOf(const std::function<void()>& action)
{
    QElapsedTimer elapsed;
    elapsed.start();
    action();
    return elapsed.elapsed();
}
} // namespace

class TestHostLookups : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        QTRY_VERIFY(!isLookUpUnderWay());
        lookUpAfresh({});
        fakenames::reset();
        m_store.clear();
    }

    void answerServesForSeconds_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("address") << loopback;
        QTest::newRow("none") << QString();
    }

    void answerServesForSeconds()
    {
        QFETCH(const QString, address);
        fakenames::set(names.first(), address);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(lookUpAddress(names.first()), address);
        QCOMPARE(fakenames::count(names.first()), 1);
        fakenames::set(names.first(), "127.0.0.9"_s);
        QTRY_COMPARE_WITH_TIMEOUT(lookUpAddress(names.first()), "127.0.0.9"_s, 8000);
        QCOMPARE(fakenames::count(names.first()), 2);
    }

    void oneLookupServesAllWhoWait()
    {
        fakenames::setDelay(delayMs);
        beginLookUp(names.first());
        QVERIFY(isLookUpUnderWay());
        // The one under way is fresh enough.
        lookUpAfresh({ names.first() });
        QVERIFY(isLookUpUnderWay());
        const auto second = beginLookUp(names.first());
        second.wait();
        QVERIFY(!isLookUpUnderWay());
        QCOMPARE(fakenames::count(names.first()), 1);
    }

    void afreshMeansAgainAndSideBySide()
    {
        fakenames::set(names.first(), loopback);
        QCOMPARE(lookUpAddress(names.first()), loopback);
        fakenames::set(names.first(), "127.0.0.9"_s);
        fakenames::setDelay(delayMs);
        const qint64 begin = timeOf([] { lookUpAfresh(names); });
        const qint64 wait = timeOf([] {
            for (const QString& name : names)
                lookUpAddress(name);
        });
        QCOMPARE(lookUpAddress(names.first()), "127.0.0.9"_s);
        QVERIFY2(begin < delayMs / 2, QByteArray::number(begin).constData());
        QVERIFY2(wait < qint64 { 3 } * delayMs, QByteArray::number(wait).constData());
    }

    void answerDoesNotGrowOldWhileAnotherIsWaitedFor()
    {
        // Two names, of which the second is slower than an answer lives.
        lookUpAddress(names.first());
        fakenames::setDelay(6000);
        lookUpAddress(names.last());
        lookUpAddress(names.first());
        QCOMPARE(fakenames::count(names.first()), 1);
    }

    void startCostsOneTimeOut()
    {
        for (int i = 0; i < names.size(); ++i)
            m_store.writeUnit(i, { { "Host"_s, names.at(i) }, { "ZmqPort"_s, 1 }, { "Monitored"_s, true } });
        fakenames::setDelay(delayMs);
        DeviceList list(nullptr);
        const qint64 start = timeOf([&] { list.load(); });
        QCOMPARE(list.count(), names.size());
        QVERIFY2(start < qint64 { 3 } * delayMs, QByteArray::number(start).constData());
        for (const QString& name : names)
            QCOMPARE(fakenames::count(name), 1);
    }

private:
    TestStore m_store;
};

QTEST_GUILESS_MAIN(TestHostLookups)
#include "tst_hostlookups.moc"
