// SPDX-License-Identifier: MIT
// Which of a unit's texts can be translated, and in which language the hint box reads dates. The system's
// language is German here, the program's own default English.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "devices/unittexts.h"
#include "link/qorinterface.h"
#include "support/publisher.h"

#include <QApplication>
#include <QLocale>
#include <QMessageBox>
#include <QTimer>
#include <QTranslator>
#include <QtTest>

namespace {

const auto name = QStringLiteral("Halle 2");
const auto number = QStringLiteral("1.0");
const auto newNumber = QStringLiteral("1.1");

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
    void initTestCase();
    void statusTextsCanBeTranslated();
    void hintBoxCanBeTranslated();
    void monitorMessagesAreFixed();
    void hintBoxReadsDatesInTheSystemsLanguage_data();
    void hintBoxReadsDatesInTheSystemsLanguage();
};

void TestDeviceLanguage::initTestCase()
{
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    QCOMPARE(QLocale::system().language(), QLocale::German);
}

void TestDeviceLanguage::statusTextsCanBeTranslated()
{
    const MarkingTranslator translator;
    const Publisher publisher;
    DeviceList list(nullptr);
    Device device(&list);
    QCOMPARE(device.stateText(), QStringLiteral("Device|Nicht überwacht"));
    device.setMonitored(true);
    QCOMPARE(device.stateText(), QStringLiteral("QorInterface|Getrennt"));
    device.setZmqPort(publisher.port());
    device.setHost(QStringLiteral("127.0.0.1"));
    QTRY_COMPARE(device.stateText(), QStringLiteral("QorInterface|Warte auf Verbindung ..."));
    emit device.qorInterface()->receiveQorMessage(statusReport(name));
    QCOMPARE(device.stateText(), QStringLiteral("QorInterface|Verbunden"));
}

void TestDeviceLanguage::hintBoxCanBeTranslated()
{
    const MarkingTranslator translator;
    DeviceList list(nullptr);
    Device device(&list);
    device.setQorName(name);
    device.updateVersionInfo(number, QStringLiteral("01. Mai 2025"), newNumber,
                             QStringLiteral("01. Juni 2025"));
    QCOMPARE(hintOf(device),
             QStringLiteral("Device|Für ihre QORweb II Halle 2 liegt eine neue Version 1.1 vor.\nEs wird "
                            "empfohlen, das Update im Systemmenü der Web Oberfläche auszuführen."));
}

void TestDeviceLanguage::monitorMessagesAreFixed()
{
    const MarkingTranslator translator;
    const Publisher publisher;
    DeviceList list(nullptr);
    Device device(&list);
    QVERIFY(device.stateText().startsWith(QLatin1String("Device|")));
    QCOMPARE(displayTexts(device), QStringList(disconnectedText()));
    device.setZmqPort(publisher.port());
    device.setHost(QStringLiteral("127.0.0.1"));
    device.setMonitored(true);
    QTRY_COMPARE(displayTexts(device), QStringList(pendingText()));
    emit device.qorInterface()->receiveQorMessage(statusReport(name));
    QCOMPARE(displayTexts(device), QStringList(connectedText()));
    device.setIncompatible(true);
    device.updateVersionInfo(number, QStringLiteral("01. Dec 2024"), newNumber,
                             QStringLiteral("01. Jan 2025"));
    QCOMPARE(displayTexts(device),
             QStringList(
                 { connectedText(), incompatibleText(), QStringLiteral("Neue SW Version verfügbar V1.1") }));
}

void TestDeviceLanguage::hintBoxReadsDatesInTheSystemsLanguage_data()
{
    QTest::addColumn<QString>("remoteDate");
    QTest::addColumn<bool>("shown");
    QTest::newRow("the system's") << QStringLiteral("01. Juni 2025") << true;
    QTest::newRow("the unit's") << QStringLiteral("01. Jun 2025") << false;
}

void TestDeviceLanguage::hintBoxReadsDatesInTheSystemsLanguage()
{
    QFETCH(const QString, remoteDate);
    QFETCH(const bool, shown);
    DeviceList list(nullptr);
    Device device(&list);
    device.updateVersionInfo(number, QStringLiteral("01. Mai 2025"), newNumber, remoteDate);
    QCOMPARE(!hintOf(device).isNull(), shown);
}

int main(int argc, char** argv)
{
    // Read by the toolkit once, at its first question.
    qputenv("LC_ALL", "de_DE.UTF-8");
    const QApplication application(argc, argv);
    TestDeviceLanguage test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_devicelanguage.moc"
