// SPDX-License-Identifier: MIT
#pragma once

#include "unitsettings.h"

#include <QByteArray>
#include <QJsonObject>

// What one unit would say of itself: the model behind the sockets. Plain value, knows no time and no network.
class Unit {
public:
    explicit Unit(const UnitSettings& settings);

    QString key() const { return m_key; }
    QString name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }
    const VersionData& version() const { return m_version; }
    void setVersion(const VersionData& version) { m_version = version; }

    const QJsonArray& warnings() const { return m_warnings; }
    // Completed by completeWarning().
    void raiseWarning(const QJsonObject& warning);
    // By position, counted from 1, or by "displaytext"; false when there is none.
    bool clearWarning(int number);
    bool clearWarning(const QString& displayText);
    void clearWarnings() { m_warnings = QJsonArray(); }

    // The texts that a unit publishes: compact JSON in UTF-8.
    QByteArray statusReport() const;
    QByteArray versionInfo() const;

private:
    QString m_key;
    QString m_name;
    VersionData m_version;
    QJsonArray m_warnings;
};

// The warning with "date" and "time" of now where it has none.
QJsonObject completeWarning(QJsonObject warning);
// What is wrong with a warning object; "date", "time" and "displaytext" are strings where given, and the last
// one must be.
std::optional<QString> checkWarning(const QJsonObject& warning);
