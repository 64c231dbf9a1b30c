// SPDX-License-Identifier: MIT
// What a unit says of newer software for it.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "support/signalrecorder.h"
#include "support/units.h"
#include "support/literals.h"
#include "support/logcapture.h"

#include <QApplication>
#include <QLocale>
#include <QMessageBox>
#include <QTimer>
#include <QtTest>

namespace {
const auto deviceStateChanged = "deviceStateChanged"_s;
const auto deviceStatesChanged = "list.deviceStatesChanged"_s;
const auto versionDataChanged = "versionDataChanged"_s;
const auto oldDate = "01. Dec 2024"_s;
const auto newDate = "01. Jan 2025"_s;
const auto number = "1.0"_s;
const auto newNumber = "1.1"_s;
const auto hint = "Neue SW Version verfügbar V1.1"_s;

// Answers every message box that comes up while it lives, and counts them.
class BoxAnswerer : public QTimer {
public:
    BoxAnswerer()
    {
        connect(this, &QTimer::timeout, this, [this] { answer(); });
        start(5);
    }
    int count() const { return m_count; }
    QString text() const { return m_text; }
    QString title() const { return m_title; }
    QWidget* parentWidget() const { return m_parentWidget; }
    QMessageBox::StandardButtons buttons() const { return m_buttons; }
    QMessageBox::Icon icon() const { return m_icon; }

private:
    void answer()
    {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        ++m_count;
        m_text = box->text();
        m_title = box->windowTitle();
        m_parentWidget = box->parentWidget();
        m_buttons = box->standardButtons();
        m_icon = box->icon();
        box->accept();
    }

