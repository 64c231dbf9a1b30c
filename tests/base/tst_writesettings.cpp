// SPDX-License-Identifier: MIT
// A settings store that is locked, spoilt or not to be written: nothing waits, and the result is true.
#include "base/writesettings.h"

#include "support/literals.h"
#include "support/logcapture.h"
#include "support/teststore.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QSettings>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

namespace {

const auto key = "Key"_s;
// Qt waits 30 seconds for an empty lock. This is what a user may notice, with what a busy machine adds.
constexpr int noticeableMs = 2000;

bool write(int value)
{
    return writeSettings([value](QSettings& settings) { settings.setValue(key, value); });
}

// While it lives, no file of this process becomes larger; as on a full disk, for every user.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_previous);
        rlimit limit = m_previous;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

private:
    rlimit m_previous {};
    void (*m_previousHandler)(int) = SIG_DFL;
};

} // namespace

class TestWriteSettings : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        m_elapsed.start();
    }

    void valuesAreStoredAtOnce()
    {
        const LogCapture log;
        const QSettings open;
        QVERIFY(write(1));
        QVERIFY(contents().contains("Key=1"));
        QVERIFY(!QFileInfo::exists(lockPath()));
        QVERIFY(log.lines().isEmpty());
    }

    void emptyLockOfAKilledProgramIsRemoved_data()
    {
        QTest::addColumn<int>("ageSeconds");
        QTest::newRow("just now") << 0;
        QTest::newRow("before") << 10;
        QTest::newRow("in the future, after a change of the clock") << -10;
    }

    void emptyLockOfAKilledProgramIsRemoved()
    {
        QFETCH(const int, ageSeconds);
        QFile lock(lockPath());
        QVERIFY(lock.open(QIODevice::WriteOnly));
        QVERIFY(lock.setFileTime(QDateTime::currentDateTime().addSecs(-ageSeconds),
                                 QFileDevice::FileModificationTime));
        lock.close();
        QVERIFY(write(1));
        QVERIFY(m_elapsed.elapsed() < noticeableMs);
        QVERIFY(contents().contains("Key=1"));
        QVERIFY(!QFileInfo::exists(lockPath()));
    }

    void lockOfAnotherProgramIsRespected()
    {
        QLockFile lock(lockPath());
        QVERIFY(lock.lock());
        LogCapture log;
        QVERIFY(!write(1));
        QVERIFY(m_elapsed.elapsed() < noticeableMs);
        QVERIFY(!contents().contains("Key"));
        QCOMPARE(log.taggedLines().join(QString()),
                 "W writeSettings() another program has locked %1"_s.arg(m_store.filePath()));
        lock.unlock();
        log.clear();
        QVERIFY(write(2));
        QVERIFY(contents().contains("Key=2"));
        QVERIFY(log.lines().isEmpty());
    }

    void otherProgramsShortLockIsWaitedFor()
    {
        QLockFile lock(lockPath());
        QVERIFY(lock.lock());
        QProcess release;
        release.start("sh"_s, { "-c"_s, "sleep 0.3; rm \"$0\""_s, lockPath() });
        QVERIFY(release.waitForStarted());
        QVERIFY(write(1));
        QVERIFY(release.waitForFinished());
        QVERIFY(contents().contains("Key=1"));
    }

    void fullDiskLeavesWhatIsStored_data()
    {
        QTest::addColumn<int>("bytesLeft");
        // Only the first is not enough for the lock.
        for (const int bytes : { 0, 200, 4096, 20000 })
            QTest::newRow(QByteArray::number(bytes).constData()) << bytes;
    }

    void fullDiskLeavesWhatIsStored()
    {
        QFETCH(const int, bytesLeft);
        const auto setLarge
            = [](QSettings& settings) { settings.setValue(key, QString(30000, QLatin1Char('x'))); };
        QVERIFY(write(1));
        const QByteArray before = contents();
        {
            const FileSizeLimit limit(static_cast<rlim_t>(bytesLeft));
            checkNotWritten("no space for"_s, setLarge);
        }
        QCOMPARE(contents(), before);
        QCOMPARE(QDir(folder()).entryList(QDir::Files),
                 QStringList(QFileInfo(m_store.filePath()).fileName()));
        QVERIFY(writeSettings(setLarge));
        QVERIFY(contents().contains("Key=xxx"));
    }

    void missingFolderIsReported()
    {
        // A file in the folder's place, so that nobody can make it.
        QVERIFY(QDir(folder()).removeRecursively());
        QFile file(folder());
        QVERIFY(file.open(QIODevice::WriteOnly));
        checkNotWritten("cannot write"_s, [](QSettings& settings) { settings.setValue(key, 1); });
        QVERIFY(file.remove());
        QVERIFY(write(2));
        QVERIFY(contents().contains("Key=2"));
    }

    void folderIsMade()
    {
        QVERIFY(QDir(folder()).removeRecursively());
        QVERIFY(write(1));
        QVERIFY(contents().contains("Key=1"));
    }

    void fullDiskIsSeenWithoutTheFolder()
    {
        QVERIFY(QDir(folder()).removeRecursively());
        const FileSizeLimit limit(200);
        checkNotWritten("no space for"_s, [](QSettings& settings) { settings.setValue(key, 1); });
    }

    void spoiltFileIsNoFailureOfWriting()
    {
        spoil();
        const LogCapture log;
        QVERIFY(write(1));
        QVERIFY(contents().contains("Key=1"));
        QVERIFY(log.lines().isEmpty());
    }

private:
    QString folder() const { return QFileInfo(m_store.filePath()).path(); }
    QString lockPath() const { return m_store.filePath() + ".lock"_s; }

    QByteArray contents() const
    {
        QFile file(m_store.filePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void spoil() const
    {
        QFile file(m_store.filePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write("\xff\x01[[[\nno line of a setting\n") > 0);
    }

    void checkNotWritten(const QString& obstacle, const std::function<void(QSettings&)>& setValues) const
    {
        const LogCapture log;
        QVERIFY(!writeSettings(setValues));
        QVERIFY(m_elapsed.elapsed() < noticeableMs);
        QCOMPARE(log.taggedLines().join(QString()),
                 "W writeSettings() %1 %2"_s.arg(obstacle, m_store.filePath()));
    }

    TestStore m_store;
    QElapsedTimer m_elapsed;
};

QTEST_GUILESS_MAIN(TestWriteSettings)
#include "tst_writesettings.moc"
