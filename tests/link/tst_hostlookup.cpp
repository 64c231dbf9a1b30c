// SPDX-License-Identifier: MIT
#include "link/hostlookup.h"
#include "support/literals.h"

#include <QHostAddress>
#include <QtTest>

#include <algorithm>

class TestHostLookup : public QObject {
    Q_OBJECT

private slots:
    void prefersIpv4_data()
    {
        QTest::addColumn<QStringList>("addresses");
        QTest::addColumn<QString>("preferred");
        const auto ipv4 = "192.168.1.20"_s;
        const auto otherIpv4 = "10.0.0.7"_s;
        const auto ipv6 = "2001:db8::20"_s;
        const auto otherIpv6 = "fe80::1"_s;
        QTest::newRow("no address") << QStringList() << QString();
        QTest::newRow("one IPv4") << QStringList { ipv4 } << ipv4;
        QTest::newRow("first of two IPv4") << QStringList { ipv4, otherIpv4 } << ipv4;
        QTest::newRow("IPv4 behind IPv6") << QStringList { ipv6, otherIpv6, otherIpv4, ipv4 } << otherIpv4;
        QTest::newRow("IPv4 before IPv6") << QStringList { ipv4, ipv6 } << ipv4;
        QTest::newRow("IPv6 only") << QStringList { otherIpv6, ipv6 } << otherIpv6;
    }

    void prefersIpv4()
    {
        QFETCH(const QStringList, addresses);
        QList<QHostAddress> list;
        std::transform(addresses.cbegin(), addresses.cend(), std::back_inserter(list),
                       [](const QString& address) { return QHostAddress(address); });
        QTEST(preferredAddress(list), "preferred");
    }

    void looksUp_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("address");
        QTest::newRow("nothing") << QString() << QString();
        QTest::newRow("IPv4 literal") << "127.0.0.1"_s
                                      << "127.0.0.1"_s;
        // Documentation addresses: a lookup of their names would leave this computer and give nothing.
        QTest::newRow("foreign IPv4 literal") << "192.0.2.20"_s
                                              << "192.0.2.20"_s;
        QTest::newRow("IPv6 literal") << "2001:DB8:0::20"_s
                                      << "2001:db8::20"_s;
        QTest::newRow("name with an IPv4") << "localhost"_s
                                           << "127.0.0.1"_s;
        // No resolver is asked for a name with an empty label.
        QTest::newRow("impossible name") << "no..host"_s << QString();
    }

    void looksUp()
    {
        QFETCH(const QString, host);
        QFETCH(const QString, address);
        QCOMPARE(lookUpAddress(host), address);
        // A name may have others, too.
        QCOMPARE(beginLookUp(host).get().addresses.contains(address), !address.isEmpty());
    }

    void endsManyShortLookups()
    {
        // Impossible names, so that each thread ends as soon as it has begun.
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(lookUpAddress("no..host%1"_s.arg(i)), QString());
    }
};

QTEST_GUILESS_MAIN(TestHostLookup)
#include "tst_hostlookup.moc"
