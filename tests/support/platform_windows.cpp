// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include <windows.h>

#include <psapi.h>

namespace {
bool isWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}
} // namespace

QByteArray Platform::withLineFeeds(QByteArray output)
{
    return output.replace("\r\n", "\n");
}

int Platform::reportedExitCode(int code)
{
    return code;
}

bool Platform::serverNamesAreFiles()
{
    return false;
}

bool Platform::isServerName(const QString&, const QString& name)
{
    const QString pipe = QStringLiteral("\\\\.\\pipe\\") + name;
    return WaitNamedPipeW(reinterpret_cast<const wchar_t*>(pipe.utf16()), 1) != 0
        || GetLastError() != ERROR_FILE_NOT_FOUND;
}

qint64 Platform::residentKiB()
{
    PROCESS_MEMORY_COUNTERS counters {};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<qint64>(counters.WorkingSetSize / 1024);
}

// Wine's Schannel finds no certificate for a server.
bool Platform::servesEncrypted()
{
    return !isWine();
}

bool Platform::hasFullDisk()
{
    return false;
}

// In the user's language.
QString Platform::noSuchFolder()
{
    return qt_error_string(ERROR_PATH_NOT_FOUND);
}

QString Platform::isAFolder()
{
    return qt_error_string(ERROR_ACCESS_DENIED);
}

bool Platform::asksSystemForProxies()
{
    return true;
}

QString Platform::programStore(const QString&)
{
    return QStringLiteral("HKEY_CURRENT_USER\\Software\\Varko\\QorMonitor");
}

QSettings::Format Platform::programStoreFormat()
{
    return QSettings::NativeFormat;
}

void Platform::clearProgramStore()
{
    // The registry is the user's own, and cannot be another one for a single process. Under Wine it is the
    // one of the tests' prefix.
    if (!isWine())
        qFatal("This test would overwrite the settings of QorMonitor. It runs under Wine only.");
    QSettings(programStore({}), programStoreFormat()).clear();
}
