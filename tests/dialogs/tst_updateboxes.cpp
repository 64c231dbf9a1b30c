// SPDX-License-Identifier: MIT
// Every message box of an update, and the ends that the program can come to meanwhile: the sanitizers watch
// that nothing is used that is gone.
#include "dialogs/dlgdownloadmonitor.h"
#include "support/literals.h"
#include "support/markingtranslator.h"
#include "support/platform.h"
#include "support/updatefixture.h"

#include <QFile>
#include <QtTest>

using Preparation = std::function<void(UpdateFixture&)>;
Q_DECLARE_METATYPE(Preparation)

namespace {

const HttpAnswer installer = HttpAnswer::ok("#!/bin/sh\n");
const HttpAnswer heldInstaller = HttpAnswer::ok(QByteArray(1000, 'x')).held(400);

Preparation describing(const HttpAnswer& description)
{
    return [description](UpdateFixture& fixture) { fixture.publish(description); };
}

Preparation offering(const HttpAnswer& answer, const QByteArray& fileName = "setup.exe")
{
    return [answer, fileName](UpdateFixture& fixture) { fixture.offer(answer, fileName); };
}

void offerWithAFullDisk(UpdateFixture& fixture)
{
    fixture.offer(installer);
    QVERIFY(QFile::link("/dev/full"_s, fixture.folder.filePath("setup.exe"_s)));
}

// Answers as a user does who goes no further, and ends the program.
void closeAndQuit(QMessageBox* box)
{
    MessageBoxes::click(box, box->button(QMessageBox::Ok) ? QMessageBox::Ok : QMessageBox::No);
    QCoreApplication::quit();
}

// Has a button clicked, from the event loop, as soon as the installer is being loaded.
void clickWhileLoading(UpdateFixture& fixture, QPushButton* button)
{
    auto* timer = new QTimer(fixture.dialog.get());
    QObject::connect(timer, &QTimer::timeout, button, [&fixture, timer, button] {
        if (fixture.monitor()->isHidden() || fixture.server.requestCount("setup.exe") == 0)
            return;
        timer->stop();
        button->click();
    });
    timer->start(10);
}

} // namespace

class TestUpdateBoxes : public QObject {
    Q_OBJECT

private slots:
    void boxes_data()
    {
        QTest::addColumn<Preparation>("prepare");
        QTest::addColumn<QMessageBox::Icon>("icon");
        // With a mark before each text that can be translated.
        QTest::addColumn<QString>("text");
        // Whether title and parent are the update dialog's instead of the program's.
        QTest::addColumn<bool>("ofTheDialog");
        QTest::addColumn<bool>("alsoInAutomaticMode");
        const auto row = [](const char* name, const Preparation& prepare, QMessageBox::Icon icon,
                            const QString& text, bool ofTheDialog, bool always) {
            QTest::newRow(name) << prepare << icon << text << ofTheDialog << always;
        };
        const auto newer = HttpAnswer::ok(updateDescription("1.05", "setup.exe"));
        const auto noVersion = "#Keine Version von QorMonitor verfügbar!"_s;
        row("no description", describing(HttpAnswer::status("404 Not Found", newer.body())),
            QMessageBox::Warning,
            "#Konnte keine Informationen vom Server herunterladen\noder Server antwortet nicht!"_s, false,
            false);
        // The redirect is not followed.
        row("description elsewhere",
            describing(HttpAnswer::status("301 Moved").with("Location: /QorMonitorUpdate/f")),
            QMessageBox::Information, noVersion, false, false);
        row("incomplete description", describing(HttpAnswer::ok("nothing")), QMessageBox::Information,
            noVersion, false, false);
        row("nothing newer", describing(HttpAnswer::ok(updateDescription("0", "setup.exe"))),
            QMessageBox::Information, "#Keine neue Version von QorMonitor verfügbar!"_s, false, false);
        row("question", describing(newer), QMessageBox::Question,
            "#Eine neue Version 1.05 von QorMonitor ist verfügbar.\n"
            "Möchten Sie diese Version herunterladen?"_s,
            false, true);
        const auto notLoaded = "#Fehler beim Download der Update Datei\nsetup.exe!"_s;
        for (const char* status : { "404 Not Found", "503 Busy" })
            row(status, offering(HttpAnswer::status(status, "page")), QMessageBox::Critical, notLoaded, false,
                true);
        const auto notSaved = "#Fehler beim Speichern der Datei\n%1!\nGrund: %2."_s;
        row("bad file name", offering(installer, "below/setup.exe"), QMessageBox::Critical,
            notSaved.arg("#Unzulässiger Dateiname \"below/setup.exe\""_s), true, true);
        row("saved", offering(installer), QMessageBox::Information, "#Download erfolgreich abgeschlossen!"_s,
            true, true);
        row(
            "saved under a name that the address encodes",
            [](UpdateFixture& fixture) {
                fixture.offer(installer, "Größe 2.exe");
                fixture.server.setAnswer("Gr%C3%B6%C3%9Fe%202.exe", installer);
            },
            QMessageBox::Information, "#Download erfolgreich abgeschlossen!"_s, true, true);
        if (!Platform::hasFullDisk())
            return;
        row("full disk", offerWithAFullDisk, QMessageBox::Critical, notSaved.arg("No space left on device"_s),
            true, true);
    }

