// SPDX-License-Identifier: MIT
#pragma once

#include "dialogs/dlgcheckforupdates.h"
#include "support/httpserver.h"
#include "support/messageboxes.h"
#include "support/teststore.h"

#include <QPushButton>
#include <QTemporaryDir>

class DlgDownloadMonitor;

// A download folder of the test's own, as the platform names it to the program.
class DownloadFolder {
public:
    DownloadFolder();

    QString path() const { return m_directory.filePath(QStringLiteral("downloads")); }
    QString filePath(const QString& name) const { return path() + QLatin1Char('/') + name; }
    QByteArray read(const QString& name) const;
    QStringList entries() const;

private:
    QTemporaryDir m_directory;
};

// An update dialog with a server, a settings store and a download folder, and with its boxes answered.
class UpdateFixture {
public:
    explicit UpdateFixture(QWidget* parent = nullptr);

    // Puts an update description on the server.
    void publish(const QByteArray& versionNo, const QByteArray& fileName = "setup.exe");
    void publishText(const QByteArray& text) { server.setAnswer("QorMonitorUpdate.info", { text }); }
    // Notes the installed version.
    void install(const QString& versionNo);
    QPushButton* button(const char* name) const;
    bool isBusy() const { return !button("pushButtonCheckNow")->isEnabled(); }
    DlgDownloadMonitor* monitor() const;

    TestStore store { TestStore::UpdateCheck::Unset };
    DownloadFolder folder;
    HttpServer server;
    MessageBoxes boxes;
    std::unique_ptr<DlgCheckForUpdates> dialog;
};
