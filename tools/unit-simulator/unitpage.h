// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

class Unit;

// The unit's web page: HTML in UTF-8 with its name, software and current warnings.
QByteArray unitPage(const Unit& unit);
