// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>

class QString;

// The class of a monitor message decides its colour in the list.
enum class MessageClass {
    Error,
    Warning,
    Confirmation,
};

// The word that a monitor message carries under "class".
QString messageClassName(MessageClass messageClass);

// A monitor message of the present moment: the five strings "qorName", "date" ("yyyy-MM-dd"), "time"
// ("hh:mm:ss"), "displaytext" and "class".
QJsonObject monitorMessage(const QString& qorName, const QString& displayText, MessageClass messageClass);
