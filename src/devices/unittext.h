// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

// What kind of text a unit has published, for Device and for unit-probe. docs/unit-protocol.md is its format.
struct UnitText {
    enum Kind {
        Blank,
        Unreadable,
        StatusReport,
        VersionInfo,
        UnknownCommand,
    };

    bool isWellFormed() const { return kind != Blank && kind != Unreadable; }

    Kind kind = Blank;
    // Why it is unreadable, and where.
    QJsonParseError error {};
    // Empty when the text is no object.
    QJsonObject object;
    QString cmd;
};

// Never throws on bad input.
UnitText readUnitText(const QByteArray& json);
