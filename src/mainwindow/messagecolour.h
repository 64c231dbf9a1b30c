// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <qnamespace.h>

#include <optional>

// What becomes of a monitor message's class in the list. The letter case counts.

// The background; none for a class that is not known.
std::optional<Qt::GlobalColor> messageColour(const QString& messageClass);

// The German word that says the same to a screen reader; empty for a class that is not known.
QString messageClassText(const QString& messageClass);
