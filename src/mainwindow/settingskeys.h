// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// The two settings keys of the main window. The keys of units and of the update check are in device.cpp and
// dlgcheckforupdates.cpp.
namespace SettingsKeys {
inline const auto geometry = QStringLiteral("geometry");
inline const auto useAudio = QStringLiteral("UseAudio");
} // namespace SettingsKeys
