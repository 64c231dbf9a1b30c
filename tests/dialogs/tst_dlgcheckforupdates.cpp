// SPDX-License-Identifier: MIT
// The update dialog itself, and the first phase of a check: the description, and what is made of it. The
// others are in tst_updatedownload.cpp and tst_updateinstall.cpp, the message boxes in tst_updateboxes.cpp.
#include "dialogs/dlgcheckforupdates.h"

#include "dialogs/dlgdownloadmonitor.h"
#include "dialogs/filedownloader.h"
#include "support/formoutline.h"
#include "support/literals.h"
#include "support/updatefixture.h"

#include <QCheckBox>
#include <QSettings>
#include <QtTest>

namespace {
const auto question = QStringLiteral("Eine neue Version %1 von QorMonitor ist verfügbar.\n"
                                     "Möchten Sie diese Version herunterladen?");
} // namespace

class TestDlgCheckForUpdates : public QObject {
    Q_OBJECT

private slots:
    void formLooksAsDesigned()
    {
        const UpdateFixture fixture;
        QCOMPARE(formOutline(*fixture.dialog),
                 QStringList({
                     "DlgCheckForUpdates 342x116 \"Anwendung aktualisieren\""_s,
                     "QVBoxLayout verticalLayout:"_s,
                     "  QCheckBox checkBoxAutoCheck "
                     "\"prüfe automatisch auf verfügbare\nUpdates bei Programmstart.\""_s,
                     "  20x40 Minimum Expanding"_s,
                     "  QHBoxLayout horizontalLayout"_s,
                     "QHBoxLayout horizontalLayout:"_s,
                     "  QPushButton pushButtonCheckNow \"Prüfe jetzt auf &Updates\""_s,
                     "  40x20 Expanding Minimum"_s,
                     "  QPushButton pushButtonClose \"&Schließen\""_s,
                 }));
        QVERIFY(fixture.button("pushButtonCheckNow")->isEnabled());
        QVERIFY(!fixture.dialog->isModal());
        QVERIFY(fixture.dialog->isHidden());
    }

    void ownsDownloaderAndMonitor()
    {
        QWidget parent;
        UpdateFixture fixture(&parent);
        QCOMPARE(fixture.dialog->parent(), &parent);
        // The downloader's parent is the dialog's own parent, the monitor's is the dialog.
        const QPointer<FileDownloader> downloader(
            parent.findChild<FileDownloader*>(QString(), Qt::FindDirectChildrenOnly));
        const QPointer<DlgDownloadMonitor> monitor(fixture.monitor());
        QVERIFY(downloader && monitor);
        QVERIFY(downloader->isIdle());
        QCOMPARE(monitor->parent(), fixture.dialog.get());
        QVERIFY(monitor->isHidden());
        fixture.dialog.reset();
        QVERIFY(!downloader);
        QVERIFY(!monitor);
    }

    void boxShowsTheSetting_data()
    {
        QTest::addColumn<QVariant>("setting");
        QTest::addColumn<bool>("checked");
        QTest::newRow("missing") << QVariant() << true;
        QTest::newRow("on") << QVariant(true) << true;
        QTest::newRow("off") << QVariant(false) << false;
    }

    void boxShowsTheSetting()
    {
        QFETCH(const QVariant, setting);
        QFETCH(const bool, checked);
        const TestStore store(TestStore::UpdateCheck::Unset);
        if (setting.isValid())
            QSettings().setValue("AutoCheckUpdates"_s, setting);
        const DlgCheckForUpdates dialog("QorMonitor"_s, nullptr);
        QCOMPARE(dialog.findChild<QCheckBox*>()->isChecked(), checked);
    }

