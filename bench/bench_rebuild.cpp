// SPDX-License-Identifier: MIT
// Cost of one rebuild of the message list with 50 units of 10 warnings.
#include "devices/device.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QtTest>

class BenchRebuild : public WindowTest {
    Q_OBJECT

private slots:
    void rebuild()
    {
        m_window->toggleUseAudio();
        m_window->show();
        for (int i = 0; i < 50; ++i) {
            QJsonArray warnings;
            for (int j = 0; j < 10; ++j)
                warnings.append(warning("Meldung %1 von Gerät %2"_s.arg(j).arg(i)));
            addUnlinkedUnit()->processQorMessage(statusReport("Gerät %1"_s.arg(i), warnings));
        }
        QCOMPARE(messages()->topLevelItemCount(), 550);
        QCoreApplication::processEvents();
        QBENCHMARK
        {
            m_window->rebuildMessageList();
        }
    }
};

QTEST_MAIN(BenchRebuild)
#include "bench_rebuild.moc"
