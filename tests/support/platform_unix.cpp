// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include <QFileInfo>

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
