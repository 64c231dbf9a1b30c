// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVector>

class Unit;

// What a broken or foreign publisher might send. A message is a list of frames.
struct Garbage {
    QVector<QByteArray> frames;
};

// The kinds in the order of the help.
QStringList garbageKinds();
// The kinds' meaning, one line each, for the help.
QString garbageHelp();
// The message of a kind, made of what the unit says now; no frames for an unknown kind.
Garbage makeGarbage(const QString& kind, const Unit& unit);
