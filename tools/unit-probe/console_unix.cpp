// SPDX-License-Identifier: MIT
#include "console.h"

#include <QString>

#include <iostream>

void Console::writeLine(const QString& line)
{
    std::cout << line.toStdString() << std::endl;
}

void Console::writeErrorLine(const QString& line)
{
    std::cerr << line.toStdString() << std::endl;
}
