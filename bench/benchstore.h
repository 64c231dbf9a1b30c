// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

// An empty settings store in a temporary folder, so that a measurement leaves the user's own alone.
class BenchStore {
public:
    BenchStore()
    {
        QSettings::setDefaultFormat(QSettings::IniFormat);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_directory.path());
        QCoreApplication::setOrganizationName(QStringLiteral("Varko"));
        QCoreApplication::setApplicationName(QStringLiteral("QorMonitor"));
        QSettings().setValue(QStringLiteral("AutoCheckUpdates"), false);
        QSettings().setValue(QStringLiteral("UseAudio"), false);
    }

private:
    QTemporaryDir m_directory;
};
