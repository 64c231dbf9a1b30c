// SPDX-License-Identifier: MIT
// The texts of the dialogs and of their boxes can be translated, each in the context of its dialog.
#include "dialogs/dlgabout.h"
#include "dialogs/dlgdownloadmonitor.h"
#include "support/markingtranslator.h"
#include "support/literals.h"
#include "support/updatefixture.h"

#include <QLabel>
#include <QPointer>
#include <QtTest>

class TestDialogTexts : public QObject {
    Q_OBJECT

private slots:
    void aboutBox()
    {
        const ContextMarker marker("DlgAbout");
        const DlgAbout about(nullptr);
        QCOMPARE(about.windowTitle(), "#Über QorMonitor ..."_s);
        const auto* close = about.findChild<QPushButton*>();
        QCOMPARE(close->text(), "#&Schließen"_s);
        QCOMPARE(close->toolTip(), "#Schließt diesen Dialog"_s);
    }

    void downloadMonitor()
    {
        const ContextMarker marker("DlgDownloadMonitor");
        const DlgDownloadMonitor monitor(nullptr);
        const auto label
            = [&](const char* name) { return monitor.findChild<QLabel*>(QLatin1String(name))->text(); };
        QCOMPARE(monitor.windowTitle(), "#Download Monitor"_s);
        QCOMPARE(label("label_2"), "#Datei:"_s);
        QCOMPARE(label("label_3"), "#nach:"_s);
        QCOMPARE(label("label"), "#Fortschritt"_s);
        QCOMPARE(monitor.findChild<QPushButton*>()->text(), "#Abbrechen"_s);
    }

    void updateBoxes_data()
    {
        QTest::addColumn<QByteArray>("versionNo");
        QTest::addColumn<QByteArray>("fileName");
        QTest::addColumn<bool>("delivered");
        QTest::addColumn<int>("boxes");
        QTest::addColumn<QString>("text");
        const QByteArray name = "setup.exe";
        QTest::newRow("no description")
            << QByteArray() << name << false << 1
            << QStringLiteral(
                   "#Konnte keine Informationen vom Server herunterladen\noder Server antwortet nicht!");
        QTest::newRow("description without a file") << QByteArray("1.05") << QByteArray() << false << 1
                                                    << "#Keine Version von QorMonitor verfügbar!"_s;
        QTest::newRow("nothing newer")
            << QByteArray("0") << name << false << 1 << "#Keine neue Version von QorMonitor verfügbar!"_s;
        QTest::newRow("question") << QByteArray("1.05") << name << false << 1
                                  << QStringLiteral("#Eine neue Version 1.05 von QorMonitor ist verfügbar.\n"
                                                    "Möchten Sie diese Version herunterladen?");
        QTest::newRow("no file") << QByteArray("1.05") << name << false << 2
                                 << "#Fehler beim Download der Update Datei\nsetup.exe!"_s;
        QTest::newRow("bad file name")
            << QByteArray("1.05") << QByteArray("below/setup.exe") << true << 2
            << QStringLiteral(
                   "#Fehler beim Speichern der Datei\n#Unzulässiger Dateiname \"below/setup.exe\"!\n"
                   "Grund: %2.");
        QTest::newRow("loaded") << QByteArray("1.05") << name << true << 2
                                << "#Download erfolgreich abgeschlossen!"_s;
    }

    void updateBoxes()
    {
        QFETCH(const QByteArray, versionNo);
        QFETCH(const QByteArray, fileName);
        QFETCH(const bool, delivered);
        QFETCH(const int, boxes);
        QFETCH(const QString, text);
        const ContextMarker marker("DlgCheckForUpdates");
        UpdateFixture fixture;
        if (!versionNo.isEmpty())
            fixture.publish(versionNo, fileName);
        if (delivered)
            fixture.server.setAnswer(fileName, { "content" });
        if (boxes == 2)
            fixture.boxes.answer(QMessageBox::Yes);
        bool answered = false;
        // With the dialog gone, nothing is started and the program does not end.
        fixture.boxes.answer([&](QMessageBox* last) {
            const QPointer<QMessageBox> box(last);
            fixture.dialog.reset();
            if (box)
                box->reject();
            answered = true;
        });
        fixture.dialog->checkForUpdates(true);
        QTRY_VERIFY(answered);
        QCOMPARE(fixture.boxes.count(), boxes);
        QCOMPARE(fixture.boxes.lastText(), text);
    }
};

QTEST_MAIN(TestDialogTexts)
#include "tst_dialogtexts.moc"
