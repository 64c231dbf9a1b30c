// SPDX-License-Identifier: MIT
#include "fuzztarget.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <filesystem>
#include <string>

void startFuzzProgram(int& argc, char** argv)
{
    // Never deleted: when libFuzzer ends, parts of Qt are gone already.
    static const auto* const application = new QCoreApplication(argc, argv);
    Q_UNUSED(application)
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    QTemporaryDir folder;
    folder.setAutoRemove(false);
    static const std::string path = folder.path().toStdString();
    std::atexit([] { std::filesystem::remove_all(path); });
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    QCoreApplication::setOrganizationName(QStringLiteral("Varko"));
    QCoreApplication::setApplicationName(QStringLiteral("QorMonitor"));
}
