// SPDX-License-Identifier: MIT
#include "base/settingsfile.h"

#include <QString>

QString settingsObstacle(const QString&)
{
    // The settings are in the registry, and in no file.
    return {};
}
