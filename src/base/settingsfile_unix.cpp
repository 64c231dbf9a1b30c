// SPDX-License-Identifier: MIT
#include "base/settingsfile.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

namespace {

constexpr int patienceMs = 1000;
constexpr int attemptMs = 100;
// A program writes its name into its lock right after it has made it.
constexpr int abandonedMs = 500;
// By how much the file may grow: some hundred units.
constexpr qint64 growthBytes = 65536;

// A program that is killed in between leaves an empty lock, which Qt respects for 30 seconds.
void removeAbandonedLock(const QString& lockName)
{
    const QFileInfo lock(lockName);
    if (lock.exists() && lock.size() == 0
        && qAbs(lock.lastModified().msecsTo(QDateTime::currentDateTime())) > abandonedMs)
        QFile::remove(lockName);
}

bool isLocked(const QString& fileName)
{
    // As QSettings names it.
    const QString lockName = fileName + QLatin1String(".lock");
    QLockFile lock(lockName);
    QElapsedTimer elapsed;
    elapsed.start();
    do {
        removeAbandonedLock(lockName);
        if (lock.tryLock(attemptMs) || lock.error() != QLockFile::LockFailedError)
            return false;
    } while (elapsed.elapsed() < patienceMs);
    return true;
}

// When the disk becomes full in the middle of the file, Qt 5.15 replaces the settings by its first part and
// reports no error.
bool hasSpace(const QString& fileName)
{
    const qint64 needed = QFileInfo(fileName).size() + growthBytes;
    QFile trial(fileName + QLatin1String(".space"));
    if (!trial.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return true;
    const bool isWritten = trial.write(QByteArray(static_cast<int>(needed), '\0')) == needed;
    trial.remove();
    return isWritten;
}

} // namespace

QString settingsObstacle(const QString& fileName)
{
    // What else can fail is for QSettings, which reports it.
    QDir().mkpath(QFileInfo(fileName).path());
    if (isLocked(fileName))
        return QStringLiteral("another program has locked");
    return hasSpace(fileName) ? QString() : QStringLiteral("no space for");
}
