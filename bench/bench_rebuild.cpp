// SPDX-License-Identifier: MIT
// Cost of one rebuild of the message list with 50 units of 10 warnings.
#include "benchstore.h"
#include "devices/device.h"
#include "devices/devicelist.h"
#include "mainwindow/mainwinqormonitor.h"
#include "statistics.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTreeWidget>

#include <cstdio>

namespace {
constexpr int units = 50;
constexpr int warningsPerUnit = 10;
constexpr int rebuilds = 200;

QJsonArray warnings(int unit)
{
    QJsonArray result;
    for (int i = 0; i < warningsPerUnit; ++i)
        result.append(QJsonObject {
            { QStringLiteral("date"), QStringLiteral("2026-03-05") },
            { QStringLiteral("time"), QStringLiteral("12:00:00") },
            { QStringLiteral("displaytext"), QStringLiteral("Meldung %1 von Gerät %2").arg(i).arg(unit) },
        });
    return result;
}
} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const BenchStore store;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    MainWinQorMonitor window;
    window.show();
    for (int i = 0; i < units; ++i) {
        // Without a host the link stays idle: only the list is measured.
        Device* device = window.deviceList()->addDevice(QString(), i, 80, QStringLiteral("http"));
        device->setMonitored(true);
        device->setQorName(QStringLiteral("Gerät %1").arg(i));
        device->setWarnings(warnings(i));
    }
    QVector<double> milliseconds;
    for (int i = 0; i < rebuilds; ++i) {
        QElapsedTimer timer;
        timer.start();
        window.rebuildMessageList();
        milliseconds.append(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        QCoreApplication::processEvents();
    }
    const auto* tree = window.centralWidget()->findChild<QTreeWidget*>(QStringLiteral("treeWidget"));
    std::printf("rebuild of %d rows: median %.2f ms, 95 %% %.2f ms\n", tree->topLevelItemCount(),
                quantile(milliseconds, 0.5), quantile(milliseconds, 0.95));
    return 0;
}
