// SPDX-License-Identifier: MIT
// Cost of the message list in a long list: of one unit's news, and of making all rows anew; and of judging
// one report.
#include "devices/device.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QJsonDocument>
#include <QtTest>

class BenchRebuild : public WindowTest {
    Q_OBJECT

private slots:
    void oneUnitsNews_data() { addSizes(); }

    void oneUnitsNews()
    {
        fill();
        int i = 0;
        QBENCHMARK
        {
            units().at(0)->setWarnings({ warning("Meldung %1"_s.arg(++i)) });
        }
    }

    void allRowsAnew_data() { addSizes(); }

    void allRowsAnew()
    {
        fill();
        bool isMonitored = true;
        // The first unit comes or goes, and all rows behind it are made anew.
        QBENCHMARK
        {
            units().at(0)->setMonitored(isMonitored = !isMonitored);
        }
    }

    void report_data()
    {
        QTest::addColumn<int>("warnings");
        QTest::newRow("1 warning") << 1;
        QTest::newRow("40 warnings") << 40;
    }

    void report()
    {
        const QByteArray text = makeReport();
        Device* unit = addUnlinkedUnit();
        QBENCHMARK
        {
            unit->processQorMessage(text);
        }
    }

    void reportOnlyParsed_data() { report_data(); }

    void reportOnlyParsed()
    {
        const QByteArray text = makeReport();
        QBENCHMARK
        {
            QVERIFY(QJsonDocument::fromJson(text).isObject());
        }
    }

private:
    static QByteArray makeReport()
    {
        QFETCH(const int, warnings);
        QJsonArray array;
        for (int i = 0; i < warnings; ++i)
            array.append(warning("Meldung %1 von vielen"_s.arg(i)));
        return statusReport("Halle"_s, array);
    }

    static void addSizes()
    {
        QTest::addColumn<int>("rows");
        for (const int rows : { 50, 500, 5000 })
            QTest::newRow(QByteArray::number(rows).constData()) << rows;
    }

    // Units of ten rows each.
    void fill()
    {
        QFETCH(const int, rows);
        m_window->toggleUseAudio();
        m_window->show();
        for (int i = 0; i < rows / 10; ++i) {
            QJsonArray warnings;
            for (int j = 0; j < 9; ++j)
                warnings.append(warning("Meldung %1 von Gerät %2"_s.arg(j).arg(i)));
            addUnlinkedUnit()->processQorMessage(statusReport("Gerät %1"_s.arg(i), warnings));
        }
        QCOMPARE(messages()->topLevelItemCount(), rows);
        QCoreApplication::processEvents();
    }
};

QTEST_MAIN(BenchRebuild)
#include "bench_rebuild.moc"
