// SPDX-License-Identifier: MIT
// A settings file as anything may have left it.
#include "devices/device.h"
#include "devices/devicelist.h"
#include "fuzztarget.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

namespace {

// Nothing of an input is looked up or connected to: Qt refuses a host name with a blank at once.
void tameUnits()
{
    QSettings settings;
    for (int i = 0; settings.contains(QStringLiteral("Device%1/Host").arg(i)); ++i) {
        settings.beginGroup(QStringLiteral("Device%1").arg(i));
        settings.setValue(QStringLiteral("Host"),
                          QStringLiteral("unit ") + settings.value(QStringLiteral("Host")).toString());
        settings.setValue(QStringLiteral("Monitored"), false);
        settings.endGroup();
    }
}

QStringList loadedUnits()
{
    DeviceList list(nullptr);
    list.load();
    require(list.save());
    QStringList units;
    for (int i = 0; i < list.count(); ++i) {
        const Device* device = list.at(i);
        units << device->displayName() + QLatin1Char(' ') + QString::number(device->webPort())
                + device->webScheme();
    }
    return units;
}

} // namespace

void tryInput(const QByteArray& input)
{
    // A new name each time: QSettings remembers the contents of a file.
    static int run = 0;
    QCoreApplication::setApplicationName(QString::number(++run));
    const QString path = QSettings().fileName();
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    require(file.open(QIODevice::WriteOnly));
    file.write(input);
    file.close();
    tameUnits();
    // What is saved loads as the same list.
    const QStringList units = loadedUnits();
    require(loadedUnits() == units);
    file.remove();
}
