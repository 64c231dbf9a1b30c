// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QSettings>
#include <QString>

// What differs from system to system in what tests see.
namespace Platform {

// What a program has written to a standard stream, with the system's line ends as line feeds.
QByteArray withLineFeeds(QByteArray output);
// What a parent process sees of this exit code.
int reportedExitCode(int code);
// Whether the name of a local server is a file, which belongs to a user's folder and outlives a killed
// server.
bool serverNamesAreFiles();
// Whether a server has this name, or what was left of it.
bool isServerName(const QString& folder, const QString& name);

// The memory that this program has at the moment.
qint64 residentKiB();

// Whether a QSslSocket can be the server of a connection.
bool servesEncrypted();

// Whether there is the file /dev/full, which can be written to but keeps nothing.
bool hasFullDisk();
// How the system says that a file's folder is missing, and that a file is one.
QString noSuchFolder();
QString isAFolder();
// Whether the update check asks the system for proxies, and no others.
bool asksSystemForProxies();

// Where the real program keeps its settings for a user with this folder.
QString programStore(const QString& folder);
QSettings::Format programStoreFormat();
// Empties that store where it is one for all tests. Ends the test where it may be the settings of a person.
void clearProgramStore();

} // namespace Platform
