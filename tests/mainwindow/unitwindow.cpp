// SPDX-License-Identifier: MIT
#include "unitwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"

#include <QJsonDocument>

QStringList columnTexts(const MainWinQorMonitor& window, int column)
{
    const QTreeWidget* list = messageList(window);
    QStringList texts;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        texts << list->topLevelItem(i)->text(column);
    return texts;
}

Device* addMonitoredUnit(MainWinQorMonitor& window, int zmqPort)
{
    Device* device
        = window.deviceList()->addDevice(QStringLiteral("127.0.0.1"), zmqPort, 80, QStringLiteral("http"));
    device->setMonitored(true);
    return device;
}

QByteArray statusReport(const QString& name, const QJsonArray& warnings)
{
    const QJsonObject value { { QStringLiteral("warnings"), warnings } };
    return QJsonDocument(QJsonObject { { QStringLiteral("host"), name },
                                       { QStringLiteral("cmd"), QStringLiteral("StatusReport") },
                                       { QStringLiteral("value"), value } })
        .toJson();
}

QByteArray newerVersionReport(const QString& name)
{
    return QJsonDocument(
               QJsonObject { { QStringLiteral("host"), name },
                             { QStringLiteral("cmd"), QStringLiteral("VersionInfo") },
                             { QStringLiteral("localQorVersionNo"), QStringLiteral("2.1") },
                             { QStringLiteral("localQorVersionDate"), QStringLiteral("01. Jan 2025") },
                             { QStringLiteral("remoteQorVersionNo"), QStringLiteral("2.2") },
                             { QStringLiteral("remoteQorVersionDate"), QStringLiteral("02. Mar 2025") } })
        .toJson();
}

QJsonObject warning(const QString& text)
{
    return { { QStringLiteral("date"), QStringLiteral("2025-03-01") },
             { QStringLiteral("time"), QStringLiteral("07:08:09") },
             { QStringLiteral("displaytext"), text } };
}
