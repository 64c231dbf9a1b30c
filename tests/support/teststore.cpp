// SPDX-License-Identifier: MIT
#include "support/teststore.h"

#include <QCoreApplication>
#include <QSettings>

TestStore::TestStore(UpdateCheck updateCheck)
    : m_updateCheck(updateCheck)
{
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_directory.path());
    QCoreApplication::setOrganizationName(QStringLiteral("Varko"));
    QCoreApplication::setApplicationName(QStringLiteral("QorMonitor"));
    clear();
}

QString TestStore::filePath() const
{
    return QSettings().fileName();
}

void TestStore::clear()
{
    QSettings settings;
    settings.clear();
    if (m_updateCheck == UpdateCheck::Off)
        settings.setValue(QStringLiteral("AutoCheckUpdates"), false);
    settings.sync();
}

void TestStore::writeUnit(int index, const QVariantMap& values)
{
    QSettings settings;
    settings.beginGroup(QStringLiteral("Device%1").arg(index));
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        settings.setValue(it.key(), it.value());
}
