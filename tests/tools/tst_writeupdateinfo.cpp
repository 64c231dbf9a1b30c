// SPDX-License-Identifier: MIT
#include "dialogs/updateinfo.h"

#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

// Runs the tool that writes update descriptions and reads what it wrote as the program does.
class TestWriteUpdateInfo : public QObject {
    Q_OBJECT

private slots:
    void programReadsWhatIsWritten_data();
    void programReadsWhatIsWritten();
    void writesBesideTheInstallerByDefault();
    void todayIsTheDefaultDate();
    void badArguments_data();
    void badArguments();
    void installerIsNotOverwritten_data();
    void installerIsNotOverwritten();
    void failedRunKeepsTheOldDescription();
    void folderThatCannotBeWritten();
};

namespace {

const auto infoName = QStringLiteral("QorMonitorUpdate.info");

struct Result {
    int code = -1;
    QByteArray error;
};

Result runTool(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(WRITE_UPDATE_INFO), arguments);
    if (!process.waitForFinished(20000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return { process.exitCode(), process.readAllStandardError() };
}

QByteArray read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

bool touch(const QString& path)
{
    return write(path, {});
}

struct Info {
    explicit Info(const QByteArray& bytes)
    {
        parseUpdateInfo(QString::fromUtf8(bytes), QStringLiteral("mingw32_x64"), versionNo, versionDate,
                        fileName);
    }
    QString versionNo;
    QString versionDate;
    QString fileName;
};

} // namespace

void TestWriteUpdateInfo::programReadsWhatIsWritten_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << QStringLiteral("1.05") << QStringLiteral("setup-1.05.exe");
    QTest::newRow("whole number") << QStringLiteral("2") << QStringLiteral("setup.exe");
    QTest::newRow("blanks and umlauts") << QStringLiteral("1.10") << QStringLiteral("Größe 2.exe");
}

void TestWriteUpdateInfo::programReadsWhatIsWritten()
{
    QFETCH(const QString, version);
    QFETCH(const QString, name);
    const QTemporaryDir directory;
    QVERIFY(touch(directory.filePath(name)));
    const QString output = directory.filePath(QStringLiteral("other.info"));
    const Result result = runTool({ QStringLiteral("--version"), version, QStringLiteral("--date"),
                                    QStringLiteral("05. Mar 2026"), QStringLiteral("--output"), output,
                                    directory.filePath(name) });
    QVERIFY2(result.code == 0, result.error.constData());
    const Info info(read(output));
    QCOMPARE(info.versionNo, version);
    QCOMPARE(info.versionDate, QStringLiteral("05. Mar 2026"));
    QCOMPARE(info.fileName, name);
    QVERIFY(!QFile::exists(directory.filePath(infoName)));
}

void TestWriteUpdateInfo::writesBesideTheInstallerByDefault()
{
    const QTemporaryDir directory;
    const QString installer = directory.filePath(QStringLiteral("setup.exe"));
    QVERIFY(touch(installer));
    QCOMPARE(runTool({ QStringLiteral("--version"), QStringLiteral("1.05"), installer }).code, 0);
    QCOMPARE(Info(read(directory.filePath(infoName))).fileName, QStringLiteral("setup.exe"));
    // The next release replaces it.
    QCOMPARE(runTool({ QStringLiteral("--version"), QStringLiteral("1.06"), installer }).code, 0);
    QCOMPARE(Info(read(directory.filePath(infoName))).versionNo, QStringLiteral("1.06"));
}

void TestWriteUpdateInfo::todayIsTheDefaultDate()
{
    const QTemporaryDir directory;
    const QString installer = directory.filePath(QStringLiteral("setup.exe"));
    QVERIFY(touch(installer));
    const auto today
        = [] { return QLocale::c().toString(QDate::currentDate(), QStringLiteral("dd. MMM yyyy")); };
    const QString before = today();
    QCOMPARE(runTool({ QStringLiteral("--version"), QStringLiteral("1.05"), installer }).code, 0);
    const QString date = Info(read(directory.filePath(infoName))).versionDate;
    QVERIFY2(date == before || date == today(), qPrintable(date));
}

