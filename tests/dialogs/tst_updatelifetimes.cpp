// SPDX-License-Identifier: MIT
#include "dialogs/dlgdownloadmonitor.h"
#include "dialogs/filedownloader.h"
#include "support/literals.h"
#include "support/updatefixture.h"

#include <QtTest>

// Message boxes run event loops of their own. Whatever goes away inside of one, nothing that is gone may be
// used afterwards; the sanitizers watch.
namespace {

const HttpAnswer held { QByteArray(1000, 'x'), "200 OK", {}, HttpAnswer::BodyLength, 400 };

// What leads to the box in question: "question", "not newer", "incomplete", "no answer", "no installer",
// "not saved" or "saved".
void prepare(UpdateFixture* fixture, const QString& box)
{
    fixture->publish(box == QLatin1String("not newer") ? "0" : "1.05", "setup.sh");
    if (box == QLatin1String("incomplete"))
        fixture->publishText("nothing");
    if (box == QLatin1String("no answer"))
        fixture->server.setAnswer("QorMonitorUpdate.info", { "", "404 Not Found" });
    if (box == QLatin1String("no installer") || box == QLatin1String("not saved")
        || box == QLatin1String("saved"))
        fixture->boxes.answer(QMessageBox::Yes);
    if (box != QLatin1String("no installer"))
        fixture->server.setAnswer("setup.sh", { "#!/bin/sh\necho > \"${0%/*}/mark\"\n" });
    if (box == QLatin1String("not saved"))
        QVERIFY(QFile::link("/dev/full"_s, fixture->folder.filePath("setup.sh"_s)));
}

void addBoxes()
{
    QTest::addColumn<QString>("box");
    for (const char* name :
         { "question", "not newer", "incomplete", "no answer", "no installer", "not saved", "saved" })
        QTest::newRow(name) << QString::fromLatin1(name);
}

} // namespace

class TestUpdateLifetimes : public QObject {
    Q_OBJECT

private slots:
    void dialogDeletedInABox_data() { addBoxes(); }

    void dialogDeletedInABox()
    {
        QFETCH(const QString, box);
        UpdateFixture fixture;
        prepare(&fixture, box);
        bool over = false;
        fixture.boxes.answer([&](QMessageBox* shown) {
            const QPointer<QMessageBox> guard(shown);
            fixture.dialog.reset();
            // The box stays open for a few more rounds of its loop, unless it went with the dialog.
            QTimer::singleShot(50, qApp, [&over, guard] {
                over = true;
                if (guard)
                    MessageBoxes::click(guard,
                                        guard->button(QMessageBox::Yes) ? QMessageBox::Yes : QMessageBox::Ok);
            });
        });
        fixture.dialog->checkForUpdates(true);
        QTRY_VERIFY(over);
        QVERIFY(!fixture.dialog);
        // Nothing goes on without the dialog.
        QTest::qWait(50);
        QCOMPARE(fixture.server.requestCount("setup.sh"), fixture.boxes.count() - 1);
        QVERIFY(fixture.folder.read("mark"_s).isEmpty());
    }

    void dialogDeletedInTheBoxOfACancelledTransfer_data()
    {
        QTest::addColumn<bool>("byClosing");
        QTest::newRow("cancelled in the monitor") << false;
        QTest::newRow("dialog closed") << true;
    }

