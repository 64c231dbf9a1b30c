// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

class QSettings;

// Opens the default settings store, has the function set its values, and stores them at once. Returns whether
// they are stored; if not, logs a warning. Never waits much longer than a second; when the store is locked or
// full, the function is not called.
bool writeSettings(const std::function<void(QSettings&)>& setValues);
