// SPDX-License-Identifier: MIT
// The second phase of an update: how the installer's transfer is shown and ended, and what happens when the
// installer cannot be saved.
#include "dialogs/dlgdownloadmonitor.h"
#include "dialogs/filedownloader.h"
#include "support/certificates.h"
#include "support/literals.h"
#include "support/platform.h"
#include "support/updatefixture.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QProgressBar>
#include <QtTest>

using Action = std::function<void(UpdateFixture&)>;
using FolderAction = std::function<void(const DownloadFolder&)>;
Q_DECLARE_METATYPE(Action)
Q_DECLARE_METATYPE(FolderAction)

namespace {

const auto notLoaded = "Fehler beim Download der Update Datei\nsetup.exe!"_s;

// Offers an installer and goes as far as its transfer, of which a part is held back.
void startInstaller(UpdateFixture& fixture)
{
    fixture.offer(HttpAnswer::ok(QByteArray(1000, 'x')).held(400));
    fixture.dialog->checkForUpdates(true);
    QTRY_COMPARE(fixture.server.requestCount("setup.exe"), 1);
    QTRY_VERIFY(fixture.monitor()->isVisible());
}

QPushButton* cancelButton(const UpdateFixture& fixture)
{
    return fixture.monitor()->findChild<QPushButton*>();
}

// Offers an installer and goes on to the box about its saving.
void loadInstaller(UpdateFixture& fixture, const QByteArray& content = "content",
                   const QByteArray& fileName = "setup.exe")
{
    fixture.offer(HttpAnswer::ok(content), fileName);
    fixture.dialog->checkForUpdates(true);
    QTRY_COMPARE(fixture.boxes.count(), 2);
}

void compareSaveError(const UpdateFixture& fixture, const QString& reason)
{
    fixture.boxes.compareLast(QMessageBox::Critical, "Anwendung aktualisieren"_s,
                              "Fehler beim Speichern der Datei\n"_s + reason + "!\nGrund: %2."_s,
                              fixture.dialog.get());
}

} // namespace

class TestUpdateDownload : public QObject {
    Q_OBJECT

private slots:
    void yesLoadsTheInstaller()
    {
        UpdateFixture fixture;
        startInstaller(fixture);
        const auto* file = fixture.monitor()->findChild<QLineEdit*>("lineEditFile"_s);
        const auto* folder = fixture.monitor()->findChild<QLineEdit*>("lineEditSaveTo"_s);
        const auto* bar = fixture.monitor()->findChild<QProgressBar*>();
        QCOMPARE(file->text(), "setup.exe"_s);
        QCOMPARE(folder->text(), fixture.folder.path());
        // Qt reports progress every 100 ms at most, and only when something arrives.
        fixture.server.releaseSlowly();
        QTRY_VERIFY(bar->value() > 400);
        QCOMPARE(bar->maximum(), 1000);
        QCOMPARE(fixture.server.requests().size(), 2);
        QCOMPARE(fixture.boxes.count(), 1);
        QVERIFY(fixture.folder.entries().isEmpty());
    }

    void secondCheckDuringTheTransferChangesNothing()
    {
        QWidget parent;
        UpdateFixture fixture(&parent);
        startInstaller(fixture);
        // The button can be clicked while the installer is loading.
        QTRY_VERIFY(!fixture.isBusy());
        const QNetworkReply* reply = parent.findChild<FileDownloader*>()->currentReply();
        QVERIFY(reply);
        fixture.button("pushButtonCheckNow")->click();
        fixture.dialog->checkForUpdates(false);
        QCOMPARE(parent.findChild<FileDownloader*>()->currentReply(), reply);
        QVERIFY(fixture.monitor()->isVisible());
        fixture.server.cut();
        QTRY_COMPARE(fixture.boxes.count(), 2);
        QCOMPARE(fixture.boxes.lastText(), notLoaded);
        QCOMPARE(fixture.server.requestCount("QorMonitorUpdate.info"), 1);
    }

