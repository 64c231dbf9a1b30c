// SPDX-License-Identifier: MIT
#include "dialogs/dlgcheckforupdates.h"

#include "dialogs/dlgdownloadmonitor.h"
#include "dialogs/filedownloader.h"
#include "ui_dlgcheckforupdates.h"

#include <QCoreApplication>
#include <QFile>
#include <QMessageBox>
#include <QPointer>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>

#include <utility>

namespace {

const auto autoCheckKey = QStringLiteral("AutoCheckUpdates");
const auto versionKey = QStringLiteral("VersionNo");
// What the installers for this program are listed under, whatever it was built with.
const auto platform = QStringLiteral("mingw32_x64");
constexpr int startTimeoutMs = 5000;

// Whether the name names a file in the folder that it is appended to, and nowhere else.
bool isPlainFileName(const QString& name)
{
    return name != QLatin1String(".") && name != QLatin1String("..") && !name.contains(QLatin1Char('/'))
        && !name.contains(QLatin1Char('\\')) && !name.contains(QLatin1Char(':'));
}

// Shows a message box as the functions of QMessageBox do. Unlike theirs it may go away with its parent while
// it is open; the answer is then No.
QMessageBox::StandardButton showBox(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                    const QString& text,
                                    QMessageBox::StandardButtons buttons = QMessageBox::Ok)
{
    const QPointer<QMessageBox> box(new QMessageBox(icon, title, text, buttons, parent));
    if (buttons == QMessageBox::Ok)
        box->setDefaultButton(QMessageBox::Ok);
    box->exec();
    if (!box)
        return QMessageBox::No;
    const auto answer = box->standardButton(box->clickedButton());
    delete box;
    return answer;
}

} // namespace

DlgCheckForUpdates::DlgCheckForUpdates(QString appName, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::DlgCheckForUpdates>())
    , m_appName(std::move(appName))
    , m_downloader(new FileDownloader(parent))
    , m_messageParent(parent)
    , m_downloadMonitor(new DlgDownloadMonitor(this))
{
    m_ui->setupUi(this);
    m_ui->checkBoxAutoCheck->setChecked(QSettings().value(autoCheckKey, true).toBool());
    const QStringList folders = QStandardPaths::standardLocations(QStandardPaths::DownloadLocation);
    if (!folders.isEmpty())
        m_downloadDir = folders.first();
    connect(m_downloader, &FileDownloader::busyChanged, this, &DlgCheckForUpdates::updateActions);
    connect(m_downloader, &FileDownloader::downloadSuccess, this,
            &DlgCheckForUpdates::processDownloadSuccess);
    connect(m_downloader, &FileDownloader::downloadFailed, this, &DlgCheckForUpdates::processDownloadFailed);
}

DlgCheckForUpdates::~DlgCheckForUpdates()
{
    if (m_downloader->isReporting())
        m_downloader->deleteAfterReport();
    else
        delete m_downloader;
    delete m_downloadMonitor;
}

void DlgCheckForUpdates::addServerUrl(const QString& url)
{
    m_serverUrls.append(url);
}

void DlgCheckForUpdates::checkForUpdates(bool interactive)
{
    if (!interactive && !m_ui->checkBoxAutoCheck->isChecked())
        return;
    // The busy flag is down while an installer is loading and while a box tells of its end, but neither the
    // transfer is to be disturbed nor the installation to be begun twice.
    if (m_downloader->isBusy() || m_downloader->currentReply() || m_downloader->isReporting())
        return;
    m_interactive = interactive;
    if (m_serverUrls.isEmpty())
        return;
    m_fileDownload = false;
    m_downloader->download(QUrl(m_serverUrls.first() + m_appName + QStringLiteral("Update.info")));
}

void DlgCheckForUpdates::downloadUpdateFile(const QString& fileName)
{
    if (m_serverUrls.isEmpty())
        return;
    m_fileDownload = true;
    m_downloader->download(QUrl(m_serverUrls.first() + fileName));
    m_downloadMonitor->startMonitoring(fileName, m_downloadDir, m_downloader->currentReply());
}

void DlgCheckForUpdates::on_pushButtonClose_clicked()
{
    // The cancelled transfer is reported before this returns, perhaps in a message box.
    const QPointer<DlgCheckForUpdates> self(this);
    m_downloader->cancel();
    if (!self)
        return;
    m_downloadMonitor->hide();
    close();
}

void DlgCheckForUpdates::on_pushButtonCheckNow_clicked()
{
    if (!m_downloader->isBusy())
        checkForUpdates(true);
}

