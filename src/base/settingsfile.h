// SPDX-License-Identifier: MIT
#pragma once

class QString;

// What keeps QSettings from storing in this file, as a log says it, where QSettings itself would wait or
// would not notice; empty when nothing does. Removes the lock that a killed program has left, and waits a
// second at most for that of a living one.
QString settingsObstacle(const QString& fileName);
