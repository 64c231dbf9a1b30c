// SPDX-License-Identifier: MIT
#include "app/monitorapplication.h"

#include <QThread>
#include <QtPlatformHeaders/QWindowsWindowFunctions>

#include <utility>

namespace {
// Sets what must be set before the application exists.
int& prepared(int& argc)
{
    // Nothing is drawn by OpenGL here, and on X11 its drivers would take half of the start to load, and much
    // memory.
    QCoreApplication::setAttribute(Qt::AA_ForceRasterWidgets);
#ifdef Q_OS_WIN
    // Without it the logo, fonts in pixels and fields of a fixed width keep their size while everything else
    // grows. Elsewhere the desktop scales, and an X server's own idea of its resolution would make odd sizes.
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
#endif
    return argc;
}
} // namespace

MonitorApplication::MonitorApplication(int& argc, char** argv)
    : QApplication(prepared(argc), argv)
{
    // An alert and a second start bring the window up. By default Windows would only let its entry in the
    // task bar flash; elsewhere this does nothing.
    QWindowsWindowFunctions::setWindowActivationBehavior(QWindowsWindowFunctions::AlwaysActivateWindow);
}

int MonitorApplication::run()
{
    // What was thrown before, when there was no loop to end, is not to wait for this one's end.
    const int code = m_failure ? 0 : exec();
    if (m_failure)
        std::rethrow_exception(std::exchange(m_failure, nullptr));
    return code;
}

bool MonitorApplication::notify(QObject* receiver, QEvent* event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (...) {
        // Qt delivers the events of its own threads here, too; those are not this object's to end.
        if (QThread::currentThread() != thread())
            throw;
        if (!m_failure)
            m_failure = std::current_exception();
        exit(EXIT_FAILURE);
        return false;
    }
}