    void boxes()
    {
        QFETCH(const Preparation, prepare);
        QFETCH(const QMessageBox::Icon, icon);
        QFETCH(QString, text);
        QFETCH(const bool, ofTheDialog);
        QWidget parent;
        UpdateFixture fixture(&parent);
        prepare(fixture);
        bool monitorHidden = false;
        const auto answer = [&](QMessageBox* box) {
            monitorHidden = fixture.monitor()->isHidden();
            closeAndQuit(box);
        };
        QCOMPARE(fixture.runProgram(true, answer), 0);
        QVERIFY(monitorHidden);
        const QWidget* dialog = fixture.dialog.get();
        fixture.boxes.compareLast(icon, ofTheDialog ? "Anwendung aktualisieren"_s : "QorMonitor"_s,
                                  text.remove(QLatin1Char('#')), ofTheDialog ? dialog : &parent,
                                  icon == QMessageBox::Question ? QMessageBox::Yes | QMessageBox::No
                                                                : QMessageBox::Ok);
    }

    void automaticCheckSaysLess_data() { boxes_data(); }

    void automaticCheckSaysLess()
    {
        QFETCH(const Preparation, prepare);
        QFETCH(QString, text);
        QFETCH(const bool, ofTheDialog);
        QFETCH(const bool, alsoInAutomaticMode);
        UpdateFixture fixture;
        prepare(fixture);
        if (alsoInAutomaticMode) {
            QCOMPARE(fixture.runProgram(false, closeAndQuit), 0);
            QCOMPARE(fixture.boxes.lastText(), text.remove(QLatin1Char('#')));
            QCOMPARE(fixture.boxes.last().parent, ofTheDialog ? fixture.dialog.get() : nullptr);
        } else {
            fixture.check(false);
            QCOMPARE(fixture.boxes.count(), 0);
        }
    }

    void boxesCanBeTranslated_data() { boxes_data(); }

    void boxesCanBeTranslated()
    {
        QFETCH(const Preparation, prepare);
        QFETCH(const QString, text);
        QFETCH(const bool, ofTheDialog);
        const MarkingTranslator marker("DlgCheckForUpdates");
        UpdateFixture fixture;
        prepare(fixture);
        QCOMPARE(fixture.runProgram(true, closeAndQuit), 0);
        QCOMPARE(fixture.boxes.lastText(), text);
        QCOMPARE(fixture.boxes.last().title, ofTheDialog ? "#Anwendung aktualisieren"_s : "QorMonitor"_s);
        QCOMPARE(fixture.button("pushButtonClose")->text(), "#&Schließen"_s);
    }

    void programEndsInABox_data()
    {
        boxes_data();
        const auto row = [](const char* name, const Preparation& prepare) {
            QTest::newRow(name) << prepare << QMessageBox::Critical << QString() << false << true;
        };
        row("cancelled in the monitor", [](UpdateFixture& fixture) {
            fixture.offer(heldInstaller);
            clickWhileLoading(fixture, fixture.monitor()->findChild<QPushButton*>());
        });
        row("cancelled by closing", [](UpdateFixture& fixture) {
            fixture.offer(heldInstaller);
            clickWhileLoading(fixture, fixture.button("pushButtonClose"));
        });
    }

    void programEndsInABox()
    {
        QFETCH(const Preparation, prepare);
        QFETCH(const QMessageBox::Icon, icon);
        UpdateFixture fixture;
        prepare(fixture);
        QCOMPARE(fixture.runProgram(true, [](QMessageBox*) { QCoreApplication::quit(); }), 0);
        QCOMPARE(fixture.boxes.last().icon, icon);
        QVERIFY(!fixture.boxes.last().dialog);
        // A box without an answer does not count as Yes. Every request led to one box: the one for the
        // description, and the one for the installer if it was loaded.
        QCOMPARE(fixture.server.requests().size(), fixture.boxes.count());
        fixture.dialog.reset();
        QTest::qWait(20);
    }

    void programEndsDuringATransfer_data()
    {
        QTest::addColumn<Preparation>("prepare");
        QTest::addColumn<int>("requests");
        QTest::newRow("description") << describing(heldInstaller) << 1;
        QTest::newRow("installer") << offering(heldInstaller) << 2;
    }

    void programEndsDuringATransfer()
    {
        QFETCH(const Preparation, prepare);
        QFETCH(const int, requests);
        UpdateFixture fixture;
        prepare(fixture);
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.server.requests().size(), requests);
        const int boxes = fixture.boxes.count();
        fixture.dialog.reset();
        fixture.server.release();
        QTest::qWait(50);
        QCOMPARE(fixture.boxes.count(), boxes);
        QVERIFY(fixture.folder.entries().isEmpty());
    }

    void answerCountsAlthoughTheDialogIsClosed()
    {
        UpdateFixture fixture;
        fixture.publish("1.05");
        fixture.server.setAnswer("setup.exe", heldInstaller);
        fixture.dialog->show();
        fixture.boxes.answer([&](QMessageBox* box) {
            fixture.button("pushButtonClose")->click();
            MessageBoxes::click(box, QMessageBox::Yes);
        });
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.server.requestCount("setup.exe"), 1);
        QVERIFY(fixture.dialog->isHidden());
        QTRY_VERIFY(fixture.monitor()->isVisible());
    }
};

QTEST_MAIN(TestUpdateBoxes)
#include "tst_updateboxes.moc"
