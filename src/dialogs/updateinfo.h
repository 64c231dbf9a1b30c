// SPDX-License-Identifier: MIT
#pragma once

class QByteArray;
class QString;

// Reads an update description: the values of VersionNo="...", VersionDate="..." and
// <platform>FileName="...", the first match of each, anywhere in the text. What is not found becomes empty.
void parseUpdateInfo(const QString& text, const QString& platform, QString& versionNo, QString& versionDate,
                     QString& fileName);

// The value of <platform>Signature="..." in the same text, empty when it is not found.
QString parseUpdateSignature(const QString& text, const QString& platform);

// What the signature of an update is made over: the line "QorMonitor update 1", and behind it version number,
// file name and the SHA-512 hash of the file, each as its length in decimal digits, a colon, its bytes, and a
// comma. Texts are in UTF-8. scripts/write-update-info writes the same.
QByteArray signedUpdateBytes(const QString& versionNo, const QString& fileName, const QByteArray& file);
