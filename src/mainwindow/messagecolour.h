// SPDX-License-Identifier: MIT
#pragma once

#include <qnamespace.h>

#include <optional>

class QString;

// The background of a monitor message in the list, by its class; none for a class that is not known. The
// letter case counts.
std::optional<Qt::GlobalColor> messageColour(const QString& messageClass);
