// SPDX-License-Identifier: MIT
#pragma once

class QString;

// Reads an update description: the values of VersionNo="...", VersionDate="..." and
// <platform>FileName="...", the first match of each, anywhere in the text. What is not found becomes empty.
void parseUpdateInfo(const QString& text, const QString& platform, QString& versionNo, QString& versionDate,
                     QString& fileName);
