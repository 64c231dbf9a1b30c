// SPDX-License-Identifier: MIT
#pragma once

class QString;

// The standard streams, in UTF-8. A console of Windows gets the characters themselves, because it would show
// UTF-8 by its own code page.
namespace Console {

// Each of them ends the line, and is seen at once.
void writeLine(const QString& line);
void writeErrorLine(const QString& line);

} // namespace Console