    void earlyEndIsReported_data()
    {
        QTest::addColumn<Action>("end");
        QTest::addColumn<bool>("dialogStays");
        const auto row = [](const char* name, const Action& end, bool dialogStays) {
            QTest::newRow(name) << end << dialogStays;
        };
        row(
            "connection is cut", [](UpdateFixture& fixture) { fixture.server.cut(); }, true);
        row(
            "cancelled in the monitor",
            [](UpdateFixture& fixture) { QTest::mouseClick(cancelButton(fixture), Qt::LeftButton); }, true);
        row(
            "update dialog is closed",
            [](UpdateFixture& fixture) { fixture.button("pushButtonClose")->click(); }, false);
    }

    void earlyEndIsReported()
    {
        QFETCH(const Action, end);
        QFETCH(const bool, dialogStays);
        UpdateFixture fixture;
        fixture.dialog->show();
        startInstaller(fixture);
        end(fixture);
        QTRY_COMPARE(fixture.boxes.count(), 2);
        fixture.boxes.compareLast(QMessageBox::Critical, "QorMonitor"_s, notLoaded, nullptr);
        QVERIFY(fixture.monitor()->isHidden());
        QCOMPARE(fixture.dialog->isVisible(), dialogStays);
        QVERIFY(!fixture.isBusy());
        QVERIFY(fixture.folder.entries().isEmpty());
    }

    void cancelTwiceReportsOnce()
    {
        UpdateFixture fixture;
        startInstaller(fixture);
        // Once more while the first is being reported, and by the other button, too.
        fixture.boxes.answer([&](QMessageBox* box) {
            cancelButton(fixture)->click();
            fixture.button("pushButtonClose")->click();
            MessageBoxes::click(box, QMessageBox::Ok);
        });
        cancelButton(fixture)->click();
        cancelButton(fixture)->click();
        QCOMPARE(fixture.boxes.count(), 2);
        QVERIFY(!fixture.isBusy());
    }

    void sickServerIsReported_data()
    {
        QTest::addColumn<HttpAnswer>("installer");
        QTest::addColumn<int>("timeout");
        QTest::newRow("stalls") << HttpAnswer::ok(QByteArray(1000, 'x')).held(400) << 1000;
        QTest::newRow("announces more than 1 GiB") << HttpAnswer::ok().claiming((1 << 30) + 1) << 60000;
    }

