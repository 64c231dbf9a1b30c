// SPDX-License-Identifier: MIT
#include "dialogs/dlgdownloadmonitor.h"
#include "dialogs/filedownloader.h"
#include "support/certificates.h"
#include "support/literals.h"
#include "support/updatefixture.h"

#include <QLineEdit>
#include <QProgressBar>
#include <QtTest>

// The installer's transfer: how it is shown, how it is cancelled, how it fails.
namespace {
const auto failed = "Fehler beim Download der Update Datei\nsetup.exe!"_s;

const HttpAnswer held { QByteArray(1000, 'x'), "200 OK", {}, HttpAnswer::BodyLength, 400 };

// Publishes a newer version and goes as far as the held transfer of its installer.
void startInstaller(UpdateFixture* fixture, bool interactive = true)
{
    fixture->publish("1.05");
    fixture->boxes.answer(QMessageBox::Yes);
    fixture->dialog->checkForUpdates(interactive);
    QTRY_COMPARE(fixture->server.requestCount("setup.exe"), 1);
    QTRY_VERIFY(fixture->monitor()->isVisible());
}

void verifyFailureBox(const UpdateFixture& fixture)
{
    const MessageBoxes::Box box = fixture.boxes.seen().constLast();
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.title, "QorMonitor"_s);
    QCOMPARE(box.text, failed);
    QCOMPARE(box.buttons, QMessageBox::Ok);
    QCOMPARE(box.defaultButton, QMessageBox::Ok);
    QCOMPARE(box.parent, fixture.dialog->parentWidget());
}
} // namespace

