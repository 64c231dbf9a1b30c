// SPDX-License-Identifier: MIT
#pragma once

#include "dialogs/dlgcheckforupdates.h"
#include "support/httpserver.h"
#include "support/messageboxes.h"
#include "support/teststore.h"

#include <QPushButton>
#include <QTemporaryDir>

#include <memory>

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

// The text of an update description, as the server delivers it.
QByteArray updateDescription(const QByteArray& versionNo, const QByteArray& fileName);

// An update dialog with a server, a settings store and a download folder, and with its boxes answered.
class UpdateFixture {
public:
    explicit UpdateFixture(QWidget* parent = nullptr, const QSslConfiguration& security = {});

    // Puts an update description on the server.
    void publish(const QByteArray& versionNo, const QByteArray& fileName = "setup.exe");
    void publishText(const QByteArray& text) { publish(HttpAnswer::ok(text)); }
    void publish(const HttpAnswer& description) { server.setAnswer("QorMonitorUpdate.info", description); }
    // Publishes version 1.05 with this installer, and has the offer answered with Yes.
    void offer(const HttpAnswer& installer, const QByteArray& fileName = "setup.exe");
    // Notes the installed version.
    void install(const QString& versionNo);

    // Loads one description until that is evaluated and the boxes about it are answered.
    void check(bool interactive = true);
    // Runs one check in an event loop like the program's, with this answer for the box that has no other, and
    // returns the code with which that loop ends.
    int runProgram(bool interactive, const MessageBoxes::Answer& lastAnswer);
    static constexpr int timedOut = 99;

    QPushButton* button(const char* name) const;
    bool isBusy() const { return !button("pushButtonCheckNow")->isEnabled(); }
    DlgDownloadMonitor* monitor() const;

    TestStore store { TestStore::UpdateCheck::Unset };
    DownloadFolder folder;
    HttpServer server;
    MessageBoxes boxes;
    std::unique_ptr<DlgCheckForUpdates> dialog;
};