void DlgCheckForUpdates::on_checkBoxAutoCheck_clicked()
{
    QSettings().setValue(autoCheckKey, m_ui->checkBoxAutoCheck->isChecked());
}

void DlgCheckForUpdates::updateActions()
{
    m_ui->pushButtonCheckNow->setEnabled(!m_downloader->isBusy());
}

void DlgCheckForUpdates::processDownloadSuccess()
{
    m_downloadMonitor->hide();
    if (m_fileDownload)
        installDownloadedFile();
    else
        evaluateDescription();
}

void DlgCheckForUpdates::processDownloadFailed()
{
    m_downloadMonitor->hide();
    if (m_fileDownload)
        showBox(m_messageParent, QMessageBox::Critical, m_appName,
                tr("Fehler beim Download der Update Datei\n%1!").arg(m_fileName));
    else if (m_interactive)
        showBox(m_messageParent, QMessageBox::Warning, m_appName,
                tr("Konnte keine Informationen vom Server herunterladen\noder Server antwortet nicht!"));
}

void DlgCheckForUpdates::evaluateDescription()
{
    // Ends at the first zero byte, as a C string does.
    const QString text = QString::fromUtf8(m_downloader->downloadedData().constData());
    QString versionNo;
    QString versionDate;
    parseUpdateInfo(text, platform, versionNo, versionDate, m_fileName);
    if (versionNo.isEmpty() || versionDate.isEmpty() || m_fileName.isEmpty()) {
        if (m_interactive)
            showBox(m_messageParent, QMessageBox::Information, m_appName,
                    tr("Keine Version von %1 verfügbar!").arg(m_appName));
        return;
    }
    // The version that the installation has noted counts, not the compiled-in one, and both as floating-point
    // numbers: 1.10 is not newer than 1.1.
    if (versionNo.toDouble() > QSettings().value(versionKey).toDouble())
        offerVersion(versionNo);
    else if (m_interactive)
        showBox(m_messageParent, QMessageBox::Information, m_appName,
                tr("Keine neue Version von %1 verfügbar!").arg(m_appName));
}

void DlgCheckForUpdates::offerVersion(const QString& versionNo)
{
    const QString fileName = m_fileName;
    const QPointer<DlgCheckForUpdates> self(this);
    const auto answer
        = showBox(m_messageParent, QMessageBox::Question, m_appName,
                  tr("Eine neue Version %1 von %2 ist verfügbar.\nMöchten Sie diese Version herunterladen?")
                      .arg(versionNo, m_appName),
                  QMessageBox::Yes | QMessageBox::No);
    if (self && answer == QMessageBox::Yes)
        downloadUpdateFile(fileName);
}

void DlgCheckForUpdates::installDownloadedFile()
{
    const QString path = m_downloadDir + QLatin1Char('/') + m_fileName;
    const QString error = isPlainFileName(m_fileName) ? saveDownloadedFile(path)
                                                      : tr("Unzulässiger Dateiname \"%1\"").arg(m_fileName);
    if (!error.isNull()) {
        showSaveError(error);
        return;
    }
    const QPointer<DlgCheckForUpdates> self(this);
    showBox(this, QMessageBox::Information, windowTitle(), tr("Download erfolgreich abgeschlossen!"));
    if (!self)
        return;
    QProcess installer;
    installer.setProgram(path);
    installer.startDetached();
    installer.waitForStarted(startTimeoutMs);
    QCoreApplication::exit(0);
}

// Writes the downloaded data; the reason of a failure, null for success.
QString DlgCheckForUpdates::saveDownloadedFile(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(m_downloader->downloadedData());
        // What is still buffered could fail later, unseen.
        file.flush();
    }
    if (file.error() != QFileDevice::NoError) {
        QString reason = file.errorString();
        // Half an installer is nothing to leave behind. Removed by name, since an open file that cannot be
        // written to its end refuses.
        const bool begun = file.isOpen();
        file.close();
        if (begun)
            QFile::remove(path);
        return reason;
    }
#ifdef Q_OS_UNIX
    file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
#endif
    file.close();
    return {};
}

void DlgCheckForUpdates::showSaveError(const QString& reason)
{
    // One substitution on purpose: the reason stands for the first place, and "%2" stays in the text.
    showBox(this, QMessageBox::Critical, windowTitle(),
            tr("Fehler beim Speichern der Datei\n%1!\nGrund: %2.").arg(reason));
}
