// SPDX-License-Identifier: MIT
#pragma once

#include "unitserver.h"

#include <QVector>

// Units and what happens to them. The functions throw InputError.
struct Scenario {
    struct Step {
        int atMs = 0;
        QString command;
    };

    QVector<UnitServer::Settings> units;
    // In the order of their times.
    QVector<Step> steps;
    // After this time the steps begin again; 0: they do not.
    int repeatMs = 0;

    static Scenario fromJson(const QByteArray& json);
    static Scenario fromFile(const QString& filePath);
    // Adds a unit, or changes the one with the same "key".
    void setUnit(const QJsonObject& fields);
    // The fields as on the command line: "key=h1,name=Halle 1". A comma may stand in a value.
    void setUnit(const QString& fields);
};
