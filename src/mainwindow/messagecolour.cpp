// SPDX-License-Identifier: MIT
#include "mainwindow/messagecolour.h"

#include <QString>

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
