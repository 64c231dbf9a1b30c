// SPDX-License-Identifier: MIT
#include "dialogs/dlgdownloadmonitor.h"
#include "support/literals.h"
#include "support/updatefixture.h"

#include <QApplication>
#include <QFileInfo>
#include <QProcess>
#include <QtTest>

#include <cstring>

// The whole way: the installer is saved and started, and the program ends. The installer is a script that
// leaves a mark.
namespace {

constexpr int timedOut = 99;
const QByteArray marker = "#!/bin/sh\necho \"$# arguments\" > \"${0%/*}/mark\"\n";

void confirm(QMessageBox* box)
{
    MessageBoxes::click(box, QMessageBox::Ok);
}

// Runs a check, answered with Yes, in the program's event loop, and says with which code that ended.
int runProgram(UpdateFixture* fixture, bool interactive = true,
               const MessageBoxes::Answer& atTheEnd = confirm)
{
    fixture->publish("1.05", "setup.sh");
    fixture->boxes.answer(QMessageBox::Yes);
    fixture->boxes.answer(atTheEnd);
    QTimer::singleShot(0, fixture->dialog.get(),
                       [fixture, interactive] { fixture->dialog->checkForUpdates(interactive); });
    QTimer::singleShot(20000, fixture->dialog.get(), [] { QCoreApplication::exit(timedOut); });
    return QCoreApplication::exec();
}

} // namespace

namespace {

// What the program does with its update dialog, in a process of its own.
int runAsProgram(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const TestStore store(TestStore::UpdateCheck::Unset);
    MessageBoxes boxes;
    boxes.answer(QMessageBox::Yes);
    DlgCheckForUpdates dialog("QorMonitor"_s, nullptr);
    dialog.addServerUrl(QString::fromLocal8Bit(argv[2]));
    QTimer::singleShot(0, &dialog, [&dialog] { dialog.checkForUpdates(false); });
    QTimer::singleShot(15000, &dialog, [] { QCoreApplication::exit(timedOut); });
    return QCoreApplication::exec();
}

} // namespace

class TestUpdateInstall : public QObject {
    Q_OBJECT

private slots:
    void installerIsSavedAndStarted_data()
    {
        QTest::addColumn<bool>("interactive");
        QTest::addColumn<int>("pieceSize");
        QTest::newRow("on request") << true << 0;
        QTest::newRow("automatically") << false << 0;
        QTest::newRow("from a trickling server") << true << 7;
    }

    void installerIsSavedAndStarted()
    {
        QFETCH(const bool, interactive);
        QFETCH(const int, pieceSize);
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.sh", { marker, "200 OK", {}, HttpAnswer::BodyLength, -1, pieceSize });
        QCOMPARE(runProgram(&fixture, interactive), 0);
        QTRY_COMPARE(fixture.folder.read("mark"_s), QByteArray("0 arguments\n"));
        QCOMPARE(fixture.folder.read("setup.sh"_s), marker);
        const QFileInfo saved(fixture.folder.filePath("setup.sh"_s));
        QVERIFY(saved.permission(QFileDevice::ExeOwner));
        QVERIFY(!saved.permission(QFileDevice::ExeOther));
        QCOMPARE(fixture.boxes.count(), 2);
        const MessageBoxes::Box box = fixture.boxes.seen().constLast();
        QCOMPARE(box.icon, QMessageBox::Information);
        QCOMPARE(box.title, "Anwendung aktualisieren"_s);
        QCOMPARE(box.text, "Download erfolgreich abgeschlossen!"_s);
        QCOMPARE(box.buttons, QMessageBox::Ok);
        QCOMPARE(box.defaultButton, QMessageBox::Ok);
        QCOMPARE(box.parent, fixture.dialog.get());
    }

    void monitorIsGoneBeforeTheBox()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.sh", { marker });
        bool hidden = false;
        const auto look = [&](QMessageBox* box) {
            hidden = fixture.monitor()->isHidden();
            confirm(box);
        };
        QCOMPARE(runProgram(&fixture, true, look), 0);
        QCOMPARE(fixture.boxes.count(), 2);
        QVERIFY(hidden);
    }

    void existingFileIsReplaced()
    {
        UpdateFixture fixture;
        QFile old(fixture.folder.filePath("setup.sh"_s));
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write(QByteArray(100000, 'x'));
        old.close();
        fixture.server.setAnswer("setup.sh", { marker });
        QCOMPARE(runProgram(&fixture), 0);
        QCOMPARE(fixture.folder.read("setup.sh"_s), marker);
        QTRY_VERIFY(!fixture.folder.read("mark"_s).isEmpty());
    }

    void fileThatDoesNotStartEndsTheProgramAnyway()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.sh", { "#!/nonexistent/interpreter\n" });
        QCOMPARE(runProgram(&fixture), 0);
        QCOMPARE(fixture.boxes.count(), 2);
    }

    void automaticCheckInTheLastBoxInstallsNothingTwice()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("setup.sh", { "#!/bin/sh\necho started >> \"${0%/*}/mark\"\n" });
        fixture.boxes.answer(QMessageBox::Yes);
        // The user was quicker than the check after the start of the program.
        fixture.boxes.answer([&](QMessageBox* box) {
            fixture.dialog->checkForUpdates(false);
            // Long enough for a description to arrive.
            QTimer::singleShot(500, box, [box] { MessageBoxes::click(box, QMessageBox::Ok); });
        });
        fixture.boxes.answer(QMessageBox::Yes);
        fixture.publish("1.05", "setup.sh");
        QTimer::singleShot(0, fixture.dialog.get(), [&] { fixture.dialog->checkForUpdates(true); });
        QTimer::singleShot(20000, fixture.dialog.get(), [] { QCoreApplication::exit(timedOut); });
        QCOMPARE(QCoreApplication::exec(), 0);
        QTRY_COMPARE(fixture.folder.read("mark"_s), QByteArray("started\n"));
        QCOMPARE(fixture.boxes.count(), 2);
        QCOMPARE(fixture.server.requestCount("QorMonitorUpdate.info"), 1);
    }

    void installerOutlivesTheProgram()
    {
        const DownloadFolder folder;
        HttpServer server;
        server.setAnswer("QorMonitorUpdate.info",
                         { "VersionNo=\"2\" VersionDate=\"d\" mingw32_x64FileName=\"setup.sh\"" });
        // Waits for the word that the program is gone, ten seconds at most.
        server.setAnswer("setup.sh",
                         { "#!/bin/sh\ncd \"${0%/*}\"\necho > started\nn=0\n"
                           "while [ ! -e gone ] && [ $n -lt 200 ]; do sleep 0.05; n=$((n+1)); done\n"
                           "[ -e gone ] && echo done > mark\n" });
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
