// SPDX-License-Identifier: MIT
#pragma once

#include <QTemporaryDir>
#include <QVariantMap>

// Gives the test's process a default settings store of its own, under the program's names, in a temporary
// folder. It holds nothing but that the update check is off. Make it before the first QSettings.
class TestStore {
public:
    TestStore();

    QString filePath() const;
    void clear();
    // Writes one unit's group "Device<index>" with the given keys.
    void writeUnit(int index, const QVariantMap& values);

private:
    QTemporaryDir m_directory;
};
