// SPDX-License-Identifier: MIT
#include "dialogs/dlgcheckforupdates.h"

#include "base/version.h"
#include "base/writesettings.h"
#include "dialogs/dlgdownloadmonitor.h"
#include "dialogs/filedownloader.h"
#include "dialogs/updatesignature.h"
#include "ui_dlgcheckforupdates.h"

#include <QCoreApplication>
#include <QFile>
#include <QMessageBox>
#include <QProcess>
#include <QScreen>
#include <QSettings>
#include <QStandardPaths>

#include <utility>

namespace {

const auto autoCheckKey = QStringLiteral("AutoCheckUpdates");
const auto versionKey = QStringLiteral("VersionNo");
// What the installers for this program are listed under, whatever it was built with.
const auto platform = QStringLiteral("mingw32_x64");
constexpr int startTimeoutMs = 5000;
// Some thousand times as long as a description is.
constexpr qint64 descriptionSizeLimit = 1LL << 20;

// Whether the name names a file in the folder that it is appended to, and nowhere else.
bool isPlainFileName(const QString& name)
{
    return name != QLatin1String(".") && name != QLatin1String("..") && !name.contains(QLatin1Char('/'))
        && !name.contains(QLatin1Char('\\')) && !name.contains(QLatin1Char(':'));
}

} // namespace

DlgCheckForUpdates::DlgCheckForUpdates(QString appName, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::DlgCheckForUpdates>())
    , m_appName(std::move(appName))
    , m_downloader(std::make_unique<FileDownloader>(parent))
    , m_messageParent(parent)
    , m_downloadMonitor(new DlgDownloadMonitor(this))
    , m_updateKey(updateKey())
{
    m_ui->setupUi(this);
    m_ui->checkBoxAutoCheck->setChecked(QSettings().value(autoCheckKey, true).toBool());
    const QStringList folders = QStandardPaths::standardLocations(QStandardPaths::DownloadLocation);
    if (!folders.isEmpty())
        m_downloadDir = folders.first();
    connect(m_downloader.get(), &FileDownloader::busyChanged, this, &DlgCheckForUpdates::updateActions);
    connect(m_downloader.get(), &FileDownloader::downloadSuccess, this,
            &DlgCheckForUpdates::processDownloadSuccess);
    connect(m_downloader.get(), &FileDownloader::downloadFailed, this,
            &DlgCheckForUpdates::processDownloadFailed);
    connect(&m_proxies, &SystemProxies::found, this, [this] {
        if (std::exchange(m_waitsForProxies, false))
            loadDescription();
    });
}

DlgCheckForUpdates::~DlgCheckForUpdates() = default;

void DlgCheckForUpdates::addServerUrl(const QString& url)
{
    m_serverUrls.append(url);
}

void DlgCheckForUpdates::checkForUpdates(bool interactive)
{
    if (!interactive && !m_ui->checkBoxAutoCheck->isChecked())
        return;
    // The busy flag alone is not enough: it is down while an installer is loading and while a box tells of
    // its end, but neither is the transfer to be disturbed nor the installation to be begun twice.
    if (!m_downloader->isIdle())
        return;
    m_interactive = interactive;
    if (m_serverUrls.isEmpty())
        return;
    m_fileDownload = false;
    if (m_proxies.areKnown(QUrl(m_serverUrls.first()))) {
        loadDescription();
        return;
    }
    m_waitsForProxies = true;
    m_downloader->setBusy(true);
}

void DlgCheckForUpdates::loadDescription()
{
    m_downloader->download(QUrl(m_serverUrls.first() + m_appName + QStringLiteral("Update.info")),
                           descriptionSizeLimit);
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
    // There is no transfer yet that would tell of its end.
    if (std::exchange(m_waitsForProxies, false))
        processDownloadFailed();
    m_downloader->cancel();
    m_downloadMonitor->hide();
    close();
}

void DlgCheckForUpdates::on_pushButtonCheckNow_clicked()
{
    checkForUpdates(true);
}