void TestWriteUpdateInfo::badArguments_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("name");
    const auto version = [](const char* text) {
        return QStringList { QStringLiteral("--version"), QString::fromLatin1(text) };
    };
    const auto date = [&version](const char* text) {
        return version("1.05") + QStringList { QStringLiteral("--date"), QString::fromLatin1(text) };
    };
    const auto good = QStringLiteral("setup.exe");
    QTest::newRow("no version") << QStringList() << good;
    QTest::newRow("version is a word") << version("next") << good;
    QTest::newRow("version with three parts") << version("1.0.5") << good;
    QTest::newRow("version with a comma") << version("1,05") << good;
    QTest::newRow("version zero") << version("0.0") << good;
    QTest::newRow("version not finite") << version("inf") << good;
    // Digits to this tool, but not to the program.
    QTest::newRow("version in Arabic digits")
        << QStringList { QStringLiteral("--version"), QStringLiteral("\u0661.\u0662") } << good;
    QTest::newRow("date in Arabic digits")
        << version("1.05") + QStringList { QStringLiteral("--date"), QStringLiteral("\u06605. Mar 2026") }
        << good;
    QTest::newRow("date in another form") << date("2026-03-05") << good;
    QTest::newRow("date that does not exist") << date("31. Feb 2026") << good;
    QTest::newRow("month that does not exist") << date("05. Foo 2026") << good;
    QTest::newRow("month in German") << date("05. Okt 2026") << good;
    QTest::newRow("installer is missing") << version("1.05") << QStringLiteral("missing/setup.exe");
    QTest::newRow("installer is a folder") << version("1.05") << QStringLiteral(".");
    QTest::newRow("quote in the name") << version("1.05") << QStringLiteral("a\"b.exe");
    QTest::newRow("backslash in the name") << version("1.05") << QStringLiteral("a\\b.exe");
    QTest::newRow("colon in the name") << version("1.05") << QStringLiteral("a:b.exe");
    QTest::newRow("line break in the name") << version("1.05") << QStringLiteral("a\nb.exe");
    QTest::newRow("question mark in the name") << version("1.05") << QStringLiteral("a?b.exe");
    QTest::newRow("percent sign in the name") << version("1.05") << QStringLiteral("a%20b.exe");
    QTest::newRow("hash sign in the name") << version("1.05") << QStringLiteral("a#b.exe");
}

void TestWriteUpdateInfo::badArguments()
{
    QFETCH(const QStringList, options);
    QFETCH(const QString, name);
    const QTemporaryDir directory;
    const QString output = directory.filePath(infoName);
    const QString installer = directory.filePath(name);
    touch(installer);
    const Result result = runTool(options + QStringList { QStringLiteral("--output"), output, installer });
    QCOMPARE(result.code, 2);
    QVERIFY2(result.error.contains("error:"), result.error.constData());
    QVERIFY(!QFile::exists(output));
}

void TestWriteUpdateInfo::installerIsNotOverwritten_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("output");
    QTest::newRow("installer named as the output")
        << QStringLiteral("setup.exe") << QStringLiteral("setup.exe");
    QTest::newRow("link to the installer") << QStringLiteral("setup.exe") << QStringLiteral("link.info");
    QTest::newRow("description given as the installer") << infoName << QString();
}

void TestWriteUpdateInfo::installerIsNotOverwritten()
{
    QFETCH(const QString, name);
    QFETCH(const QString, output);
    const QTemporaryDir directory;
    const QString installer = directory.filePath(name);
    QVERIFY(write(installer, "installer"));
    QVERIFY(QFile::link(installer, directory.filePath(QStringLiteral("link.info"))));
    QStringList arguments { QStringLiteral("--version"), QStringLiteral("1.05"), installer };
    if (!output.isEmpty())
        arguments += { QStringLiteral("--output"), directory.filePath(output) };
    const Result result = runTool(arguments);
    QCOMPARE(result.code, 2);
    QVERIFY2(result.error.contains("error:"), result.error.constData());
    QCOMPARE(read(installer), QByteArray("installer"));
}

void TestWriteUpdateInfo::failedRunKeepsTheOldDescription()
{
    const QTemporaryDir directory;
    // No text in any encoding that a description could have.
    const QByteArray installer = QFile::encodeName(directory.path()) + "/b\xff.exe";
    const int file = ::open(installer.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    QVERIFY(file != -1);
    ::close(file);
    QVERIFY(write(directory.filePath(infoName), "old"));
    // Through the shell, since a QString cannot carry the name.
    QProcess shell;
    shell.setWorkingDirectory(directory.path());
    shell.start(QStringLiteral("/bin/sh"),
                { QStringLiteral("-c"), QStringLiteral("exec \"$0\" --version 1.05 b*.exe"),
                  QStringLiteral(WRITE_UPDATE_INFO) });
    QVERIFY(shell.waitForFinished(20000));
    // The directory would not find it by this name either.
    QCOMPARE(::unlink(installer.constData()), 0);
    const QByteArray error = shell.readAllStandardError();
    QVERIFY2(error.contains("error:"), error.constData());
    QCOMPARE(shell.exitCode(), 2);
    QCOMPARE(read(directory.filePath(infoName)), QByteArray("old"));
}

void TestWriteUpdateInfo::folderThatCannotBeWritten()
{
    const QTemporaryDir directory;
    const QString installer = directory.filePath(QStringLiteral("setup.exe"));
    QVERIFY(touch(installer));
    const Result result
        = runTool({ QStringLiteral("--version"), QStringLiteral("1.05"), QStringLiteral("--output"),
                    directory.filePath(QStringLiteral("missing/x.info")), installer });
    QCOMPARE(result.code, 2);
    QVERIFY2(!result.error.contains("Traceback"), result.error.constData());
}

QTEST_GUILESS_MAIN(TestWriteUpdateInfo)
#include "tst_writeupdateinfo.moc"
