// SPDX-License-Identifier: MIT
// Which of a unit's texts can be translated, and in which language the hint box reads dates. The system's
// language is German here, the program's own default English.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "support/units.h"
#include "link/qorinterface.h"
#include "support/literals.h"
#include "support/publisher.h"

#include <QApplication>
#include <QLocale>
#include <QMessageBox>
#include <QTimer>
#include <QTranslator>
#include <QtTest>

namespace {

const auto name = "Halle 2"_s;
const auto number = "1.0"_s;
const auto newNumber = "1.1"_s;

// Answers everything that it is asked, with the context and the text.
class MarkingTranslator : public QTranslator {
public:
    MarkingTranslator() { QCoreApplication::installTranslator(this); }
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* sourceText, const char*, int) const override
    {
        return QLatin1String(context) + QLatin1Char('|') + QString::fromUtf8(sourceText);
    }
};

// The text of the hint box; null when none comes up.
QString hintOf(Device& device)
{
    QString text;
    QTimer answerer;
    QObject::connect(&answerer, &QTimer::timeout, &answerer, [&text] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            text = box->text();
            box->accept();
        }
    });
    answerer.start(5);
    device.showVersionHint();
    return text;
}

} // namespace

class TestDeviceLanguage : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(QLocale::system().language(), QLocale::German);
    }

    void statusTextsCanBeTranslated()
    {
        const MarkingTranslator translator;
        const Publisher publisher;
        DeviceList list(nullptr);
        Device device(&list);
        QCOMPARE(device.stateText(), "Device|Nicht überwacht"_s);
        device.setMonitored(true);
        QCOMPARE(device.stateText(), "QorInterface|Getrennt"_s);
        device.setZmqPort(publisher.port());
        device.setHost("127.0.0.1"_s);
        QTRY_COMPARE(device.stateText(), "QorInterface|Warte auf Verbindung ..."_s);
        emit device.qorInterface()->receiveQorMessage(statusReport(name));
        QCOMPARE(device.stateText(), "QorInterface|Verbunden"_s);
    }

    void hintBoxCanBeTranslated()
    {
        const MarkingTranslator translator;
        DeviceList list(nullptr);
        Device device(&list);
        device.setQorName(name);
        device.updateVersionInfo(number, "01. Mai 2025"_s, newNumber, "01. Juni 2025"_s);
        QCOMPARE(hintOf(device),
                 QStringLiteral("Device|Für ihre QORweb II Halle 2 liegt eine neue Version 1.1 vor.\nEs wird "
                                "empfohlen, das Update im Systemmenü der Web Oberfläche auszuführen."));
    }

    void monitorMessagesAreFixed()
    {
        const MarkingTranslator translator;
        const Publisher publisher;
        DeviceList list(nullptr);
        Device device(&list);
        QVERIFY(device.stateText().startsWith(QLatin1String("Device|")));
        QCOMPARE(displayTexts(device), QStringList(disconnectedText));
        device.setZmqPort(publisher.port());
        device.setHost("127.0.0.1"_s);
        device.setMonitored(true);
        QTRY_COMPARE(displayTexts(device), QStringList(pendingText));
        emit device.qorInterface()->receiveQorMessage(statusReport(name));
        QCOMPARE(displayTexts(device), QStringList(connectedText));
        device.setIncompatible(true);
        device.updateVersionInfo(number, "01. Dec 2024"_s, newNumber, "01. Jan 2025"_s);
        QCOMPARE(displayTexts(device),
                 QStringList({ connectedText, incompatibleText, "Neue SW Version verfügbar V1.1"_s }));
    }

    void hintBoxReadsDatesInTheSystemsLanguage_data()
    {
        QTest::addColumn<QString>("remoteDate");
        QTest::addColumn<bool>("shown");
        QTest::newRow("the system's") << "01. Juni 2025"_s << true;
        QTest::newRow("the unit's") << "01. Jun 2025"_s << false;
    }

    void hintBoxReadsDatesInTheSystemsLanguage()
    {
        QFETCH(const QString, remoteDate);
        QFETCH(const bool, shown);
        DeviceList list(nullptr);
        Device device(&list);
        device.updateVersionInfo(number, "01. Mai 2025"_s, newNumber, remoteDate);
        QCOMPARE(!hintOf(device).isNull(), shown);
    }
};

int main(int argc, char** argv)
{
    // Read by the toolkit once, at its first question.
    qputenv("LC_ALL", "de_DE.UTF-8");
    const QApplication application(argc, argv);
    TestDeviceLanguage test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_devicelanguage.moc"
