// SPDX-License-Identifier: MIT
#include "dialogs/dlgdownloadmonitor.h"
#include "support/literals.h"
#include "support/updatefixture.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QtTest>

// What happens when the installer has been loaded but cannot be saved: the stated box, nothing started and
// nothing left behind.
namespace {

// Runs a check through to the box after the question.
void load(UpdateFixture* fixture, const QByteArray& fileName, bool interactive = true)
{
    fixture->publish("1.05", fileName);
    fixture->boxes.answer(QMessageBox::Yes);
    fixture->dialog->checkForUpdates(interactive);
    QTRY_COMPARE(fixture->boxes.count(), 2);
}

void verifyErrorBox(const UpdateFixture& fixture, const QString& reason)
{
    const MessageBoxes::Box box = fixture.boxes.seen().constLast();
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.title, "Anwendung aktualisieren"_s);
    QCOMPARE(box.text, "Fehler beim Speichern der Datei\n"_s + reason + "!\nGrund: %2."_s);
    QCOMPARE(box.buttons, QMessageBox::Ok);
    QCOMPARE(box.defaultButton, QMessageBox::Ok);
    QCOMPARE(box.parent, fixture.dialog.get());
}

} // namespace

class TestUpdateSave : public QObject {
    Q_OBJECT

private slots:
    void failingFolders_data()
    {
        QTest::addColumn<bool>("folderExists");
        QTest::addColumn<QByteArray>("blockedBy");
        QTest::addColumn<QString>("reason");
        QTest::newRow("folder is missing") << false << QByteArray() << "No such file or directory"_s;
        // Cannot be opened for writing by anybody, the superuser included.
        QTest::newRow("name is a folder") << true << QByteArray("setup.exe") << "Is a directory"_s;
    }

    void failingFolders()
    {
        QFETCH(const bool, folderExists);
        QFETCH(const QByteArray, blockedBy);
        QFETCH(const QString, reason);
        UpdateFixture fixture;
        QDir folder(fixture.folder.path());
        if (!folderExists)
            QVERIFY(folder.rmdir(folder.path()));
        if (!blockedBy.isEmpty())
            QVERIFY(folder.mkdir(QString::fromLatin1(blockedBy)));
        fixture.server.setAnswer("setup.exe", { "#!/bin/sh\n" });
        load(&fixture, "setup.exe");
        QFile file(fixture.folder.filePath("setup.exe"_s));
        QVERIFY(!file.open(QIODevice::WriteOnly));
        QCOMPARE(file.errorString(), reason);
        verifyErrorBox(fixture, reason);
        QCOMPARE(fixture.folder.entries().size(), blockedBy.isEmpty() ? 0 : 1);
    }

    void monitorIsGoneBeforeTheBox()
    {
        UpdateFixture fixture;
        QVERIFY(QDir().rmdir(fixture.folder.path()));
        fixture.server.setAnswer("setup.exe", { "content" });
        bool hidden = false;
        fixture.boxes.answer(QMessageBox::Yes);
        fixture.boxes.answer([&](QMessageBox* box) {
            hidden = fixture.monitor()->isHidden();
            MessageBoxes::click(box, QMessageBox::Ok);
        });
        fixture.publish("1.05", "setup.exe");
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.boxes.count(), 2);
        QTRY_VERIFY(hidden);
        QCOMPARE(fixture.boxes.seen().constLast().icon, QMessageBox::Critical);
    }

    void fullDiskLeavesNothingBehind()
    {
        // Small enough to be buffered, so that the error shows only when the buffer is written.
        for (const int size : { 100, 1000000 }) {
            UpdateFixture fixture;
            QVERIFY(QFile::link("/dev/full"_s, fixture.folder.filePath("setup.exe"_s)));
            fixture.server.setAnswer("setup.exe", { QByteArray(size, 'x') });
            load(&fixture, "setup.exe");
            verifyErrorBox(fixture, "No space left on device"_s);
            QVERIFY(fixture.folder.entries().isEmpty());
            QVERIFY(QFile::exists("/dev/full"_s));
        }
    }

    void fileThatIsNotBegunStays()
    {
        UpdateFixture fixture;
        // A running program cannot be opened for writing by anybody, the superuser included.
        const QString older = fixture.folder.filePath("setup.exe"_s);
        QVERIFY(QFile::copy("/bin/sleep"_s, older));
        QVERIFY(QFile::setPermissions(
            older, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
        const QByteArray bytes = fixture.folder.read("setup.exe"_s);
        QVERIFY(!bytes.isEmpty());
        QProcess program;
        program.start(older, { "60"_s });
        QVERIFY(program.waitForStarted());
        fixture.server.setAnswer("setup.exe", { "content" });
        load(&fixture, "setup.exe");
        QCOMPARE(program.state(), QProcess::Running);
        program.kill();
        QVERIFY(program.waitForFinished());
        verifyErrorBox(fixture, "Text file busy"_s);
        QVERIFY(fixture.folder.read("setup.exe"_s) == bytes);
    }

    void namesOutsideTheFolder_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("folder above") << QByteArray("..");
        QTest::newRow("the folder itself") << QByteArray(".");
        QTest::newRow("path upwards") << QByteArray("../escaped.exe");
        QTest::newRow("path downwards") << QByteArray("below/setup.exe");
        QTest::newRow("path with backslashes") << QByteArray("..\\escaped.exe");
        QTest::newRow("drive") << QByteArray("C:escaped.exe");
    }

    void namesOutsideTheFolder()
    {
        QFETCH(const QByteArray, name);
        UpdateFixture fixture;
        QDir folder(fixture.folder.path());
        QVERIFY(folder.mkdir("below"_s));
        // Whatever the client makes of the name on its way to the server, it gets an answer.
        fixture.server.setAnswerForUnknownPaths({ "content" });
        load(&fixture, name);
        verifyErrorBox(fixture, "Unzulässiger Dateiname \"%1\""_s.arg(QString::fromUtf8(name)));
        QCOMPARE(fixture.folder.entries(), QStringList { "below"_s });
        QVERIFY(QDir(fixture.folder.filePath("below"_s)).isEmpty());
        QVERIFY(folder.cdUp());
        QVERIFY(!folder.exists("escaped.exe"_s));
    }

    void failureIsReportedInAutomaticMode()
    {
        UpdateFixture fixture;
        QVERIFY(QDir().rmdir(fixture.folder.path()));
        fixture.server.setAnswer("setup.exe", { "content" });
        load(&fixture, "setup.exe", false);
        QCOMPARE(fixture.boxes.seen().constLast().icon, QMessageBox::Critical);
    }

    void programRunsOnAfterAFailure()
    {
        UpdateFixture fixture;
        QVERIFY(QDir().rmdir(fixture.folder.path()));
        fixture.server.setAnswer("setup.exe", { "content" });
        constexpr int stillRunning = 42;
        QTimer::singleShot(0, fixture.dialog.get(), [&] {
            load(&fixture, "setup.exe");
            QTimer::singleShot(200, fixture.dialog.get(), [] { QCoreApplication::exit(stillRunning); });
        });
        QCOMPARE(QCoreApplication::exec(), stillRunning);
        QCOMPARE(fixture.boxes.count(), 2);
        QVERIFY(!fixture.isBusy());
    }
};

QTEST_MAIN(TestUpdateSave)
#include "tst_updatesave.moc"
