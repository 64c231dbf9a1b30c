// SPDX-License-Identifier: MIT
// The end of an update: the installer is saved and started, and the program ends. The installer is a script
// that leaves a mark.
#include "dialogs/dlgcheckforupdates.h"
#include "support/literals.h"
#include "support/platform.h"
#include "support/updatefixture.h"

#include <QApplication>
#include <QFileInfo>
#include <QProcess>
#include <QScreen>
#include <QtTest>

#include <cstring>

namespace {

const HttpAnswer installer = HttpAnswer::ok("#!/bin/sh\necho \"$# arguments\" >> \"${0%/*}/mark\"\n");

void confirm(QMessageBox* box)
{
    MessageBoxes::click(box, QMessageBox::Ok);
}

// What the program does with its update dialog, in a process of its own.
int runAsProgram(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const TestStore store(TestStore::UpdateCheck::Unset);
    MessageBoxes boxes;
    boxes.answer(QMessageBox::Yes);
    DlgCheckForUpdates dialog("QorMonitor"_s, nullptr);
    dialog.setUpdateKey({});
    dialog.addServerUrl(QString::fromLocal8Bit(argv[2]));
    QTimer::singleShot(0, &dialog, [&dialog] { dialog.checkForUpdates(false); });
    QTimer::singleShot(15000, &dialog, [] { QCoreApplication::exit(UpdateFixture::timedOut); });
    return QCoreApplication::exec();
}

} // namespace

class TestUpdateInstall : public QObject {
    Q_OBJECT

private slots:
    void installerIsSavedAndStarted_data()
    {
        QTest::addColumn<bool>("interactive");
        QTest::addColumn<HttpAnswer>("answer");
        QTest::newRow("on request") << true << installer;
        QTest::newRow("automatically") << false << installer;
        QTest::newRow("from a trickling server") << true << installer.trickled(7);
    }

    void installerIsSavedAndStarted()
    {
        QFETCH(const bool, interactive);
        QFETCH(const HttpAnswer, answer);
        UpdateFixture fixture;
        fixture.offer(answer, "setup.sh");
        QCOMPARE(fixture.runProgram(interactive, confirm), 0);
        QTRY_COMPARE(fixture.folder.read("mark"_s), QByteArray("0 arguments\n"));
        QCOMPARE(fixture.folder.read("setup.sh"_s), installer.body());
        const QFileInfo saved(fixture.folder.filePath("setup.sh"_s));
        QVERIFY(saved.permission(QFileDevice::ExeOwner));
        QVERIFY(!saved.permission(QFileDevice::ExeOther));
        QCOMPARE(fixture.boxes.count(), 2);
        QCOMPARE(fixture.boxes.lastText(), "Download erfolgreich abgeschlossen!"_s);
    }

    void existingFileIsReplaced()
    {
        UpdateFixture fixture;
        QFile old(fixture.folder.filePath("setup.sh"_s));
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write(QByteArray(100000, 'x'));
        old.close();
        fixture.offer(installer, "setup.sh");
        QCOMPARE(fixture.runProgram(true, confirm), 0);
        QCOMPARE(fixture.folder.read("setup.sh"_s), installer.body());
        QTRY_VERIFY(!fixture.folder.read("mark"_s).isEmpty());
    }

    void withoutAFolderTheRootIsTaken()
    {
        if (!QFileInfo("/proc"_s).isDir())
            QSKIP("There is no folder whose name would keep a file from the root.");
        UpdateFixture fixture;
        fixture.dialog->setDownloadDir({});
        fixture.offer(installer, "proc");
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.boxes.count(), 2);
        QCOMPARE(fixture.boxes.lastText(),
                 "Fehler beim Speichern der Datei\n%1!\nGrund: %2."_s.arg(Platform::isAFolder(), "%2"_s));
    }

    void fileThatDoesNotStartEndsTheProgramAnyway()
    {
        UpdateFixture fixture;
        fixture.offer(HttpAnswer::ok("#!/nonexistent/interpreter\n"), "setup.sh");
        QCOMPARE(fixture.runProgram(true, confirm), 0);
        QCOMPARE(fixture.boxes.count(), 2);
    }

    void programThatIsLeftInstallsNothing()
    {
        UpdateFixture fixture;
        fixture.offer(installer, "setup.sh");
        QCOMPARE(fixture.runProgram(true, [](QMessageBox*) { QCoreApplication::quit(); }), 0);
        QCOMPARE(fixture.boxes.lastText(), "Download erfolgreich abgeschlossen!"_s);
        // Ten times as long as the script takes to leave its mark.
        QTest::qWait(500);
        QVERIFY(fixture.folder.read("mark"_s).isEmpty());
    }

    void boxOfADialogNeverShownOpensInTheMiddle()
    {
        UpdateFixture fixture;
        fixture.offer(installer, "setup.sh");
        QPoint distance;
        const auto answer = [&](QMessageBox* box) {
            distance = box->frameGeometry().center() - box->screen()->availableGeometry().center();
            confirm(box);
        };
        QCOMPARE(fixture.runProgram(false, answer), 0);
        QVERIFY(distance.manhattanLength() < 60);
    }

    void automaticCheckInTheLastBoxInstallsNothingTwice()
    {
        UpdateFixture fixture;
        fixture.offer(installer, "setup.sh");
        // The user was quicker than the check after the start of the program.
        const auto answer = [&](QMessageBox* box) {
            fixture.dialog->checkForUpdates(false);
            // Long enough for a description to arrive.
            QTimer::singleShot(500, box, [box] { confirm(box); });
        };
        QCOMPARE(fixture.runProgram(true, answer), 0);
        QTRY_COMPARE(fixture.folder.read("mark"_s), QByteArray("0 arguments\n"));
        QCOMPARE(fixture.boxes.count(), 2);
        QCOMPARE(fixture.server.requestCount("QorMonitorUpdate.info"), 1);
    }

    void installerOutlivesTheProgram()
    {
        const DownloadFolder folder;
        HttpServer server;
        server.setAnswer("QorMonitorUpdate.info", HttpAnswer::ok(updateDescription("2", "setup.sh")));
        // Waits for the word that the program is gone, ten seconds at most.
        server.setAnswer(
            "setup.sh",
            HttpAnswer::ok("#!/bin/sh\ncd \"${0%/*}\"\necho > started\nn=0\n"
                           "while [ ! -e gone ] && [ $n -lt 200 ]; do sleep 0.05; n=$((n+1)); done\n"
                           "[ -e gone ] && echo done > mark\n"));
        QProcess program;
        program.start(QCoreApplication::applicationFilePath(), { "--as-program"_s, server.baseUrl() });
        QVERIFY(program.waitForFinished(20000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QTRY_VERIFY(!folder.read("started"_s).isEmpty());
        QVERIFY(folder.read("mark"_s).isEmpty());
        QFile gone(folder.filePath("gone"_s));
        QVERIFY(gone.open(QIODevice::WriteOnly));
        gone.close();
        QTRY_COMPARE(folder.read("mark"_s), QByteArray("done\n"));
    }
};

int main(int argc, char* argv[])
{
    if (argc == 3 && std::strcmp(argv[1], "--as-program") == 0)
        return runAsProgram(argc, argv);
    const QApplication application(argc, argv);
    TestUpdateInstall test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_updateinstall.moc"
