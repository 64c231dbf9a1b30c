// SPDX-License-Identifier: MIT
// What a unit says of newer software for it.
#include "devices/device.h"

#include "support/literals.h"
#include "support/logcapture.h"
#include "support/messageboxes.h"
#include "support/signalrecorder.h"
#include "support/units.h"

#include <QLocale>
#include <QtTest>

namespace {

const auto oldDate = "01. Dec 2024"_s;
const auto newDate = "01. Jan 2025"_s;
const auto number = "1.0"_s;
const auto newNumber = "1.1"_s;

// The display texts of a unit with a hint at this version; without a number, those of one without a hint.
QStringList textsWithHint(const QString& remoteNo = {})
{
    QStringList texts { disconnectedText };
    if (!remoteNo.isNull())
        texts.append("Neue SW Version verfügbar V"_s + remoteNo);
    return texts;
}

} // namespace

class TestDeviceVersion : public QObject {
    Q_OBJECT

private slots:
    void init() { QLocale::setDefault(QLocale::c()); }

    void onlyTheDatesDecide_data()
    {
        QTest::addColumn<QString>("localNo");
        QTest::addColumn<QString>("localDate");
        QTest::addColumn<QString>("remoteNo");
        QTest::addColumn<QString>("remoteDate");
        QTest::addColumn<bool>("newer");
        const auto row = [](const char* what, const QString& localDate, const QString& remoteDate, bool newer,
                            const QString& localNo = number, const QString& remoteNo = newNumber) {
            QTest::newRow(what) << localNo << localDate << remoteNo << remoteDate << newer;
        };
        const auto unreadable = "2025-01-01"_s;
        row("later", oldDate, newDate, true);
        row("a day later", oldDate, "02. Dec 2024"_s, true);
        row("later with the lower number", oldDate, newDate, true, "1.1"_s, "1.0"_s);
        row("later with the same number", oldDate, newDate, true, number, number);
        row("the same day", newDate, newDate, false);
        row("earlier", newDate, oldDate, false);
        row("the local date is unreadable", unreadable, newDate, true);
        row("the local date is empty", {}, newDate, true);
        row("the remote date is unreadable", oldDate, unreadable, false);
        row("the remote date is German", oldDate, "31. Dez 2024"_s, false);
        row("the remote date does not exist", oldDate, "30. Feb 2025"_s, false);
        row("the remote date is empty", oldDate, {}, false);
        row("both dates are unreadable", unreadable, unreadable, false);
        row("both dates are empty", {}, {}, false);
    }

    void onlyTheDatesDecide()
    {
        QFETCH(const QString, localNo);
        QFETCH(const QString, localDate);
        QFETCH(const QString, remoteNo);
        QFETCH(const QString, remoteDate);
        QFETCH(const bool, newer);
        RecordedUnit unit;
        const LogCapture log;
        unit.device.processQorMessage(versionInfo({}, localNo, localDate, remoteNo, remoteDate));
        QCOMPARE(displayTexts(unit.device), textsWithHint(newer ? remoteNo : QString()));
        QStringList lines;
        if (newer)
            lines.append("C updateVersionInfo2 \"%1\" \"%2\""_s.arg(localNo, remoteNo));
        QCOMPARE(log.taggedLines(), lines);
    }

