// SPDX-License-Identifier: MIT
#include "mainwindow/messagecolour.h"

#include <QCoreApplication>

std::optional<Qt::GlobalColor> messageColour(const QString& messageClass)
{
    if (messageClass == QLatin1String("error"))
        return Qt::red;
    if (messageClass == QLatin1String("warning"))
        return Qt::yellow;
    if (messageClass == QLatin1String("confirmation"))
        return Qt::green;
    return std::nullopt;
}

QString messageClassText(const QString& messageClass)
{
    if (messageClass == QLatin1String("error"))
        return QCoreApplication::translate("MessageList", "Fehler");
    if (messageClass == QLatin1String("warning"))
        return QCoreApplication::translate("MessageList", "Warnung");
    if (messageClass == QLatin1String("confirmation"))
        return QCoreApplication::translate("MessageList", "Bestätigung");
    return {};
}