    void onlyAClickOnTheBoxIsStored()
    {
        const UpdateFixture fixture;
        auto* box = fixture.dialog->findChild<QCheckBox*>();
        box->setChecked(false);
        QVERIFY(QSettings().allKeys().isEmpty());
        const auto stored = [] { return QSettings().value("AutoCheckUpdates"_s); };
        box->click();
        QCOMPARE(stored().toString(), "true"_s);
        box->click();
        QCOMPARE(stored().toString(), "false"_s);
    }

    void closeButtonClosesTheIdleDialog()
    {
        const UpdateFixture fixture;
        fixture.dialog->show();
        fixture.monitor()->show();
        fixture.button("pushButtonClose")->click();
        QVERIFY(fixture.dialog->isHidden());
        QVERIFY(fixture.monitor()->isHidden());
        QCOMPARE(fixture.boxes.count(), 0);
    }

    void withoutServerNothingHappens()
    {
        const TestStore store(TestStore::UpdateCheck::Unset);
        const MessageBoxes boxes;
        QWidget parent;
        DlgCheckForUpdates dialog("QorMonitor"_s, &parent);
        QSignalSpy busy(parent.findChild<FileDownloader*>(), &FileDownloader::busyChanged);
        dialog.checkForUpdates(true);
        dialog.checkForUpdates(false);
        dialog.downloadUpdateFile("setup.exe"_s);
        QVERIFY(!busy.wait(100));
        QCOMPARE(busy.count(), 0);
        QCOMPARE(boxes.count(), 0);
        QVERIFY(dialog.findChild<DlgDownloadMonitor*>()->isHidden());
    }

    void failureIsToldToWhoAsked()
    {
        const TestStore store(TestStore::UpdateCheck::Unset);
        const MessageBoxes boxes;
        DlgCheckForUpdates dialog("QorMonitor"_s, nullptr);
        const auto fail = [&] { QVERIFY(QMetaObject::invokeMethod(&dialog, "processDownloadFailed")); };
        // Without a server it does not begin.
        dialog.downloadUpdateFile("setup.exe"_s);
        fail();
        QCOMPARE(boxes.count(), 0);
        // Who asked is noted all the same.
        dialog.checkForUpdates(true);
        fail();
        QCOMPARE(boxes.count(), 1);
        QCOMPARE(boxes.last().icon, QMessageBox::Warning);
    }

    void nameOfTheApplicationIsUsedThroughout()
    {
        UpdateFixture fixture;
        // With a blank, which a tolerantly taken address may have.
        fixture.server.setAnswer("Other%20NameUpdate.info",
                                 HttpAnswer::ok(updateDescription("1.05", "setup.exe")));
        fixture.dialog = std::make_unique<DlgCheckForUpdates>("Other Name"_s, nullptr);
        fixture.dialog->addServerUrl(fixture.server.baseUrl());
        fixture.check();
        QCOMPARE(fixture.boxes.last().title, "Other Name"_s);
        QCOMPARE(fixture.boxes.lastText(),
                 QString(question).replace("QorMonitor"_s, "Other Name"_s).arg("1.05"_s));
    }

    void onlyTheFirstServerIsAsked()
    {
        UpdateFixture fixture;
        const HttpServer second;
        fixture.dialog->addServerUrl(second.baseUrl());
        fixture.check();
        QCOMPARE(fixture.boxes.count(), 1);
        QCOMPARE(fixture.server.requestCount("QorMonitorUpdate.info"), 1);
        QCOMPARE(fixture.server.requests().size(), 1);
        QVERIFY(second.requests().isEmpty());
    }

