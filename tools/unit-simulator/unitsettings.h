// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonArray>
#include <QString>

#include <optional>

// The software of a unit, installed and available. Dates as the units write them: "dd. MMM yyyy" in English.
struct VersionData {
    QString localNo = QStringLiteral("1.200");
    QString localDate = QStringLiteral("05. Mar 2024");
    QString remoteNo = QStringLiteral("1.200");
    QString remoteDate = QStringLiteral("05. Mar 2024");
};

bool operator==(const VersionData& left, const VersionData& right);

bool isUnitDate(const QString& text);

// What a unit is started with.
struct UnitSettings {
    static constexpr int minimumIntervalMs = 10;
    static constexpr int maximumIntervalMs = 3600000;

    QString key;
    QString name;
    // A literal address of this machine.
    QString address = QStringLiteral("127.0.0.1");
    // 0 lets the system choose.
    quint16 zmqPort = 0;
    quint16 webPort = 0;
    int intervalMs = 1000;
    VersionData version;
    QJsonArray warnings;

    // Sets "key", "name", "address", "port", "web" or "interval" from its text. Returns what is wrong with
    // it, and then nothing has changed.
    std::optional<QString> set(const QString& field, const QString& text);
};

// The checks behind UnitSettings::set, for values that change while the unit runs; what is wrong, if
// anything.
std::optional<QString> checkUnitName(const QString& name);
std::optional<QString> parseInterval(const QString& text, int& intervalMs);
