// SPDX-License-Identifier: MIT
#include "console.h"

#include <QString>

#include <windows.h>

namespace {
void writeTo(DWORD stream, QString text)
{
    text.replace(QLatin1Char('\n'), QStringLiteral("\r\n")).append(QStringLiteral("\r\n"));
    const HANDLE handle = GetStdHandle(stream);
    DWORD number = 0;
    if (GetConsoleMode(handle, &number)) {
        WriteConsoleW(handle, text.utf16(), static_cast<DWORD>(text.size()), &number, nullptr);
    } else {
        const QByteArray bytes = text.toUtf8();
        WriteFile(handle, bytes.constData(), static_cast<DWORD>(bytes.size()), &number, nullptr);
    }
}
} // namespace

void Console::writeLine(const QString& line)
{
    writeTo(STD_OUTPUT_HANDLE, line);
}

void Console::writeErrorLine(const QString& line)
{
    writeTo(STD_ERROR_HANDLE, line);
}