    void sickServerIsReported()
    {
        QFETCH(const HttpAnswer, installer);
        QFETCH(const int, timeout);
        QWidget parent;
        UpdateFixture fixture(&parent);
        parent.findChild<FileDownloader*>()->setTimeout(timeout);
        fixture.offer(installer);
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.boxes.count(), 2);
        fixture.boxes.compareLast(QMessageBox::Critical, "QorMonitor"_s, notLoaded, &parent);
        QVERIFY(fixture.monitor()->isHidden());
        QVERIFY(fixture.folder.entries().isEmpty());
        QVERIFY(!fixture.isBusy());
        fixture.check();
    }

    void nextCheckStartsWithTheDescription()
    {
        UpdateFixture fixture;
        startInstaller(fixture);
        cancelButton(fixture)->click();
        QCOMPARE(fixture.boxes.count(), 2);
        fixture.publishText("nothing");
        fixture.check();
        QCOMPARE(fixture.boxes.count(), 3);
        QCOMPARE(fixture.boxes.lastText(), "Keine Version von QorMonitor verfügbar!"_s);
        QVERIFY(fixture.monitor()->isHidden());
    }

    void phaseStaysUntilTheNextDescription()
    {
        UpdateFixture fixture;
        startInstaller(fixture);
        cancelButton(fixture)->click();
        // A check that does not get as far as its description.
        fixture.dialog->findChild<QCheckBox*>()->click();
        fixture.dialog->checkForUpdates(false);
        QVERIFY(QMetaObject::invokeMethod(fixture.dialog.get(), "processDownloadFailed"));
        QCOMPARE(fixture.boxes.count(), 3);
        QCOMPARE(fixture.boxes.lastText(), notLoaded);
    }

    void overAnEncryptedConnection()
    {
        const QSslConfiguration security = Certificates::selfSigned();
        QVERIFY(!security.isNull());
        if (!Platform::servesEncrypted())
            QSKIP("Wine's Schannel finds no certificate for a server; tests/windows tries TLS against one of "
                  "Linux.");
        UpdateFixture fixture(nullptr, security);
        fixture.publish("2");
        fixture.check(false);
        QCOMPARE(fixture.boxes.last().icon, QMessageBox::Question);
    }

    void failingFolders_data()
    {
        QTest::addColumn<FolderAction>("prepare");
        QTest::addColumn<int>("size");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QStringList>("left");
        const auto row
            = [](const char* name, const FolderAction& prepare, int size, const QString& reason,
                 const QStringList& left) { QTest::newRow(name) << prepare << size << reason << left; };
        row("folder is missing", [](const DownloadFolder& folder) { QVERIFY(QDir().rmdir(folder.path())); },
            9, Platform::noSuchFolder(), {});
        // Cannot be opened for writing by anybody, the superuser included.
        row("name is a folder",
            [](const DownloadFolder& folder) { QVERIFY(QDir().mkdir(folder.filePath("setup.exe"_s))); }, 9,
            Platform::isAFolder(), { "setup.exe"_s });
        const auto fillDisk = [](const DownloadFolder& folder) {
            QVERIFY(QFile::link("/dev/full"_s, folder.filePath("setup.exe"_s)));
        };
        if (!Platform::hasFullDisk())
            return;
        row("disk is full", fillDisk, 1000000, "No space left on device"_s, {});
        row("disk is full for what was buffered", fillDisk, 100, "No space left on device"_s, {});
    }

    void failingFolders()
    {
        QFETCH(const FolderAction, prepare);
        QFETCH(const int, size);
        QFETCH(const QString, reason);
        QFETCH(const QStringList, left);
        UpdateFixture fixture;
        prepare(fixture.folder);
        loadInstaller(fixture, QByteArray(size, 'x'));
        compareSaveError(fixture, reason);
        QCOMPARE(fixture.folder.entries(), left);
        // The link was removed, but not its target.
        QCOMPARE(QFile::exists("/dev/full"_s), Platform::hasFullDisk());
    }

    void fileThatIsNotBegunStays()
    {
        if (!Platform::hasFullDisk())
            QSKIP("Runs Unix's sleep; a file that cannot be opened is tried there by a folder of its name.");
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
        loadInstaller(fixture);
        QCOMPARE(program.state(), QProcess::Running);
        program.kill();
        QVERIFY(program.waitForFinished());
        compareSaveError(fixture, "Text file busy"_s);
        QVERIFY(fixture.folder.read("setup.exe"_s) == bytes);
    }

    void namesOutsideTheFolder_data()
    {
        QTest::addColumn<QByteArray>("name");
        for (const char* name :
             { "..", ".", "../escaped.exe", "below/setup.exe", "..\\escaped.exe", "C:escaped.exe" })
            QTest::newRow(name) << QByteArray(name);
    }

    void namesOutsideTheFolder()
    {
        QFETCH(const QByteArray, name);
        UpdateFixture fixture;
        QDir folder(fixture.folder.path());
        QVERIFY(folder.mkdir("below"_s));
        // Whatever the client makes of the name on its way to the server, it gets an answer.
        fixture.server.setAnswerForUnknownPaths(HttpAnswer::ok("content"));
        loadInstaller(fixture, "content", name);
        compareSaveError(fixture, "Unzulässiger Dateiname \"%1\""_s.arg(QString::fromUtf8(name)));
        QCOMPARE(fixture.folder.entries(), QStringList { "below"_s });
        QVERIFY(QDir(fixture.folder.filePath("below"_s)).isEmpty());
        QVERIFY(folder.cdUp());
        QVERIFY(!folder.exists("escaped.exe"_s));
    }

    void programRunsOnAfterASaveError()
    {
        UpdateFixture fixture;
        QVERIFY(QDir().rmdir(fixture.folder.path()));
        fixture.offer(HttpAnswer::ok("content"));
        constexpr int stillRunning = 42;
        const auto answer = [&](QMessageBox* box) {
            MessageBoxes::click(box, QMessageBox::Ok);
            QTimer::singleShot(200, fixture.dialog.get(), [] { QCoreApplication::exit(stillRunning); });
        };
        QCOMPARE(fixture.runProgram(true, answer), stillRunning);
        QCOMPARE(fixture.boxes.count(), 2);
        QVERIFY(!fixture.isBusy());
    }
};

QTEST_MAIN(TestUpdateDownload)
#include "tst_updatedownload.moc"
