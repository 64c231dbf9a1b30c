// SPDX-License-Identifier: MIT
// What docs/unit-protocol.md says of its examples is what the program makes of them. test_unitschema.py asks
// the schema the same.
#include "support/literals.h"
#include "support/units.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QtTest>

namespace {
const auto nameBefore = "before the example"_s;
// The unit skips it, so it changes nothing.
const QByteArray blankMarker = " \t ";
} // namespace

class TestUnitExamples : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_unit.monitor()); }

    void programAgrees_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("isTaken");
        for (const auto& folder : { "accepted"_s, "tolerated"_s, "refused"_s }) {
            const QDir directory(QStringLiteral(UNIT_EXAMPLES) + QLatin1Char('/') + folder);
            const QStringList names = directory.entryList(QDir::Files);
            QVERIFY2(!names.isEmpty(), qPrintable(directory.path()));
            for (const QString& name : names) {
                QFile file(directory.filePath(name));
                QVERIFY(file.open(QIODevice::ReadOnly));
                QTest::newRow(qPrintable(folder + QLatin1Char('/') + name))
                    << file.readAll() << (folder != "refused"_s);
            }
        }
    }

    void programAgrees()
    {
        QFETCH(const QByteArray, text);
        publish(statusReport(nameBefore));
        QCOMPARE(m_unit.device->qorName(), nameBefore);
        publish(text);
        const bool isCompatible = !displayTexts(*m_unit.device).contains(incompatibleText);
        // A text that was skipped or dropped has left the name.
        QTEST(isCompatible && m_unit.device->qorName() != nameBefore, "isTaken");
    }

    void acceptedTextsAreShown_data()
    {
        QTest::addColumn<QStringList>("shown");
        QTest::newRow("status-report") << QStringList { "Lüfter 3 steht"_s };
        QTest::newRow("no-warnings") << QStringList();
        QTest::newRow("warnings-absent") << QStringList();
        QTest::newRow("more-keys") << QStringList { "Tür offen"_s, "Netzteil B ausgefallen"_s };
        QTest::newRow("escaped") << QStringList { "\"Pumpe\" \\ Ventil"_s };
        QTest::newRow("version-info") << QStringList { "Neue SW Version verfügbar V1.210"_s };
    }

    void acceptedTextsAreShown()
    {
        QFile file(
            QStringLiteral(UNIT_EXAMPLES "/accepted/%1.json").arg(QLatin1String(QTest::currentDataTag())));
        QVERIFY(file.open(QIODevice::ReadOnly));
        Device idle(m_unit.list.get());
        idle.processQorMessage(file.readAll());
        QStringList shown = displayTexts(idle);
        QCOMPARE(shown.takeFirst(), disconnectedText);
        QTEST(shown, "shown");
    }

private:
    // Waits until the program is done with the text.
    void publish(const QByteArray& text)
    {
        const QSignalSpy received(&m_unit.link, &QorInterface::receiveQorMessage);
        m_unit.publisher.send(text);
        m_unit.publisher.send(blankMarker);
        QTRY_VERIFY(!received.isEmpty() && received.last().first().toByteArray() == blankMarker);
    }

    LinkedUnit m_unit;
};

QTEST_GUILESS_MAIN(TestUnitExamples)
#include "tst_unitexamples.moc"
