// SPDX-License-Identifier: MIT
// Which of a unit's texts can be translated, and in which language the hint box reads dates. The system's
// language is German here, the program's own default English.
#include "devices/device.h"

#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/markingtranslator.h"
#include "support/messageboxes.h"
#include "support/units.h"

#include <QApplication>
#include <QLocale>
#include <QtTest>

class TestDeviceLanguage : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(QLocale::system().language(), QLocale::German);
    }

    void onlyStatusTextsCanBeTranslated()
    {
        const MarkingTranslator deviceMarker("Device");
        const MarkingTranslator linkMarker("QorInterface");
        LinkedUnit unit;
        Device& device = *unit.device;
        QCOMPARE(device.stateText(), "#Nicht überwacht"_s);
        QCOMPARE(displayTexts(device), QStringList(disconnectedText));
        device.setHost(QString());
        device.setMonitored(true);
        QCOMPARE(device.stateText(), "#Getrennt"_s);
        device.setHost(loopback);
        QTRY_COMPARE(displayTexts(device), QStringList(pendingText));
        QCOMPARE(device.stateText(), "#Warte auf Verbindung ..."_s);
        QVERIFY(unit.publisher.waitForSubscriber());
        QVERIFY(unit.speak());
        QCOMPARE(device.stateText(), "#Verbunden"_s);
        QCOMPARE(displayTexts(device), QStringList(connectedText));
        device.setIncompatible(true);
        device.processQorMessage(newerVersionInfo({}));
        QCOMPARE(displayTexts(device),
                 QStringList({ connectedText, incompatibleText, "Neue SW Version verfügbar V2.2"_s }));
        QCOMPARE(deviceMarker.sources(), QStringList("Nicht überwacht"_s));
        QCOMPARE(linkMarker.sources(),
                 QStringList({ "Getrennt"_s, "Warte auf Verbindung ..."_s, "Verbunden"_s }));
    }

    void hintBoxReadsDatesInTheSystemsLanguageAndCanBeTranslated_data()
    {
        QTest::addColumn<QString>("remoteDate");
        QTest::addColumn<QString>("text");
        QTest::newRow("the system's language") << "01. Juni 2025"_s
                                               << "#Für ihre QORweb II Halle 2 liegt eine neue Version 1.1 "
                                                  "vor.\nEs wird empfohlen, das Update im "
                                                  "Systemmenü der Web Oberfläche auszuführen."_s;
        QTest::newRow("the unit's language") << "01. Jun 2025"_s << QString();
    }

    void hintBoxReadsDatesInTheSystemsLanguageAndCanBeTranslated()
    {
        QFETCH(const QString, remoteDate);
        const MarkingTranslator marker("Device");
        DeviceList list(nullptr);
        Device device(&list);
        device.setQorName("Halle 2"_s);
        device.updateVersionInfo("1.0"_s, "01. Mai 2025"_s, "1.1"_s, remoteDate);
        const MessageBoxes boxes;
        device.showVersionHint();
        QTEST(boxes.lastText(), "text");
    }
};

int main(int argc, char** argv)
{
    // Read by Qt once, at its first question.
    qputenv("LC_ALL", "de_DE.UTF-8");
    const QApplication application(argc, argv);
    TestDeviceLanguage test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_devicelanguage.moc"
