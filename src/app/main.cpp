// SPDX-License-Identifier: MIT
#include "app/singleinstanceapp.h"
#include "base/contact.h"
#include "base/version.h"
#include "mainwindow/mainwinqormonitor.h"

#include <QApplication>
#include <QDebug>
#include <QIcon>
#include <QTranslator>

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
    const QApplication application(argc, argv);

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
    return QApplication::exec();
}

} // namespace

int main(int argc, char* argv[])
{
    writeBanner();
    int code = exitException;
    try {
        code = runMonitor(argc, argv);
    } catch (...) {
        qDebug() << "main: Error, exception caught!";
    }
    qDebug() << "main: exit" << code;
    return code;
}
