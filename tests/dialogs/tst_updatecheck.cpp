// SPDX-License-Identifier: MIT
#include "support/literals.h"
#include "support/updatefixture.h"

#include <QCheckBox>
#include <QSettings>
#include <QtTest>

// The description phase of a check: what is asked, what is said, and when nothing is said.
namespace {
const auto question = QStringLiteral("Eine neue Version %1 von QorMonitor ist verfügbar.\n"
                                     "Möchten Sie diese Version herunterladen?");
const auto notNewer = "Keine neue Version von QorMonitor verfügbar!"_s;
const auto noVersion = "Keine Version von QorMonitor verfügbar!"_s;
const auto noAnswer = QStringLiteral("Konnte keine Informationen vom Server herunterladen\n"
                                     "oder Server antwortet nicht!");

// Runs one check until it is over, its boxes answered.
void check(const UpdateFixture& fixture, bool interactive)
{
    const int before = fixture.server.requests().size();
    fixture.dialog->checkForUpdates(interactive);
    QVERIFY(fixture.isBusy());
    QTRY_VERIFY(!fixture.isBusy());
    QCOMPARE(fixture.server.requests().size(), before + 1);
}
} // namespace

class TestUpdateCheck : public QObject {
    Q_OBJECT

private slots:
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
        // The compiled-in version is 1.045 and does not count.
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
        check(fixture, true);
        QCOMPARE(fixture.boxes.count(), 1);
        QCOMPARE(fixture.boxes.lastText(), newer ? question.arg(QString::fromLatin1(remote)) : notNewer);
        // Never written by the program.
        QCOMPARE(QSettings().value("VersionNo"_s).isValid(), installed.isValid());
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
        check(fixture, true);
        QCOMPARE(fixture.boxes.count(), 1);
        QCOMPARE(fixture.boxes.lastText(), complete ? question.arg(9) : noVersion);
    }

    void questionIsAsked_data()
    {
        QTest::addColumn<bool>("interactive");
        QTest::addColumn<bool>("withParent");
        QTest::newRow("on request") << true << false;
        QTest::newRow("automatically") << false << false;
        QTest::newRow("on request, with a parent") << true << true;
    }

    void questionIsAsked()
    {
        QFETCH(const bool, interactive);
        QFETCH(const bool, withParent);
        QWidget parent;
        UpdateFixture fixture(withParent ? &parent : nullptr);
        fixture.publish("1.05");
        fixture.install("1.045"_s);
        check(fixture, interactive);
        QCOMPARE(fixture.boxes.count(), 1);
        const MessageBoxes::Box box = fixture.boxes.seen().constFirst();
        QCOMPARE(box.icon, QMessageBox::Question);
        QCOMPARE(box.title, "QorMonitor"_s);
        QCOMPARE(box.text, question.arg("1.05"_s));
        QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No);
        QVERIFY(!box.defaultButton);
        QCOMPARE(box.parent, withParent ? &parent : nullptr);
        // The answer was No: nothing more happens.
        QCOMPARE(fixture.server.requests().size(), 1);
        QVERIFY(fixture.folder.entries().isEmpty());
    }

    void boxes_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        QTest::addColumn<QMessageBox::Icon>("icon");
        QTest::addColumn<QString>("text");
        const HttpAnswer old { "VersionNo=\"1\" VersionDate=\"d\" mingw32_x64FileName=\"f\"" };
        QTest::newRow("not newer") << old << QMessageBox::Information << notNewer;
        QTest::newRow("incomplete") << HttpAnswer { "?" } << QMessageBox::Information << noVersion;
        QTest::newRow("error") << HttpAnswer { old.body, "404 Not Found" } << QMessageBox::Warning
                               << noAnswer;
        QTest::newRow("redirect") << HttpAnswer { "", "301 Moved", { "Location: /QorMonitorUpdate/f" } }
                                  << QMessageBox::Information << noVersion;
    }

    void boxes()
    {
        QFETCH(const HttpAnswer, answer);
        QFETCH(const QMessageBox::Icon, icon);
        QFETCH(const QString, text);
        QWidget parent;
        UpdateFixture fixture(&parent);
        fixture.install("1"_s);
        fixture.server.setAnswer("QorMonitorUpdate.info", answer);
        check(fixture, true);
        QCOMPARE(fixture.boxes.count(), 1);
        const MessageBoxes::Box box = fixture.boxes.seen().constFirst();
        QCOMPARE(box.icon, icon);
        QCOMPARE(box.title, "QorMonitor"_s);
        QCOMPARE(box.text, text);
        QCOMPARE(box.buttons, QMessageBox::Ok);
        QCOMPARE(box.defaultButton, QMessageBox::Ok);
        QCOMPARE(box.parent, &parent);
    }

    void automaticCheckIsSilent_data() { boxes_data(); }

    void automaticCheckIsSilent()
    {
        QFETCH(const HttpAnswer, answer);
        UpdateFixture fixture;
        fixture.install("1"_s);
        fixture.server.setAnswer("QorMonitorUpdate.info", answer);
        check(fixture, false);
        QCOMPARE(fixture.boxes.count(), 0);
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

    void buttonIsDisabledDuringACheck()
    {
        UpdateFixture fixture;
        fixture.server.setAnswer("QorMonitorUpdate.info",
                                 { "nothing", "200 OK", {}, HttpAnswer::BodyLength, 0 });
        fixture.button("pushButtonCheckNow")->click();
        QVERIFY(!fixture.button("pushButtonCheckNow")->isEnabled());
        QTRY_COMPARE(fixture.server.requests().size(), 1);
        // The slot looks itself, too.
        QVERIFY(QMetaObject::invokeMethod(fixture.dialog.get(), "on_pushButtonCheckNow_clicked"));
        fixture.dialog->checkForUpdates(true);
        fixture.server.release();
        QTRY_VERIFY(!fixture.isBusy());
        QVERIFY(fixture.button("pushButtonCheckNow")->isEnabled());
        QCOMPARE(fixture.server.requests().size(), 1);
        QCOMPARE(fixture.boxes.count(), 1);
    }

    void modeIsTakenFromTheLastCheck()
    {
        UpdateFixture fixture;
        fixture.publishText("nothing");
        check(fixture, true);
        QCOMPARE(fixture.boxes.count(), 1);
        check(fixture, false);
        QCOMPARE(fixture.boxes.count(), 1);
        check(fixture, true);
        QCOMPARE(fixture.boxes.count(), 2);
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
        check(fixture, true);
        QCOMPARE(fixture.boxes.count(), 1);
        // It is possible again afterwards.
        check(fixture, true);
        QCOMPARE(fixture.boxes.count(), 2);
    }
};

QTEST_MAIN(TestUpdateCheck)
#include "tst_updatecheck.moc"