    int m_count = 0;
    QString m_text;
    QString m_title;
    QWidget* m_parentWidget = nullptr;
    QMessageBox::StandardButtons m_buttons;
    QMessageBox::Icon m_icon = QMessageBox::NoIcon;
};
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
        const auto row = [](const char* what, const QString& localNo, const QString& localDate,
                            const QString& remoteNo, const QString& remoteDate, bool newer) {
            QTest::newRow(what) << localNo << localDate << remoteNo << remoteDate << newer;
        };
        const auto unreadable = "2025-01-01"_s;
        row("later", number, oldDate, newNumber, newDate, true);
        row("a day later", number, oldDate, newNumber, "02. Dec 2024"_s, true);
        row("later with the lower number", newNumber, oldDate, newNumber.chopped(1) + QLatin1Char('0'),
            newDate, true);
        row("later with the same number", number, oldDate, number, newDate, true);
        row("the same day", number, newDate, newNumber, newDate, false);
        row("earlier", number, newDate, newNumber, oldDate, false);
        row("the local date is unreadable", number, unreadable, newNumber, newDate, true);
        row("the local date is empty", number, {}, newNumber, newDate, true);
        row("the remote date is unreadable", number, oldDate, newNumber, unreadable, false);
        row("the remote date is German", number, oldDate, newNumber, "31. Dez 2024"_s, false);
        row("the remote date does not exist", number, oldDate, newNumber, "30. Feb 2025"_s, false);
        row("the remote date is empty", number, oldDate, newNumber, {}, false);
        row("both dates are unreadable", number, unreadable, newNumber, unreadable, false);
        row("both dates are empty", number, {}, newNumber, {}, false);
    }

    void onlyTheDatesDecide()
    {
        QFETCH(QString, localNo);
        QFETCH(QString, localDate);
        QFETCH(QString, remoteNo);
        QFETCH(QString, remoteDate);
        QFETCH(bool, newer);
        DeviceList list(nullptr);
        Device device(&list);
        const LogCapture log;
        device.processQorMessage(versionInfo({}, localNo, localDate, remoteNo, remoteDate));
        QStringList expected { disconnectedText };
        if (newer)
            expected.append("Neue SW Version verfügbar V"_s + remoteNo);
        QCOMPARE(displayTexts(device), expected);
        QCOMPARE(log.lines().size(), newer ? 1 : 0);
        QCOMPARE(log.count(QtCriticalMsg, "updateVersionInfo2 \"%1\" \"%2\""_s.arg(localNo, remoteNo)),
                 newer ? 1 : 0);
    }

    void datesAreEnglishWhateverTheLocale()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        DeviceList list(nullptr);
        Device device(&list);
        device.updateVersionInfo(number, "05. Mar 2024"_s, newNumber, "01. Oct 2024"_s);
        QCOMPARE(displayTexts(device), QStringList({ disconnectedText, hint }));
        device.updateVersionInfo(newNumber, "01. Oct 2024"_s, newNumber, "05. Mar 2024"_s);
        QCOMPARE(displayTexts(device), QStringList { disconnectedText });
    }

    void newVersionIsAnnouncedInOrder()
    {
        DeviceList list(nullptr);
        Device device(&list);
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        device.updateVersionInfo(number, oldDate, newNumber, newDate);
        const QStringList announced { versionDataChanged, deviceStatesChanged, deviceStateChanged };
        QCOMPARE(recorder.take(), announced);
        QVERIFY(device.alert());
        // What ends the hint is announced in the same way.
        device.updateVersionInfo(newNumber, newDate, newNumber, newDate);
        QCOMPARE(recorder.take(), announced);
        QCOMPARE(displayTexts(device), QStringList { disconnectedText });
    }

    void sameReportAgainIsSilent()
    {
        DeviceList list(nullptr);
        Device device(&list);
        const QByteArray report = versionInfo("Halle 2"_s, number, oldDate, newNumber, newDate);
        device.processQorMessage(report);
        const QJsonArray messages = device.messages();
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        const LogCapture log;
        device.processQorMessage(report);
        QCOMPARE(recorder.take(), QStringList());
        QCOMPARE(device.messages(), messages);
        QVERIFY(log.lines().isEmpty());
    }

    void newDatesAloneAreIgnored()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.updateVersionInfo(number, newDate, newNumber, oldDate);
        SignalRecorder recorder;
        recorder.watch(list);
        recorder.watch(device);
        device.updateVersionInfo(number, oldDate, newNumber, newDate);
        QCOMPARE(recorder.take(), QStringList());
        QCOMPARE(displayTexts(device), QStringList { disconnectedText });
        // The dates themselves have not been taken either.
        const BoxAnswerer answerer;
        device.showVersionHint();
        QCOMPARE(answerer.count(), 0);
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
        QFETCH(QString, localNo);
        QFETCH(QString, remoteNo);
        DeviceList list(nullptr);
        Device device(&list);
        device.updateVersionInfo(number, newDate, newNumber, oldDate);
        QCOMPARE(displayTexts(device), QStringList { disconnectedText });
        device.updateVersionInfo(localNo, oldDate, remoteNo, newDate);
        QCOMPARE(displayTexts(device),
                 QStringList({ disconnectedText, "Neue SW Version verfügbar V"_s + remoteNo }));
    }

    void firstReportWithoutNumbersIsIgnored()
    {
        DeviceList list(nullptr);
        Device device(&list);
        SignalRecorder recorder;
        recorder.watch(device);
        device.updateVersionInfo({}, oldDate, {}, newDate);
        QCOMPARE(recorder.take(), QStringList());
        QCOMPARE(displayTexts(device), QStringList { disconnectedText });
    }

    void hintBoxAsksForTheUpdate()
    {
        QWidget window;
        window.setWindowTitle("QorMonitor"_s);
        DeviceList list(&window);
        Device device(&list);
        // A name with a place marker must not swallow the number.
        device.processQorMessage(versionInfo("Halle %2"_s, number, oldDate, newNumber, newDate));
        const BoxAnswerer answerer;
        device.showVersionHint();
        QCOMPARE(answerer.count(), 1);
        QCOMPARE(answerer.text(),
                 QStringLiteral(
                     "Für ihre QORweb II Halle %2 liegt eine neue Version 1.1 vor.\nEs wird empfohlen, das "
                     "Update im Systemmenü der Web Oberfläche auszuführen."));
        QCOMPARE(answerer.title(), "QorMonitor"_s);
        QCOMPARE(answerer.parentWidget(), &window);
        QCOMPARE(answerer.buttons(), QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(answerer.icon(), QMessageBox::Information);
    }

    void hintBoxWorksWithoutAWindow()
    {
        DeviceList list(nullptr);
        Device device(&list);
        device.updateVersionInfo(number, oldDate, newNumber, newDate);
        const BoxAnswerer answerer;
        device.showVersionHint();
        QCOMPARE(answerer.count(), 1);
        QVERIFY(!answerer.parentWidget());
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
        QFETCH(QString, localDate);
        QFETCH(QString, remoteDate);
        DeviceList list(nullptr);
        Device device(&list);
        device.updateVersionInfo(number, localDate, newNumber, remoteDate);
        const BoxAnswerer answerer;
        device.showVersionHint();
        QCOMPARE(answerer.count(), 0);
    }
};

QTEST_MAIN(TestDeviceVersion)
#include "tst_deviceversion.moc"
