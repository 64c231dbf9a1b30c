// SPDX-License-Identifier: MIT
#pragma once

#include <QTemporaryDir>
#include <QVariantMap>

// Gives the test's process a default settings store of its own, under the program's names, in a temporary
// folder. Make it before the first QSettings.
class TestStore {
public:
    // What an empty store holds: nothing, or that the update check is off, so that no window that a test
    // makes asks the update server.
    enum class UpdateCheck {
        Off,
        Unset,
    };

    explicit TestStore(UpdateCheck updateCheck = UpdateCheck::Off);

    QString filePath() const;
    void clear();
    // Writes one unit's group "Device<index>" with the given keys.
    void writeUnit(int index, const QVariantMap& values);

private:
    QTemporaryDir m_directory;
    UpdateCheck m_updateCheck;
};
