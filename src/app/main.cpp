// SPDX-License-Identifier: MIT
#include "app/monitorapplication.h"
#include "app/singleinstanceapp.h"
#include "base/contact.h"
#include "base/version.h"
#include "link/hostlookup.h"
#include "link/openfiles.h"
#include "mainwindow/mainwinqormonitor.h"

#include <QDebug>
#include <QIcon>
#include <QProcess>
#include <QTranslator>

#include <cstdlib>

namespace {

constexpr int exitSecondInstance = -2;
constexpr int exitException = -1;

void writeBanner()
{
    const QStringList lines {
        QString(),
        QStringLiteral("QorMonitor - monitor for QORweb II units, by Varko"),
        QStringLiteral("Version ") + programVersion(),
        Contact::Maker::company,
        Contact::Maker::street,
        Contact::Maker::town,
        Contact::Maker::email,
        QString(31, QLatin1Char('=')),
        QString(),
    };
    qDebug().noquote() << lines.join(QLatin1Char('\n'));
}

// The locals are destroyed in the order window, translator, guard, application.
int runMonitor(int& argc, char** argv)
{
    MonitorApplication application(argc, argv);

    SingleInstanceApp guard(QStringLiteral("qor-monitor"));
    if (!guard.init())
        return exitSecondInstance;

    QTranslator translator;
    if (translator.load(QStringLiteral(":/qt_de.qm")))
        QCoreApplication::installTranslator(&translator);
    else
        qDebug() << "Error: can't load translator file qt_de";

    QCoreApplication::setOrganizationName(QStringLiteral("Varko"));
    QCoreApplication::setOrganizationDomain(Contact::Maker::domain);
    QCoreApplication::setApplicationName(QStringLiteral("QorMonitor"));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    // Qt would close the windows at the end of the desktop session, and a window that hides instead would
    // then hold up the logout.
    QGuiApplication::setFallbackSessionManagementEnabled(false);

    // For the windows without a parent; the main window's form has its own.
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/favicon.png")));
    MainWinQorMonitor mainWindow;
    guard.setMainWindow(&mainWindow);
    mainWindow.show();
    const int code = application.run();
    if (guard.hasTurnedAway())
        QProcess::startDetached(QCoreApplication::applicationFilePath(), {});
    return code;
}

} // namespace

int main(int argc, char* argv[])
{
    writeBanner();
    raiseOpenFileLimit();
    int code = exitException;
    try {
        code = runMonitor(argc, argv);
    } catch (...) {
        qDebug() << "main: Error, exception caught!";
    }
    qDebug() << "main: exit" << code;
    // A lookup without a name server cannot be ended, and must not come back to a program that is half gone.
    if (isLookUpUnderWay())
        std::_Exit(code);
    return code;
}