    void comparesVersions_data()
    {
        QTest::addColumn<QByteArray>("remote");
        QTest::addColumn<QVariant>("installed");
        QTest::addColumn<bool>("newer");
        const auto row = [](const char* name, const char* remote, const QVariant& installed, bool newer) {
            QTest::newRow(name) << QByteArray(remote) << installed << newer;
        };
        row("newer", "1.05", "1.045"_s, true);
        row("same", "1.05", "1.05"_s, false);
        row("older", "1.04", "1.045"_s, false);
        row("1.10 is 1.1", "1.10", "1.1"_s, false);
        row("1.2 is more than 1.10", "1.2", "1.10"_s, true);
        row("installed as a number", "1.05", 1.045, true);
        // The compiled-in version is higher and does not count.
        row("nothing noted", "0.001", QVariant(), true);
        row("nothing noted, version zero", "0", QVariant(), false);
        row("noted text is no number", "0.1", "unknown"_s, true);
        row("remote is no number", "next", "0"_s, false);
        row("remote is no number, nothing noted", "1.0.5", QVariant(), false);
        row("remote is no number, noted negative", "next", "-1"_s, true);
        row("decimal comma is no number", "9,5", "1"_s, false);
        row("exponent", "1e2", "99"_s, true);
    }

    void comparesVersions()
    {
        QFETCH(const QByteArray, remote);
        QFETCH(const QVariant, installed);
        QFETCH(const bool, newer);
        UpdateFixture fixture;
        if (installed.isValid())
            QSettings().setValue("VersionNo"_s, installed);
        fixture.publish(remote);
        fixture.check();
        QCOMPARE(fixture.boxes.count(), 1);
        QCOMPARE(fixture.boxes.lastText(),
                 newer ? question.arg(QString::fromLatin1(remote))
                       : "Keine neue Version von QorMonitor verfügbar!"_s);
        // The answer to the question was No: nothing more happens.
        QVERIFY(fixture.monitor()->isHidden());
        // Never written by the program.
        QCOMPARE(QSettings().value("VersionNo"_s), installed);
    }