    void dialogDeletedInTheBoxOfACancelledTransfer()
    {
        QFETCH(const bool, byClosing);
        UpdateFixture fixture;
        fixture.publish("1.05");
        fixture.server.setAnswer("setup.exe", held);
        fixture.boxes.answer(QMessageBox::Yes);
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.server.requestCount("setup.exe"), 1);
        QTRY_VERIFY(fixture.monitor()->isVisible());
        fixture.boxes.answer([&](QMessageBox* box) {
            fixture.dialog.reset();
            QTimer::singleShot(50, box, [box] { MessageBoxes::click(box, QMessageBox::Ok); });
        });
        QPointer<QPushButton> button(byClosing ? fixture.button("pushButtonClose")
                                               : fixture.monitor()->findChild<QPushButton*>());
        // From the event loop, as a user's click comes.
        QTimer::singleShot(0, button, &QPushButton::click);
        QTRY_COMPARE(fixture.boxes.count(), 2);
        QVERIFY(!fixture.dialog);
        QTRY_VERIFY(!QApplication::activeModalWidget());
    }

    void parentDeletedInABox()
    {
        auto* parent = new QWidget;
        UpdateFixture fixture(parent);
        const QPointer<DlgCheckForUpdates> dialog(fixture.dialog.release());
        fixture.publishText("nothing");
        fixture.boxes.answer([&](QMessageBox*) { delete parent; });
        dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.boxes.count(), 1);
        QTRY_VERIFY(!dialog);
    }

    void dialogDeletedDuringATransfer_data()
    {
        QTest::addColumn<bool>("installer");
        QTest::newRow("description") << false;
        QTest::newRow("installer") << true;
    }

    void dialogDeletedDuringATransfer()
    {
        QFETCH(const bool, installer);
        UpdateFixture fixture;
        fixture.publish("1.05");
        fixture.boxes.answer(QMessageBox::Yes);
        fixture.server.setAnswer(installer ? "setup.exe" : "QorMonitorUpdate.info", held);
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.server.requests().size(), installer ? 2 : 1);
        fixture.dialog.reset();
        fixture.server.release();
        QTest::qWait(50);
        QCOMPARE(fixture.boxes.count(), installer ? 1 : 0);
        QVERIFY(fixture.folder.entries().isEmpty());
    }

    void dialogClosedInTheQuestion()
    {
        UpdateFixture fixture;
        fixture.publish("1.05");
        fixture.server.setAnswer("setup.exe", held);
        fixture.dialog->show();
        fixture.boxes.answer([&](QMessageBox* box) {
            fixture.button("pushButtonClose")->click();
            MessageBoxes::click(box, QMessageBox::Yes);
        });
        fixture.dialog->checkForUpdates(true);
        // The answer counts, whatever has become of the window.
        QTRY_COMPARE(fixture.server.requestCount("setup.exe"), 1);
        QVERIFY(fixture.dialog->isHidden());
        QTRY_VERIFY(fixture.monitor()->isVisible());
    }

    void programEndedInABox_data() { addBoxes(); }

    void programEndedInABox()
    {
        QFETCH(const QString, box);
        UpdateFixture fixture;
        prepare(&fixture, box);
        fixture.boxes.answer([](QMessageBox*) { QCoreApplication::quit(); });
        QTimer::singleShot(0, fixture.dialog.get(), [&] { fixture.dialog->checkForUpdates(true); });
        QTimer::singleShot(10000, fixture.dialog.get(), [] { QCoreApplication::exit(99); });
        QCOMPARE(QCoreApplication::exec(), 0);
        // As at the end of the program.
        fixture.dialog.reset();
        QTest::qWait(20);
    }

    void deferredDeletionWaitsForTheReport()
    {
        HttpServer server;
        server.setAnswer("file", held);
        auto* downloader = new FileDownloader(nullptr);
        const QPointer<FileDownloader> guard(downloader);
        bool aliveInTheLoop = false;
        connect(downloader, &FileDownloader::downloadFailed, this, [&] {
            // Asked for inside of a nested loop that goes on for a while.
            QEventLoop loop;
            QTimer::singleShot(0, downloader, &FileDownloader::deleteAfterReport);
            QTimer::singleShot(50, &loop, &QEventLoop::quit);
            loop.exec();
            aliveInTheLoop = !guard.isNull();
        });
        downloader->download(server.url("file"_s));
        QTimer::singleShot(0, downloader, &FileDownloader::cancel);
        QTRY_VERIFY(!guard);
        QVERIFY(aliveInTheLoop);
    }
};

QTEST_MAIN(TestUpdateLifetimes)
#include "tst_updatelifetimes.moc"
