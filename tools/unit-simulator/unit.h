// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayList>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

// What one unit says of itself: a plain value without a clock and without a network. A function that throws
// throws InputError and has changed nothing.
class Unit {
public:
    explicit Unit(QString name);

    void raiseWarning(const QString& text);
    // Throws when there is none with this text.
    void clearWarnings(const QString& text);
    void clearAllWarnings() { m_warnings = QJsonArray(); }
    // The installed and the available software: "local 1.200 05. Mar 2024 remote 1.210 02. Mar 2025". Throws.
    void setVersion(const QString& text);

    // Whether it says its reports, nothing, or garbage of a kind instead. Throws for an unknown kind.
    void speak();
    void silence();
    void speakGarbage(const QString& kind);
    static QStringList garbageKinds();

    // The texts that it publishes time and again, in UTF-8.
    QByteArrayList texts() const;
    // Its web page, HTML in UTF-8.
    QByteArray page() const;

private:
    QByteArray report(const QString& command, QJsonObject content) const;

    QString m_name;
    QJsonObject m_version;
    QJsonArray m_warnings;
    bool m_silent = false;
    // Empty for none.
    QString m_garbageKind;
};
