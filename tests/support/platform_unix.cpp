// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include <QFile>
#include <QFileInfo>

#include <unistd.h>

QByteArray Platform::withLineFeeds(QByteArray output)
{
    return output;
}

int Platform::reportedExitCode(int code)
{
    return code & 0xff;
}

bool Platform::serverNamesAreFiles()
{
    return true;
}

bool Platform::isServerName(const QString& folder, const QString& name)
{
    return QFileInfo::exists(folder + QLatin1Char('/') + name);
}

qint64 Platform::residentKiB()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    file.open(QIODevice::ReadOnly);
    return file.readAll().split(' ').value(1).toLongLong() * (sysconf(_SC_PAGESIZE) / 1024);
}

bool Platform::servesEncrypted()
{
    return true;
}

bool Platform::hasFullDisk()
{
    return true;
}

QString Platform::noSuchFolder()
{
    return QStringLiteral("No such file or directory");
}

QString Platform::isAFolder()
{
    return QStringLiteral("Is a directory");
}

bool Platform::asksSystemForProxies()
{
    return false;
}

QString Platform::programStore(const QString& folder)
{
    return folder + QStringLiteral("/config/Varko/QorMonitor.conf");
}

QSettings::Format Platform::programStoreFormat()
{
    return QSettings::IniFormat;
}

// Each user's folder has its own.
void Platform::clearProgramStore()
{
}