    void datesAreEnglishWhateverTheLocale()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        RecordedUnit unit;
        unit.device.updateVersionInfo(number, "05. Mar 2024"_s, newNumber, "01. Oct 2024"_s);
        QCOMPARE(displayTexts(unit.device), textsWithHint(newNumber));
        unit.device.updateVersionInfo(newNumber, "01. Oct 2024"_s, newNumber, "05. Mar 2024"_s);
        QCOMPARE(displayTexts(unit.device), textsWithHint());
    }

    void newVersionIsAnnouncedInOrder()
    {
        RecordedUnit unit;
        unit.device.updateVersionInfo(number, oldDate, newNumber, newDate);
        const auto announced = "versionDataChanged list.deviceStatesChanged deviceStateChanged"_s;
        QCOMPARE(unit.recorder.take(), announced);
        QVERIFY(unit.device.alert());
        // What ends the hint is announced in the same way.
        unit.device.updateVersionInfo(newNumber, newDate, newNumber, newDate);
        QCOMPARE(unit.recorder.take(), announced);
        QCOMPARE(displayTexts(unit.device), textsWithHint());
    }

    void newVersionIsStoredBeforeItIsAnnounced()
    {
        QStringList stored;
        QStringList shown;
        RecordedUnit unit;
        const Device& device = unit.device;
        connect(&device, &Device::versionDataChanged, &unit.list, [&] {
            stored = QStringList { device.localVersionNo(), device.localVersionDate(),
                                   device.remoteVersionNo(), device.remoteVersionDate() };
        });
        connect(&device, &Device::deviceStateChanged, &unit.list, [&] { shown = displayTexts(device); });
        unit.device.updateVersionInfo(number, oldDate, newNumber, newDate);
        QCOMPARE(stored, QStringList({ number, oldDate, newNumber, newDate }));
        QCOMPARE(shown, textsWithHint(newNumber));
        unit.device.updateVersionInfo(newNumber, newDate, newNumber, newDate);
        QCOMPARE(shown, textsWithHint());
    }

    void sameReportAgainIsSilent()
    {
        RecordedUnit unit;
        const QByteArray report = newerVersionInfo("Halle 2"_s);
        unit.device.processQorMessage(report);
        const QJsonArray messages = unit.device.messages();
        unit.recorder.take();
        const LogCapture log;
        unit.device.processQorMessage(report);
        QCOMPARE(unit.recorder.take(), QString());
        QCOMPARE(unit.device.messages(), messages);
        QVERIFY(log.lines().isEmpty());
    }

    void newDatesAloneAreIgnored()
    {
        RecordedUnit unit;
        unit.device.updateVersionInfo(number, newDate, newNumber, oldDate);
        unit.recorder.take();
        unit.device.updateVersionInfo(number, oldDate, newNumber, newDate);
        QCOMPARE(unit.recorder.take(), QString());
        QCOMPARE(displayTexts(unit.device), textsWithHint());
        // The dates themselves have not been taken either.
        const MessageBoxes boxes;
        unit.device.showVersionHint();
        QCOMPARE(boxes.count(), 0);
    }

    void changedNumberIsTakenWithItsDates_data()
    {
        QTest::addColumn<QString>("localNo");
        QTest::addColumn<QString>("remoteNo");
        QTest::newRow("the unit's own number") << "0.9"_s << newNumber;
        QTest::newRow("the newest number") << number << "1.2"_s;
    }

    void changedNumberIsTakenWithItsDates()
    {
        QFETCH(const QString, localNo);
        QFETCH(const QString, remoteNo);
        RecordedUnit unit;
        unit.device.updateVersionInfo(number, newDate, newNumber, oldDate);
        QCOMPARE(displayTexts(unit.device), textsWithHint());
        unit.device.updateVersionInfo(localNo, oldDate, remoteNo, newDate);
        QCOMPARE(displayTexts(unit.device), textsWithHint(remoteNo));
    }

    void firstReportWithoutNumbersIsIgnored()
    {
        RecordedUnit unit;
        unit.device.updateVersionInfo({}, oldDate, {}, newDate);
        QCOMPARE(unit.recorder.take(), QString());
        QCOMPARE(displayTexts(unit.device), textsWithHint());
    }

    void hintBoxAsksForTheUpdate()
    {
        QWidget window;
        window.setWindowTitle("QorMonitor"_s);
        DeviceList list(&window);
        Device device(&list);
        // A name with a place marker must not swallow the number.
        device.processQorMessage(newerVersionInfo("Halle %2"_s));
        const MessageBoxes boxes;
        device.showVersionHint();
        QCOMPARE(boxes.count(), 1);
        const MessageBoxes::Box& box = boxes.seen().constFirst();
        QCOMPARE(box.text,
                 "Für ihre QORweb II Halle %2 liegt eine neue Version 2.2 vor.\nEs wird empfohlen, das "
                 "Update im Systemmenü der Web Oberfläche auszuführen."_s);
        QCOMPARE(box.title, "QorMonitor"_s);
        QCOMPARE(box.parent, &window);
        QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(box.icon, QMessageBox::Information);
    }

    void hintBoxWorksWithoutAWindow()
    {
        RecordedUnit unit;
        unit.device.updateVersionInfo(number, oldDate, newNumber, newDate);
        const MessageBoxes boxes;
        unit.device.showVersionHint();
        QCOMPARE(boxes.count(), 1);
        QVERIFY(!boxes.seen().constFirst().parent);
    }

    void noHintBoxWithoutLaterVersion_data()
    {
        QTest::addColumn<QString>("localDate");
        QTest::addColumn<QString>("remoteDate");
        QTest::newRow("the same day") << newDate << newDate;
        QTest::newRow("earlier") << newDate << oldDate;
        QTest::newRow("the remote date is unreadable") << oldDate << "morgen"_s;
        QTest::newRow("both dates are unreadable") << QString() << QString();
    }

    void noHintBoxWithoutLaterVersion()
    {
        QFETCH(const QString, localDate);
        QFETCH(const QString, remoteDate);
        RecordedUnit unit;
        unit.device.updateVersionInfo(number, localDate, newNumber, remoteDate);
        const MessageBoxes boxes;
        unit.device.showVersionHint();
        QCOMPARE(boxes.count(), 0);
    }
};

QTEST_MAIN(TestDeviceVersion)
#include "tst_deviceversion.moc"
