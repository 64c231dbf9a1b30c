// SPDX-License-Identifier: MIT
#include "dialogs/updateinfo.h"
#include "dialogs/updatesignature.h"
#include "support/literals.h"

#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

// Runs the script that writes update descriptions and reads what it wrote as the program does.
class TestWriteUpdateInfo : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(write(m_installer, "installer"));
    }

    void programReadsWhatIsWritten_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("name");
        QTest::newRow("plain") << "1.05"_s
                               << "setup-1.05.exe"_s;
        QTest::newRow("whole number") << "2"_s
                                      << "setup.exe"_s;
        QTest::newRow("blanks and umlauts") << "1.10"_s
                                            << "Größe 2.exe"_s;
    }

    void programReadsWhatIsWritten()
    {
        QFETCH(const QString, version);
        QFETCH(const QString, name);
        const QString output = "other.info"_s;
        QVERIFY(write(name, {}));
        QCOMPARE(run({ "--version"_s, version, "--date"_s, m_date, "--output"_s, path(output), path(name) }),
                 0);
        const Info info(read(output));
        QCOMPARE(info.versionNo, version);
        QCOMPARE(info.versionDate, m_date);
        QCOMPARE(info.fileName, name);
        QVERIFY(!QFile::exists(path(m_description)));
    }

    void writesBesideTheInstallerByDefault()
    {
        // The next release replaces it.
        for (const QString& version : { m_version, "1.06"_s }) {
            QCOMPARE(run({ "--version"_s, version, path(m_installer) }), 0);
            QCOMPARE(Info(read(m_description)).fileName, m_installer);
            QCOMPARE(Info(read(m_description)).versionNo, version);
            QCOMPARE(Info(read(m_description)).signature, QString());
        }
    }

    void todayIsTheDefaultDate()
    {
        const auto today = [] { return QLocale::c().toString(QDate::currentDate(), "dd. MMM yyyy"_s); };
        const QString before = today();
        QCOMPARE(run({ "--version"_s, m_version, path(m_installer) }), 0);
        const QString date = Info(read(m_description)).versionDate;
        QVERIFY2(date == before || date == today(), qPrintable(date));
    }

    void programAcceptsTheSignature()
    {
        const QString key = path("private.pem"_s);
        QCOMPARE(run({ "--make-key"_s, key }), 0);
        const QString publicKey = QString::fromLatin1(m_said).trimmed();
        QCOMPARE(publicKey.size(), 64);
        QCOMPARE(QFile::permissions(key) & (QFileDevice::ReadGroup | QFileDevice::ReadOther), 0);
        QVERIFY(write("Größe.exe"_s, "installer"));
        QCOMPARE(run({ "--version"_s, m_version, "--key"_s, key, path("Größe.exe"_s) }), 0);
        const Info info(read(m_description));
        QCOMPARE(info.fileName, "Größe.exe"_s);
        const QByteArray bytes = signedUpdateBytes(m_version, info.fileName, "installer");
        QVERIFY(isSigned(bytes, info.signature, publicKey));
        QVERIFY(!isSigned(bytes + '0', info.signature, publicKey));
    }

    void keysAreNotOverwritten()
    {
        QVERIFY(write("private.pem"_s, "old"));
        QCOMPARE(run({ "--make-key"_s, path("private.pem"_s) }), 2);
        QCOMPARE(read("private.pem"_s), QByteArray("old"));
    }

    void badKeyWritesNothing_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("missing") << "missing.pem"_s;
        QTest::newRow("no key") << m_installer;
    }

    void badKeyWritesNothing()
    {
        QFETCH(const QString, key);
        QCOMPARE(run({ "--version"_s, m_version, "--key"_s, path(key), path(m_installer) }), 2);
        QVERIFY(!QFile::exists(path(m_description)));
    }

    void badArguments_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("date");
        QTest::addColumn<QString>("name");
        QTest::newRow("no version") << QString() << m_date << m_installer;
        // Arabic digits are digits to the script's language, but not to the program.
        for (const char* text : { "next", "1.0.5", "1,05", "0.0", "inf", "\u0661.\u0662" })
            QTest::addRow("version %s", text) << QString::fromUtf8(text) << m_date << m_installer;
        for (const char* text :
             { "2026-03-05", "31. Feb 2026", "05. Foo 2026", "05. Okt 2026", "\u06605. Mar 2026" })
            QTest::addRow("date %s", text) << m_version << QString::fromUtf8(text) << m_installer;
        for (const char* text : { "missing/setup.exe", ".", "a\"b.exe", "a\\b.exe", "a:b.exe", "a\nb.exe",
                                  "a?b.exe", "a%20b.exe", "a#b.exe" })
            QTest::addRow("installer %s", text) << m_version << m_date << QString::fromUtf8(text);
    }

    void badArguments()
    {
        QFETCH(const QString, version);
        QFETCH(const QString, date);
        QFETCH(const QString, name);
        write(name, {});
        QStringList arguments { "--date"_s, date, "--output"_s, path(m_description), path(name) };
        if (!version.isNull())
            arguments += { "--version"_s, version };
        QCOMPARE(run(arguments), 2);
        QVERIFY(!QFile::exists(path(m_description)));
    }

    void installerIsNotOverwritten_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("output");
        QTest::newRow("installer named as the output") << m_installer << m_installer;
        QTest::newRow("link to the installer") << m_installer << "link.info"_s;
        QTest::newRow("description given as the installer") << m_description << m_description;
    }

    void installerIsNotOverwritten()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, output);
        QVERIFY(write(name, "installer"));
        QVERIFY(QFile::link(path(name), path("link.info"_s)));
        QStringList arguments { "--version"_s, m_version, path(name) };
        // Without the option the description has its own name.
        if (output != m_description)
            arguments += { "--output"_s, path(output) };
        QCOMPARE(run(arguments), 2);
        QCOMPARE(read(name), QByteArray("installer"));
    }

    void failedRunKeepsTheOldDescription()
    {
        // No text in any encoding that a description could have.
        const QByteArray installer = QFile::encodeName(m_directory->path()) + "/b\xff.exe";
        const int file = ::open(installer.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        QVERIFY(file != -1);
        ::close(file);
        QVERIFY(write(m_description, "old"));
        // Through the shell, since a QString cannot carry the name.
        const int code
            = run({ "-c"_s, "exec \"$0\" --version 1.05 b*.exe"_s, QStringLiteral(WRITE_UPDATE_INFO) },
                  "/bin/sh"_s);
        // The directory would not find it by this name either.
        QCOMPARE(::unlink(installer.constData()), 0);
        QCOMPARE(code, 2);
        QCOMPARE(read(m_description), QByteArray("old"));
    }

    void folderThatCannotBeWritten()
    {
        QCOMPARE(run({ "--version"_s, m_version, "--output"_s, path("missing/x.info"_s), path(m_installer) }),
                 2);
    }

private:
    struct Info {
        explicit Info(const QByteArray& bytes)
        {
            parseUpdateInfo(QString::fromUtf8(bytes), "mingw32_x64"_s, versionNo, versionDate, fileName);
            signature = parseUpdateSignature(QString::fromUtf8(bytes), "mingw32_x64"_s);
        }
        QString versionNo;
        QString versionDate;
        QString fileName;
        QString signature;
    };

    QString path(const QString& name) const { return m_directory->filePath(name); }

    QByteArray read(const QString& name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    bool write(const QString& name, const QByteArray& bytes) const
    {
        QFile file(path(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

    // The exit code; -1 when the script does not end, or fails without saying why in its own words.
    int run(const QStringList& arguments, const QString& program = QStringLiteral(WRITE_UPDATE_INFO))
    {
        QProcess process;
        process.setWorkingDirectory(m_directory->path());
        process.start(program, arguments);
        if (!process.waitForFinished(20000) || process.exitStatus() != QProcess::NormalExit)
            return -1;
        m_said = process.readAllStandardOutput();
        const QByteArray error = process.readAllStandardError();
        const bool isExplained = error.contains("error:") && !error.contains("Traceback");
        return process.exitCode() == 0 || isExplained ? process.exitCode() : -1;
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    // What the last run has written to its standard output.
    QByteArray m_said;
    const QString m_installer = "setup.exe"_s;
    const QString m_description = "QorMonitorUpdate.info"_s;
    const QString m_version = "1.05"_s;
    const QString m_date = "05. Mar 2026"_s;
};

QTEST_GUILESS_MAIN(TestWriteUpdateInfo)
#include "tst_writeupdateinfo.moc"
