// SPDX-License-Identifier: MIT
#include "dialogs/dlgdownloadmonitor.h"
#include "support/updatefixture.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QtTest>

// What happens when the installer has been loaded but cannot be saved: the stated box, nothing started and
// nothing left behind.
class TestUpdateSave : public QObject {
    Q_OBJECT

private slots:
    void failingFolders_data();
    void failingFolders();
    void monitorIsGoneBeforeTheBox();
    void fullDiskLeavesNothingBehind();
    void fileThatIsNotBegunStays();
    void namesOutsideTheFolder_data();
    void namesOutsideTheFolder();
    void failureIsReportedInAutomaticMode();
    void programRunsOnAfterAFailure();
};

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
    QCOMPARE(box.title, QStringLiteral("Anwendung aktualisieren"));
    QCOMPARE(box.text,
             QStringLiteral("Fehler beim Speichern der Datei\n") + reason + QStringLiteral("!\nGrund: %2."));
    QCOMPARE(box.buttons, QMessageBox::Ok);
    QCOMPARE(box.defaultKind, QMessageBox::Ok);
    QCOMPARE(box.parent, fixture.dialog.get());
}

} // namespace

void TestUpdateSave::failingFolders_data()
{
    QTest::addColumn<bool>("folderExists");
    QTest::addColumn<QByteArray>("blockedBy");
    QTest::addColumn<QString>("reason");
    QTest::newRow("folder is missing")
        << false << QByteArray() << QStringLiteral("No such file or directory");
    // Cannot be opened for writing by anybody, the superuser included.
    QTest::newRow("name is a folder") << true << QByteArray("setup.exe") << QStringLiteral("Is a directory");
}

void TestUpdateSave::failingFolders()
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
    QFile file(fixture.folder.filePath(QStringLiteral("setup.exe")));
    QVERIFY(!file.open(QIODevice::WriteOnly));
    QCOMPARE(file.errorString(), reason);
    verifyErrorBox(fixture, reason);
    QCOMPARE(fixture.folder.entries().size(), blockedBy.isEmpty() ? 0 : 1);
}

void TestUpdateSave::fullDiskLeavesNothingBehind()
{
    // Small enough to be buffered, so that the error shows only when the buffer is written.
    for (const int size : { 100, 1000000 }) {
        UpdateFixture fixture;
        QVERIFY(
            QFile::link(QStringLiteral("/dev/full"), fixture.folder.filePath(QStringLiteral("setup.exe"))));
        fixture.server.setAnswer("setup.exe", { QByteArray(size, 'x') });
        load(&fixture, "setup.exe");
        verifyErrorBox(fixture, QStringLiteral("No space left on device"));
        QVERIFY(fixture.folder.entries().isEmpty());
        QVERIFY(QFile::exists(QStringLiteral("/dev/full")));
    }
}

void TestUpdateSave::monitorIsGoneBeforeTheBox()
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

void TestUpdateSave::fileThatIsNotBegunStays()
{
    UpdateFixture fixture;
    // A running program cannot be opened for writing by anybody, the superuser included.
    const QString older = fixture.folder.filePath(QStringLiteral("setup.exe"));
    QVERIFY(QFile::copy(QStringLiteral("/bin/sleep"), older));
    QVERIFY(QFile::setPermissions(older,
                                  QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
    const QByteArray bytes = fixture.folder.read(QStringLiteral("setup.exe"));
    QVERIFY(!bytes.isEmpty());
    QProcess program;
    program.start(older, { QStringLiteral("60") });
    QVERIFY(program.waitForStarted());
    fixture.server.setAnswer("setup.exe", { "content" });
    load(&fixture, "setup.exe");
    QCOMPARE(program.state(), QProcess::Running);
    program.kill();
    QVERIFY(program.waitForFinished());
    verifyErrorBox(fixture, QStringLiteral("Text file busy"));
    QVERIFY(fixture.folder.read(QStringLiteral("setup.exe")) == bytes);
}

void TestUpdateSave::namesOutsideTheFolder_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("folder above") << QByteArray("..");
    QTest::newRow("the folder itself") << QByteArray(".");
    QTest::newRow("path upwards") << QByteArray("../escaped.exe");
    QTest::newRow("path downwards") << QByteArray("below/setup.exe");
    QTest::newRow("path with backslashes") << QByteArray("..\\escaped.exe");
    QTest::newRow("drive") << QByteArray("C:escaped.exe");
}

void TestUpdateSave::namesOutsideTheFolder()
{
    QFETCH(const QByteArray, name);
    UpdateFixture fixture;
    QDir folder(fixture.folder.path());
    QVERIFY(folder.mkdir(QStringLiteral("below")));
    // Whatever the client makes of the name on its way to the server, it gets an answer.
    fixture.server.setAnswerForUnknownPaths({ "content" });
    load(&fixture, name);
    verifyErrorBox(fixture, QStringLiteral("Unzulässiger Dateiname \"%1\"").arg(QString::fromUtf8(name)));
    QCOMPARE(fixture.folder.entries(), QStringList { QStringLiteral("below") });
    QVERIFY(QDir(fixture.folder.filePath(QStringLiteral("below"))).isEmpty());
    QVERIFY(folder.cdUp());
    QVERIFY(!folder.exists(QStringLiteral("escaped.exe")));
}

void TestUpdateSave::failureIsReportedInAutomaticMode()
{
    UpdateFixture fixture;
    QVERIFY(QDir().rmdir(fixture.folder.path()));
    fixture.server.setAnswer("setup.exe", { "content" });
    load(&fixture, "setup.exe", false);
    QCOMPARE(fixture.boxes.seen().constLast().icon, QMessageBox::Critical);
}

void TestUpdateSave::programRunsOnAfterAFailure()
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

QTEST_MAIN(TestUpdateSave)
#include "tst_updatesave.moc"
