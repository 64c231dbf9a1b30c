// SPDX-License-Identifier: MIT
#pragma once

#include "dialogs/systemproxies.h"
#include "dialogs/updateinfo.h"

#include <QDialog>
#include <QStringList>

#include <memory>
#include <optional>

class DlgDownloadMonitor;
class FileDownloader;

namespace Ui {
class DlgCheckForUpdates;
}

// Looks for a newer version of the program on the update server, offers it, loads the installer into the
// download folder, starts it and ends the program. Created once by the main window and reused; it stays
// hidden during the automatic check. Its message boxes run nested event loops, in which the user may close
// the dialog or end the program; the latter ends these loops first, so that the dialog outlives its boxes.
class DlgCheckForUpdates : public QDialog {
    Q_OBJECT

public:
    // appName is the title of most message boxes and the beginning of the description's file name; parent
    // is the parent of these boxes.
    DlgCheckForUpdates(QString appName, QWidget* parent);
    ~DlgCheckForUpdates() override;
    Q_DISABLE_COPY_MOVE(DlgCheckForUpdates)

    // A base URL that ends in "/"; only the first one is used.
    void addServerUrl(const QString& url);
    // Where installers are saved; the user's own download folder by default.
    void setDownloadDir(const QString& path) { m_downloadDir = path; }
    // The public key that installers must be signed for, in hexadecimal digits; the build's own by default.
    // With an empty one they need no signature.
    void setUpdateKey(const QString& key) { m_updateKey = key; }
    // Loads and evaluates the update description, unless a transfer is running or a box tells of its end. A
    // check that is not interactive does nothing when it is switched off, and is silent unless there is
    // a newer version.
    void checkForUpdates(bool interactive);
    // Loads the installer of this name and shows the progress.
    void downloadUpdateFile(const QString& fileName);

private slots:
    void on_pushButtonClose_clicked();
    void on_pushButtonCheckNow_clicked();
    void on_checkBoxAutoCheck_clicked();
    void processDownloadSuccess();
    void processDownloadFailed();
    void updateActions();

private:
    void loadDescription();
    void evaluateDescription();
    void offerVersion(const QString& versionNo);
    void installDownloadedFile();
    // The reason when the downloaded data could not be saved.
    std::optional<QString> saveDownloadedFile(const QString& path);
    // The reason when a signature is asked for, and the downloaded data has none that fits.
    std::optional<QString> signatureError() const;
    void placeOnScreen();

    std::unique_ptr<Ui::DlgCheckForUpdates> m_ui;
    QString m_appName;
    QStringList m_serverUrls;
    SystemProxies m_proxies;
    // Whether a check has begun and waits for them.
    bool m_waitsForProxies = false;
    // A child of the dialog's own parent, which lives longer.
    std::unique_ptr<FileDownloader> m_downloader;
    bool m_interactive = false;
    QWidget* m_messageParent;
    DlgDownloadMonitor* m_downloadMonitor;
    // Whether the present transfer is the installer's, not the description's.
    bool m_fileDownload = false;
    QString m_downloadDir;
    QString m_updateKey;
    // What the last description said of the installer.
    QString m_versionNo;
    QString m_fileName;
    QString m_signature;
};
