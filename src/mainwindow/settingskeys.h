// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// The keys under which the main window keeps its own settings.
namespace SettingsKeys {
inline const auto geometry = QStringLiteral("geometry");
inline const auto useAudio = QStringLiteral("UseAudio");
} // namespace SettingsKeys
