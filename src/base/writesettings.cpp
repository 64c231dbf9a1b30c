// SPDX-License-Identifier: MIT
#include "base/writesettings.h"

#include "base/settingsfile.h"

#include <QDebug>
#include <QSettings>

namespace {
bool isStored(const QSettings& settings)
{
    // What could not be read at first is no error of writing, but stays this object's status. A new object
    // tells what became of it: it has the values that wait to be stored, and tries once more.
    return settings.status() == QSettings::FormatError ? QSettings().status() == QSettings::NoError
                                                       : settings.status() == QSettings::NoError;
}
} // namespace

bool writeSettings(const std::function<void(QSettings&)>& setValues)
{
    QSettings settings;
    QString obstacle = settingsObstacle(settings.fileName());
    if (obstacle.isEmpty()) {
        setValues(settings);
        settings.sync();
        if (isStored(settings))
            return true;
        obstacle = QStringLiteral("cannot write");
    }
    qWarning().noquote() << "writeSettings()" << obstacle << settings.fileName();
    return false;
}
