// SPDX-License-Identifier: MIT
#include "base/version.h"

#include "support/literals.h"

#include <QtTest>

class TestVersion : public QObject {
    Q_OBJECT

private slots:
    void isTheOneToBeShipped()
    {
        QCOMPARE(programVersion(), "1.045"_s);
        QCOMPARE(buildDate(), "02. Mar 2025"_s);
        QVERIFY(updateBaseUrl().endsWith("/QorMonitorUpdate/"_s));
    }
};

QTEST_GUILESS_MAIN(TestVersion)
#include "tst_version.moc"
