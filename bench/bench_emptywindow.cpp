// SPDX-License-Identifier: MIT
// An empty main window, the measure for start and memory.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("empty"));
    window.resize(1020, 509);
    window.show();
    return QApplication::exec();
}