class TestUpdateDownload : public QObject {
    Q_OBJECT

private slots:
    void yesLoadsTheInstaller()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.exe", held);
        startInstaller(&fixture);
        const auto* file = fixture.monitor()->findChild<QLineEdit*>("lineEditFile"_s);
        const auto* folder = fixture.monitor()->findChild<QLineEdit*>("lineEditSaveTo"_s);
        auto* bar = fixture.monitor()->findChild<QProgressBar*>();
        QCOMPARE(file->text(), "setup.exe"_s);
        QCOMPARE(folder->text(), fixture.folder.path());
        // Progress is reported every 100 ms at most, and only when something arrives.
        QTRY_VERIFY((fixture.server.releaseSome(1), bar->value() > 400));
        QCOMPARE(bar->maximum(), 1000);
        QCOMPARE(fixture.server.requests().size(), 2);
        QCOMPARE(fixture.boxes.count(), 1);
        QVERIFY(fixture.folder.entries().isEmpty());
    }

    void buttonIsEnabledWhileTheInstallerLoads()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.exe", held);
        startInstaller(&fixture);
        QTRY_VERIFY(fixture.button("pushButtonCheckNow")->isEnabled());
    }

    void secondCheckDuringTheTransferChangesNothing()
    {
        QWidget parent;
        UpdateFixture fixture(&parent);
        fixture.server.setAnswer("setup.exe", held);
        startInstaller(&fixture);
        QTRY_VERIFY(!fixture.isBusy());
        const QNetworkReply* reply = parent.findChild<FileDownloader*>()->currentReply();
        QVERIFY(reply);
        fixture.button("pushButtonCheckNow")->click();
        fixture.dialog->checkForUpdates(false);
        QCOMPARE(parent.findChild<FileDownloader*>()->currentReply(), reply);
        QVERIFY(fixture.monitor()->isVisible());
        fixture.server.cut();
        QTRY_COMPARE(fixture.boxes.count(), 2);
        QCOMPARE(fixture.boxes.lastText(), failed);
        // The toolkit may ask for the installer again when its connection is lost.
        QCOMPARE(fixture.server.requestCount("QorMonitorUpdate.info"), 1);
    }

    void withoutContentLengthTheBarStaysUndetermined()
    {
        UpdateFixture fixture;
        HttpAnswer answer = held;
        answer.length = HttpAnswer::NoLength;
        fixture.server.setAnswer("setup.exe", answer);
        startInstaller(&fixture);
        const auto* bar = fixture.monitor()->findChild<QProgressBar*>();
        QSignalSpy changes(bar, &QProgressBar::valueChanged);
        changes.wait(200);
        QCOMPARE(bar->minimum(), 0);
        QCOMPARE(bar->maximum(), 0);
    }

    void failures_data()
    {
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<bool>("interactive");
        QTest::addColumn<bool>("withParent");
        QTest::newRow("not found") << QByteArray("404 Not Found") << true << false;
        QTest::newRow("not found, automatic mode") << QByteArray("404 Not Found") << false << false;
        QTest::newRow("server error, with a parent") << QByteArray("503 Busy") << true << true;
    }

    void failures()
    {
        QFETCH(const QByteArray, status);
        QFETCH(const bool, interactive);
        QFETCH(const bool, withParent);
        QWidget parent;
        UpdateFixture fixture(withParent ? &parent : nullptr);
        fixture.publish("1.05");
        fixture.server.setAnswer("setup.exe", { "a page", status });
        fixture.boxes.answer(QMessageBox::Yes);
        bool monitorHidden = false;
        fixture.boxes.answer([&](QMessageBox* box) {
            monitorHidden = fixture.monitor()->isHidden();
            MessageBoxes::click(box, QMessageBox::Ok);
        });
        fixture.dialog->checkForUpdates(interactive);
        QTRY_COMPARE(fixture.boxes.count(), 2);
        verifyFailureBox(fixture);
        QVERIFY(monitorHidden);
        QVERIFY(fixture.folder.entries().isEmpty());
    }

    void cutTransferIsReported()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.exe", held);
        startInstaller(&fixture);
        fixture.server.cut();
        QTRY_COMPARE(fixture.boxes.count(), 2);
        verifyFailureBox(fixture);
        QVERIFY(fixture.monitor()->isHidden());
        QVERIFY(fixture.folder.entries().isEmpty());
    }

    void cancelInTheMonitorIsReported()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.exe", held);
        startInstaller(&fixture);
        auto* cancel = fixture.monitor()->findChild<QPushButton*>();
        QTest::mouseClick(cancel, Qt::LeftButton);
        QCOMPARE(fixture.boxes.count(), 2);
        verifyFailureBox(fixture);
        QVERIFY(fixture.monitor()->isHidden());
        QVERIFY(!fixture.isBusy());
        QVERIFY(fixture.folder.entries().isEmpty());
    }

    void cancelTwiceReportsOnce()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.exe", held);
        startInstaller(&fixture);
        auto* cancel = fixture.monitor()->findChild<QPushButton*>();
        // Once more while the first is being reported, and by the other button, too.
        fixture.boxes.answer([&](QMessageBox* box) {
            cancel->click();
            fixture.button("pushButtonClose")->click();
            MessageBoxes::click(box, QMessageBox::Ok);
        });
        cancel->click();
        cancel->click();
        QCOMPARE(fixture.boxes.count(), 2);
        QVERIFY(!fixture.isBusy());
    }

    void closeCancelsTheInstaller()
    {
        UpdateFixture fixture;
        fixture.dialog->show();
        fixture.server.setAnswer("setup.exe", held);
        startInstaller(&fixture);
        fixture.button("pushButtonClose")->click();
        QCOMPARE(fixture.boxes.count(), 2);
        verifyFailureBox(fixture);
        QVERIFY(fixture.monitor()->isHidden());
        QVERIFY(fixture.dialog->isHidden());
    }

    void closeCancelsTheDescription_data()
    {
        QTest::addColumn<bool>("interactive");
        QTest::newRow("on request") << true;
        QTest::newRow("automatically") << false;
    }

    void closeCancelsTheDescription()
    {
        QFETCH(const bool, interactive);
        UpdateFixture fixture;
        fixture.dialog->show();
        fixture.server.setAnswer("QorMonitorUpdate.info", held);
        fixture.dialog->checkForUpdates(interactive);
        QTRY_COMPARE(fixture.server.requests().size(), 1);
        fixture.button("pushButtonClose")->click();
        QCOMPARE(fixture.boxes.count(), interactive ? 1 : 0);
        if (interactive)
            QCOMPARE(fixture.boxes.seen().constLast().icon, QMessageBox::Warning);
        QVERIFY(fixture.dialog->isHidden());
        QVERIFY(!fixture.isBusy());
    }

    void nextCheckStartsWithTheDescription()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.exe", held);
        startInstaller(&fixture);
        fixture.monitor()->findChild<QPushButton*>()->click();
        QCOMPARE(fixture.boxes.count(), 2);
        fixture.publishText("nothing");
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.boxes.count(), 3);
        QCOMPARE(fixture.boxes.lastText(), "Keine Version von QorMonitor verfügbar!"_s);
        QVERIFY(fixture.monitor()->isHidden());
    }

    void overAnEncryptedConnection()
    {
        const QSslConfiguration security = Certificates::selfSigned();
        QVERIFY(!security.isNull());
        const TestStore store(TestStore::UpdateCheck::Unset);
        const DownloadFolder folder;
        MessageBoxes boxes;
        HttpServer server(security);
        server.setAnswer("QorMonitorUpdate.info",
                         { "VersionNo=\"2\" VersionDate=\"d\" mingw32_x64FileName=\"setup.exe\"" });
        DlgCheckForUpdates dialog("QorMonitor"_s, nullptr);
        dialog.addServerUrl(server.baseUrl());
        dialog.checkForUpdates(false);
        QTRY_COMPARE(boxes.count(), 1);
        QCOMPARE(boxes.seen().constFirst().icon, QMessageBox::Question);
    }
};

QTEST_MAIN(TestUpdateDownload)
#include "tst_updatedownload.moc"