void DlgCheckForUpdates::on_checkBoxAutoCheck_clicked()
{
    writeSettings([this](QSettings& settings) {
        settings.setValue(autoCheckKey, m_ui->checkBoxAutoCheck->isChecked());
    });
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
        QMessageBox::critical(m_messageParent, m_appName,
                              tr("Fehler beim Download der Update Datei\n%1!").arg(m_fileName));
    else if (m_interactive)
        QMessageBox::warning(
            m_messageParent, m_appName,
            tr("Konnte keine Informationen vom Server herunterladen\noder Server antwortet nicht!"));
}

void DlgCheckForUpdates::evaluateDescription()
{
    // Ends at the first zero byte, as a C string does.
    const QString text = QString::fromUtf8(m_downloader->downloadedData().constData());
    QString versionDate;
    parseUpdateInfo(text, platform, m_versionNo, versionDate, m_fileName);
    m_signature = parseUpdateSignature(text, platform);
    if (m_versionNo.isEmpty() || versionDate.isEmpty() || m_fileName.isEmpty()) {
        if (m_interactive)
            QMessageBox::information(m_messageParent, m_appName,
                                     tr("Keine Version von %1 verfügbar!").arg(m_appName));
        return;
    }
    // The version that the installation has noted counts, not the compiled-in one, and both as floating-point
    // numbers: 1.10 is not newer than 1.1.
    if (m_versionNo.toDouble() > QSettings().value(versionKey).toDouble())
        offerVersion(m_versionNo);
    else if (m_interactive)
        QMessageBox::information(m_messageParent, m_appName,
                                 tr("Keine neue Version von %1 verfügbar!").arg(m_appName));
}

void DlgCheckForUpdates::offerVersion(const QString& versionNo)
{
    const auto answer = QMessageBox::question(
        m_messageParent, m_appName,
        tr("Eine neue Version %1 von %2 ist verfügbar.\nMöchten Sie diese Version herunterladen?")
            .arg(versionNo, m_appName));
    if (answer == QMessageBox::Yes)
        downloadUpdateFile(m_fileName);
}

void DlgCheckForUpdates::installDownloadedFile()
{
    const QString path = m_downloadDir + QLatin1Char('/') + m_fileName;
    placeOnScreen();
    if (const auto error = saveDownloadedFile(path)) {
        // The reason fills the first place and "%2" stays, as users have always seen it.
        QMessageBox::critical(this, windowTitle(),
                              tr("Fehler beim Speichern der Datei\n%1!\nGrund: %2.").arg(*error));
        return;
    }
    const auto answer
        = QMessageBox::information(this, windowTitle(), tr("Download erfolgreich abgeschlossen!"));
    // The box also ends when the user ends the program. Then nothing is installed.
    if (answer != QMessageBox::Ok)
        return;
    QProcess installer;
    installer.setProgram(path);
    installer.startDetached();
    installer.waitForStarted(startTimeoutMs);
    QCoreApplication::exit(0);
}

std::optional<QString> DlgCheckForUpdates::saveDownloadedFile(const QString& path)
{
    if (!isPlainFileName(m_fileName))
        return tr("Unzulässiger Dateiname \"%1\"").arg(m_fileName);
    if (auto error = signatureError())
        return error;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return file.errorString();
    file.write(m_downloader->downloadedData());
    // What is still buffered could fail later, unseen.
    file.flush();
    if (file.error() != QFileDevice::NoError) {
        const QString reason = file.errorString();
        // Half an installer is nothing to leave behind. Closed first: while there is something to write that
        // cannot be written, a file refuses to be removed.
        file.close();
        file.remove();
        return reason;
    }
    // Windows takes no notice: there the name decides whether a file can be started.
    file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
    return std::nullopt;
}

std::optional<QString> DlgCheckForUpdates::signatureError() const
{
    if (m_updateKey.isEmpty())
        return std::nullopt;
    if (m_signature.isEmpty())
        return tr("Die Signatur des Updates fehlt");
    if (!isSigned(signedUpdateBytes(m_versionNo, m_fileName, m_downloader->downloadedData()), m_signature,
                  m_updateKey))
        return tr("Die Signatur des Updates ist falsch");
    return std::nullopt;
}

// The two boxes that have this dialog as their parent open over it. In an automatic check it has never been
// shown, and lies in the corner of the screen until it is placed.
void DlgCheckForUpdates::placeOnScreen()
{
    if (isVisible() || testAttribute(Qt::WA_Moved))
        return;
    adjustSize();
    move(screen()->availableGeometry().center() - rect().center());
}
