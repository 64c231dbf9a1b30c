// SPDX-License-Identifier: MIT
// What a build does that names a key: only what is signed for it is saved and started.
#include "dialogs/updatesignature.h"
#include "dialogs/updateinfo.h"
#include "support/literals.h"
#include "support/updatefixture.h"

#include <QtTest>

namespace {

// Made by scripts/write-update-info, over version 1.05, the name setup.exe and the content "content".
const auto key = "d782c15086e46952997581242a2c4d531fb86200c66648cf34fa03ea3bb4e4a9"_s;
const auto signature = "3a8ff0a17926871e1eda6ef987d83fb5a3af63261a051a7559c7b88d37cd1592"
                       "6f45b8f5989bb7ba8bc2e6dfebb9d7f3c7854ef9c3edb64c1c26811521db010b"_s;
const auto otherKey = "31aecdecba681687ffbe80195f2284826f612c91d1644d806e8eacbbc0180d8d"_s;

const auto missing = "Die Signatur des Updates fehlt"_s;
const auto wrong = "Die Signatur des Updates ist falsch"_s;

QByteArray signatureLine(const QString& text = signature)
{
    return "mingw32_x64Signature=\"" + text.toLatin1() + "\"\n";
}

} // namespace

class TestUpdateSignature : public QObject {
    Q_OBJECT

private slots:
    void signatures_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("publicKey");
        QTest::addColumn<bool>("good");
        const auto row
            = [](const char* name, const QByteArray& bytes, const QString& text, const QString& publicKey,
                 bool good) { QTest::newRow(name) << bytes << text << publicKey << good; };
        const QByteArray bytes = signedUpdateBytes("1.05"_s, "setup.exe"_s, "content");
        row("good", bytes, signature, key, true);
        row("in capitals", bytes, signature.toUpper(), key.toUpper(), true);
        row("another version", signedUpdateBytes("1.06"_s, "setup.exe"_s, "content"), signature, key, false);
        row("another name", signedUpdateBytes("1.05"_s, "setup.com"_s, "content"), signature, key, false);
        row("another content", signedUpdateBytes("1.05"_s, "setup.exe"_s, "Content"), signature, key, false);
        row("another key", bytes, signature, otherKey, false);
        row("empty key", bytes, signature, {}, false);
        row("short key", bytes, signature, key.chopped(2), false);
        row("long key", bytes, signature, key + "00"_s, false);
        row("weak key", bytes, QString(128, QLatin1Char('0')), QString(64, QLatin1Char('0')), false);
        row("empty", bytes, {}, key, false);
        row("short", bytes, signature.chopped(2), key, false);
        row("long", bytes, signature + "00"_s, key, false);
        row("huge", bytes, signature.repeated(5000), key, false);
        row("changed", bytes, "0"_s + signature.mid(1), key, false);
        row("no digits", bytes, QString(128, QLatin1Char('x')), key, false);
    }

    void signatures()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, text);
        QFETCH(const QString, publicKey);
        QTEST(isSigned(bytes, text, publicKey), "good");
    }

    void signedInstallerIsSaved()
    {
        UpdateFixture fixture;
        fixture.dialog->setUpdateKey(key);
        fixture.offer(HttpAnswer::ok("content"));
        fixture.publishText(updateDescription("1.05", "setup.exe") + signatureLine());
        // Ends before it would be started.
        QCOMPARE(fixture.runProgram(true, [](QMessageBox*) { QCoreApplication::quit(); }), 0);
        QCOMPARE(fixture.boxes.lastText(), "Download erfolgreich abgeschlossen!"_s);
        QCOMPARE(fixture.folder.read("setup.exe"_s), QByteArray("content"));
        QCOMPARE(fixture.server.requests().size(), 2);
    }

    void otherInstallersAreRefused_data()
    {
        QTest::addColumn<QByteArray>("description");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("reason");
        const QByteArray description = updateDescription("1.05", "setup.exe");
        QTest::newRow("no signature") << description << QByteArray("content") << missing;
        QTest::newRow("empty signature")
            << description + signatureLine({}) << QByteArray("content") << missing;
        QTest::newRow("another signature")
            << description + signatureLine(QString(signature).replace(0, 1, "0"_s)) << QByteArray("content")
            << wrong;
        QTest::newRow("another content") << description + signatureLine() << QByteArray("Content") << wrong;
        QTest::newRow("no content") << description + signatureLine() << QByteArray() << wrong;
        // An older installer under a higher number.
        QTest::newRow("another version")
            << updateDescription("1.06", "setup.exe") + signatureLine() << QByteArray("content") << wrong;
        QTest::newRow("another spelling of the version")
            << updateDescription("1.050", "setup.exe") + signatureLine() << QByteArray("content") << wrong;
        QTest::newRow("another name")
            << updateDescription("1.05", "setup.com") + signatureLine() << QByteArray("content") << wrong;
    }

    void otherInstallersAreRefused()
    {
        QFETCH(const QByteArray, description);
        QFETCH(const QByteArray, content);
        QFETCH(const QString, reason);
        UpdateFixture fixture;
        fixture.dialog->setUpdateKey(key);
        fixture.server.setAnswerForUnknownPaths(HttpAnswer::ok(content));
        fixture.publishText(description);
        fixture.boxes.answer(QMessageBox::Yes);
        constexpr int stillRunning = 42;
        const auto answer = [&](QMessageBox* box) {
            MessageBoxes::click(box, QMessageBox::Ok);
            QTimer::singleShot(100, fixture.dialog.get(), [] { QCoreApplication::exit(stillRunning); });
        };
        QCOMPARE(fixture.runProgram(true, answer), stillRunning);
        fixture.boxes.compareLast(QMessageBox::Critical, "Anwendung aktualisieren"_s,
                                  "Fehler beim Speichern der Datei\n"_s + reason + "!\nGrund: %2."_s,
                                  fixture.dialog.get());
        QCOMPARE(fixture.boxes.count(), 2);
        QVERIFY(fixture.folder.entries().isEmpty());
        QVERIFY(!fixture.isBusy());
    }

    void refusedInstallerLeavesTheFileOfItsName()
    {
        UpdateFixture fixture;
        fixture.dialog->setUpdateKey(key);
        QFile old(fixture.folder.filePath("setup.exe"_s));
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("old");
        old.close();
        fixture.offer(HttpAnswer::ok("content"));
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.boxes.count(), 2);
        QCOMPARE(fixture.folder.read("setup.exe"_s), QByteArray("old"));
    }

    void withoutAKeySignaturesMeanNothing()
    {
        UpdateFixture fixture;
        fixture.offer(HttpAnswer::ok("Content"));
        fixture.publishText(updateDescription("1.05", "setup.exe") + signatureLine("nonsense"_s));
        QCOMPARE(fixture.runProgram(true, [](QMessageBox*) { QCoreApplication::quit(); }), 0);
        QCOMPARE(fixture.folder.read("setup.exe"_s), QByteArray("Content"));
    }
};

QTEST_MAIN(TestUpdateSignature)
#include "tst_updatesignature.moc"
