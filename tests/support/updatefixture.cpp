// SPDX-License-Identifier: MIT
#include "support/updatefixture.h"

#include "dialogs/dlgdownloadmonitor.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QSettings>
#include <QTimer>
#include <QtTest>

DownloadFolder::DownloadFolder()
{
    QDir().mkpath(path());
    QFile names(m_directory.filePath(QStringLiteral("user-dirs.dirs")));
    if (names.open(QIODevice::WriteOnly))
        names.write("XDG_DOWNLOAD_DIR=\"" + QFile::encodeName(path()) + "\"\n");
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_directory.path()));
}

QByteArray DownloadFolder::read(const QString& name) const
{
    QFile file(filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList DownloadFolder::entries() const
{
    return QDir(path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

QByteArray updateDescription(const QByteArray& versionNo, const QByteArray& fileName)
{
    return "VersionNo=\"" + versionNo + "\"\nVersionDate=\"05. Mar 2026\"\nmingw32_x64FileName=\"" + fileName
        + "\"\n";
}

UpdateFixture::UpdateFixture(QWidget* parent, const QSslConfiguration& security)
    : server(security)
    , dialog(std::make_unique<DlgCheckForUpdates>(QStringLiteral("QorMonitor"), parent))
{
    // As the program does it, whose tray icon stays.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    dialog->addServerUrl(server.baseUrl());
    // Never the user's own, whatever the platform goes by.
    dialog->setDownloadDir(folder.path());
    // Nor does a test need the build's own key.
    dialog->setUpdateKey({});
}

void UpdateFixture::publish(const QByteArray& versionNo, const QByteArray& fileName)
{
    publishText(updateDescription(versionNo, fileName));
}

void UpdateFixture::offer(const HttpAnswer& installer, const QByteArray& fileName)
{
    publish("1.05", fileName);
    server.setAnswer(fileName, installer);
    boxes.answer(QMessageBox::Yes);
}

void UpdateFixture::install(const QString& versionNo)
{
    QSettings().setValue(QStringLiteral("VersionNo"), versionNo);
}

void UpdateFixture::check(bool interactive)
{
    dialog->checkForUpdates(interactive);
    QVERIFY(isBusy());
    QTRY_VERIFY(!isBusy());
}

int UpdateFixture::runProgram(bool interactive, const MessageBoxes::Answer& lastAnswer)
{
    boxes.answer(lastAnswer);
    QTimer::singleShot(0, dialog.get(), [this, interactive] { dialog->checkForUpdates(interactive); });
    QTimer::singleShot(20000, dialog.get(), [] { QCoreApplication::exit(timedOut); });
    return QCoreApplication::exec();
}

QPushButton* UpdateFixture::button(const char* name) const
{
    return dialog->findChild<QPushButton*>(QLatin1String(name));
}

DlgDownloadMonitor* UpdateFixture::monitor() const
{
    return dialog->findChild<DlgDownloadMonitor*>();
}
