// SPDX-License-Identifier: MIT
#include "dialogs/updateinfo.h"
#include "support/literals.h"

#include <QCryptographicHash>
#include <QtTest>

class TestUpdateInfo : public QObject {
    Q_OBJECT

private slots:
    void values_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("versionNo");
        QTest::addColumn<QString>("versionDate");
        QTest::addColumn<QString>("fileName");
        const auto row
            = [](const char* name, const char* text, const char* no, const char* date, const char* file) {
                  QTest::newRow(name) << QString::fromUtf8(text) << QString::fromUtf8(no)
                                      << QString::fromUtf8(date) << QString::fromUtf8(file);
              };
        row("complete", "VersionNo=\"1.05\"\nVersionDate=\"05. Mar 2026\"\nmingw32_x64FileName=\"a.exe\"\n",
            "1.05", "05. Mar 2026", "a.exe");
        row("with a signature",
            "mingw32_x64Signature=\"s\" VersionNo=\"2\" VersionDate=\"d\" mingw32_x64FileName=\"a.exe\"", "2",
            "d", "a.exe");
        row("nothing", "", "", "", "");
        row("on one line, in any order", "mingw32_x64FileName=\"a.exe\" VersionDate=\"d\";VersionNo=\"2\"",
            "2", "d", "a.exe");
        row("inside other text", "<x>fooVersionNo=\"2\"</x> barVersionDate=\"d\"", "2", "d", "");
        row("first match wins", "VersionNo=\"1\" VersionNo=\"2\"", "1", "", "");
        row("first match that is no match is skipped", "VersionNo=1 VersionNo=\"2\"", "2", "", "");
        row("only another platform", "linux_x64FileName=\"a.run\"", "", "", "");
        row("another platform before", "win64FileName=\"b\" mingw32_x64FileName=\"a\"", "", "", "a");
        row("platform as an ending", "other_mingw32_x64FileName=\"a\"", "", "", "a");
        row("case counts", "versionNo=\"1\" VERSIONDATE=\"d\" mingw32_X64FileName=\"a\"", "", "", "");
        row("blank before the equals sign", "VersionNo =\"1\"", "", "", "");
        row("blank after the equals sign", "VersionNo= \"1\"", "", "", "");
        row("single quotes", "VersionNo='1'", "", "", "");
        row("unclosed value", "VersionNo=\"1", "", "", "");
        row("empty value", "VersionNo=\"\"", "", "", "");
        row("empty value before a full one", "VersionNo=\"\" VersionNo=\"3\"", "3", "", "");
        row("blank value", "VersionNo=\" \"", " ", "", "");
        row("value over two lines", "VersionNo=\"1\n2\"", "1\n2", "", "");
        row("byte order mark", "\xEF\xBB\xBFVersionNo=\"1\"", "1", "", "");
        row("carriage returns", "VersionNo=\"1\"\r\nVersionDate=\"d\"\r\n", "1", "d", "");
        row("umlauts", "mingw32_x64FileName=\"Größe.exe\"", "", "", "Größe.exe");
        row("pattern characters in a value", "VersionNo=\"(.*)[a]\"", "(.*)[a]", "", "");
    }

    void values()
    {
        QFETCH(const QString, text);
        QString versionNo;
        QString versionDate;
        QString fileName;
        parseUpdateInfo(text, "mingw32_x64"_s, versionNo, versionDate, fileName);
        QTEST(versionNo, "versionNo");
        QTEST(versionDate, "versionDate");
        QTEST(fileName, "fileName");
    }

    void clearsWhatIsNotFound()
    {
        QString versionNo = "old"_s;
        QString versionDate = versionNo;
        QString fileName = versionNo;
        parseUpdateInfo("nothing"_s, "mingw32_x64"_s, versionNo, versionDate, fileName);
        QCOMPARE(versionNo + versionDate + fileName, QString());
    }

    void signatures_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("signature");
        QTest::newRow("none") << "mingw32_x64FileName=\"a.exe\""_s << QString();
        QTest::newRow("at the end") << "VersionNo=\"1\"\nmingw32_x64Signature=\"a1\"\n"_s
                                    << "a1"_s;
        QTest::newRow("first match wins") << "mingw32_x64Signature=\"a1\" mingw32_x64Signature=\"b2\""_s
                                          << "a1"_s;
        QTest::newRow("another platform") << "linux_x64Signature=\"a1\""_s << QString();
    }

    void signatures()
    {
        QFETCH(const QString, text);
        QTEST(parseUpdateSignature(text, "mingw32_x64"_s), "signature");
    }

    void signedBytesTellTheFieldsApart()
    {
        const QByteArray bytes = signedUpdateBytes("1.05"_s, "Größe.exe"_s, "content");
        const QByteArray hash = QCryptographicHash::hash("content", QCryptographicHash::Sha512);
        QCOMPARE(bytes, "QorMonitor update 1\n4:1.05,11:Größe.exe,64:" + hash + ',');
    }

    void hugeText()
    {
        const QString filler = "VersionNo= "_s.repeated(500000);
        const QString longName(1000000, QLatin1Char('n'));
        QString versionNo;
        QString versionDate;
        QString fileName;
        QElapsedTimer elapsed;
        elapsed.start();
        parseUpdateInfo(filler
                            + "VersionNo=\"7\" VersionDate=\"d\" mingw32_x64FileName=\"%1\""_s.arg(longName),
                        "mingw32_x64"_s, versionNo, versionDate, fileName);
        QCOMPARE(versionNo, "7"_s);
        QCOMPARE(versionDate, "d"_s);
        QCOMPARE(fileName, longName);
        // Time that grows with the square of the length would take minutes.
        QVERIFY2(elapsed.elapsed() < 20000, qPrintable(QString::number(elapsed.elapsed())));
    }
};

QTEST_GUILESS_MAIN(TestUpdateInfo)
#include "tst_updateinfo.moc"