    void incompleteDescriptions_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("complete");
        const QByteArray no = "VersionNo=\"9\" ";
        const QByteArray date = "VersionDate=\"d\" ";
        const QByteArray file = "mingw32_x64FileName=\"f\" ";
        QTest::newRow("complete") << no + date + file << true;
        QTest::newRow("other order") << file + no + date << true;
        QTest::newRow("byte order mark") << "\xEF\xBB\xBF" + no + date + file << true;
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("no number") << date + file << false;
        QTest::newRow("no date") << no + file << false;
        QTest::newRow("no file") << no + date << false;
        QTest::newRow("only another platform") << no + date + "linux_x64FileName=\"f\"" << false;
        QTest::newRow("zero byte in the middle") << no + date + '\0' + file << false;
        QTest::newRow("zero byte at the end") << no + date + file + '\0' << true;
        QTest::newRow("web page") << QByteArray("<html>Not here</html>") << false;
        QTest::newRow("bytes that are no UTF-8") << "\xFF\xFE" + no + date + file << true;
    }

    void incompleteDescriptions()
    {
        QFETCH(const QByteArray, text);
        QFETCH(const bool, complete);
        UpdateFixture fixture;
        fixture.publishText(text);
        fixture.check();
        QCOMPARE(fixture.boxes.count(), 1);
        QCOMPARE(fixture.boxes.lastText(),
                 complete ? question.arg(9) : "Keine Version von QorMonitor verfügbar!"_s);
    }

    void sickServerIsNoServer_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        QTest::newRow("stalls") << HttpAnswer::ok("nothing").held(3);
        QTest::newRow("does not end") << HttpAnswer::ok(QByteArray(1024 * 1024 + 1, ' ')).withoutLength();
    }

    void sickServerIsNoServer()
    {
        QFETCH(const HttpAnswer, answer);
        QWidget parent;
        UpdateFixture fixture(&parent);
        parent.findChild<FileDownloader*>()->setTimeout(1000);
        fixture.publish(answer);
        fixture.check();
        fixture.boxes.compareLast(
            QMessageBox::Warning, "QorMonitor"_s,
            "Konnte keine Informationen vom Server herunterladen\noder Server antwortet nicht!"_s, &parent);
        fixture.publish("1.05");
        fixture.check();
        QCOMPARE(fixture.boxes.count(), 2);
        QCOMPARE(fixture.boxes.lastText(), question.arg("1.05"_s));
    }

    void automaticCheckCanBeSwitchedOff()
    {
        UpdateFixture fixture;
        fixture.publish("1.05");
        fixture.dialog->findChild<QCheckBox*>()->click();
        fixture.dialog->checkForUpdates(false);
        QVERIFY(!fixture.isBusy());
        // The button still works.
        fixture.button("pushButtonCheckNow")->click();
        QVERIFY(fixture.isBusy());
        QTRY_COMPARE(fixture.boxes.count(), 1);
        QTRY_VERIFY(!fixture.isBusy());
        QCOMPARE(fixture.server.requests().size(), 1);
    }

    void modeIsTakenFromTheLastCheck()
    {
        UpdateFixture fixture;
        fixture.publishText("nothing");
        for (const bool interactive : { true, false, true }) {
            const int before = fixture.boxes.count();
            fixture.check(interactive);
            QCOMPARE(fixture.boxes.count() - before, interactive ? 1 : 0);
        }
    }

    void noOtherCheckDuringTheTransfer()
    {
        UpdateFixture fixture;
        fixture.publish(HttpAnswer::ok("nothing").held(0));
        fixture.button("pushButtonCheckNow")->click();
        QVERIFY(!fixture.button("pushButtonCheckNow")->isEnabled());
        QTRY_COMPARE(fixture.server.requests().size(), 1);
        // The slot looks itself, too.
        QVERIFY(QMetaObject::invokeMethod(fixture.dialog.get(), "on_pushButtonCheckNow_clicked"));
        fixture.dialog->checkForUpdates(true);
        fixture.server.release();
        QTRY_VERIFY(fixture.button("pushButtonCheckNow")->isEnabled());
        QCOMPARE(fixture.server.requests().size(), 1);
        QCOMPARE(fixture.boxes.count(), 1);
    }

    void noOtherCheckDuringTheQuestion()
    {
        UpdateFixture fixture;
        fixture.publish("1.05");
        fixture.boxes.answer([&](QMessageBox* box) {
            // Closing clears the busy flag, but the question is still open.
            fixture.button("pushButtonClose")->click();
            QVERIFY(!fixture.isBusy());
            fixture.dialog->checkForUpdates(true);
            QVERIFY(!fixture.isBusy());
            MessageBoxes::click(box, QMessageBox::No);
        });
        fixture.check();
        QCOMPARE(fixture.boxes.count(), 1);
        // It is possible again afterwards.
        fixture.check();
        QCOMPARE(fixture.boxes.count(), 2);
    }

    void closeCancelsTheDescription_data()
    {
        QTest::addColumn<bool>("interactive");
        QTest::addColumn<bool>("atOnce");
        QTest::newRow("on request") << true << false;
        QTest::newRow("automatically") << false << false;
        // On Windows it has not been asked for yet: the proxies are not known.
        QTest::newRow("on request, at once") << true << true;
        QTest::newRow("automatically, at once") << false << true;
    }

    void closeCancelsTheDescription()
    {
        QFETCH(const bool, interactive);
        QFETCH(const bool, atOnce);
        UpdateFixture fixture;
        fixture.dialog->show();
        fixture.publish(HttpAnswer::ok("nothing").held(0));
        fixture.dialog->checkForUpdates(interactive);
        if (!atOnce)
            QTRY_COMPARE(fixture.server.requests().size(), 1);
        fixture.button("pushButtonClose")->click();
        QCOMPARE(fixture.boxes.count(), interactive ? 1 : 0);
        QCOMPARE(fixture.boxes.last().icon, interactive ? QMessageBox::Warning : QMessageBox::NoIcon);
        QVERIFY(fixture.dialog->isHidden());
        QVERIFY(!fixture.isBusy());
    }
};

QTEST_MAIN(TestDlgCheckForUpdates)
#include "tst_dlgcheckforupdates.moc"
