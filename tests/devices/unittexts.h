// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

class Device;

// What a unit of this name publishes.
QByteArray statusReport(const QString& host, const QJsonArray& warnings = {});
QByteArray versionInfo(const QString& host, const QString& localNo, const QString& localDate,
                       const QString& remoteNo, const QString& remoteDate);

// A unit's warning of this text, raised at this time of a fixed day.
QJsonObject warning(const QString& text, const QString& time = QStringLiteral("08:15:00"));

// The column "displaytext" of a unit's monitor messages.
QStringList displayTexts(const Device& device);
// The texts of the link states, as monitor messages show them.
QString connectedText();
QString pendingText();
QString disconnectedText();
QString incompatibleText();
