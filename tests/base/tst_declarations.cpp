// SPDX-License-Identifier: MIT
// The signals and slots that classes declare, in their order.
#include "devices/device.h"
#include "devices/devicelist.h"
#include "dialogs/dlgabout.h"
#include "dialogs/dlgcheckforupdates.h"
#include "dialogs/dlgdevicemanager.h"
#include "dialogs/dlgdownloadmonitor.h"
#include "dialogs/filedownloader.h"
#include "link/qorinterface.h"

#include "support/literals.h"

#include <QMetaMethod>
#include <QtTest>

Q_DECLARE_METATYPE(const QMetaObject*)

class TestDeclarations : public QObject {
    Q_OBJECT

private slots:
    void signalsAndSlotsStandInOrder_data()
    {
        QTest::addColumn<const QMetaObject*>("meta");
        QTest::addColumn<QStringList>("expected");
        row(Device::staticMetaObject,
            { "signal hostChanged()"_s, "signal zmqPortChanged()"_s, "signal webPortChanged()"_s,
              "signal webSchemeChanged()"_s, "signal qorNameChanged()"_s, "signal ipAddressChanged()"_s,
              "signal monitoredChanged()"_s, "signal versionDataChanged()"_s,
              "signal deviceStateChanged()"_s });
        row(DeviceList::staticMetaObject,
            { "signal listChanged()"_s, "signal listRead()"_s, "signal listCleared()"_s,
              "signal deviceChanged(Device*)"_s, "signal activateWindow()"_s,
              "signal deviceStatesChanged()"_s, "signal alertChanged()"_s, "signal openFilesExhausted()"_s });
        row(QorInterface::staticMetaObject,
            { "signal receiveQorMessage(QByteArray)"_s, "signal connectStateChanged()"_s,
              "signal hostChanged(QString)"_s, "signal portChanged()"_s, "signal ipAddressChanged(QString)"_s,
              "signal openFilesExhausted()"_s, "signal textTooLong(qlonglong)"_s,
              // Behind those for others, the one for itself.
              "signal textReceived(QByteArray)"_s });
        row(FileDownloader::staticMetaObject,
            { "signal downloadSuccess()"_s, "signal downloadFailed()"_s, "signal busyChanged()"_s,
              "slot processFileDownloaded(QNetworkReply*)"_s, "slot processEncrypted(QNetworkReply*)"_s,
              "slot processSslErrors(QNetworkReply*,QList<QSslError>)"_s });
        row(DlgDeviceManager::staticMetaObject,
            { "slot updateActions()"_s, "slot updateList()"_s, "slot rebuildList()"_s,
              "slot updateDevice(Device*)"_s, "slot on_pushButtonClose_clicked()"_s,
              "slot on_pushButtonRemove_clicked()"_s, "slot on_pushButtonAddHost_clicked()"_s,
              "slot on_pushButtonChangeHost_clicked()"_s, "slot on_pushButtonMonitor_clicked()"_s,
              "slot on_pushButtonStopMonitor_clicked()"_s, "slot on_pushButtonRefresh_clicked()"_s,
              "slot on_lineEditNewHost_returnPressed()"_s,
              "slot on_treeWidget_itemDoubleClicked(QTreeWidgetItem*,int)"_s,
              "slot on_treeWidget_itemClicked(QTreeWidgetItem*,int)"_s });
        row(DlgCheckForUpdates::staticMetaObject,
            { "slot on_pushButtonClose_clicked()"_s, "slot on_pushButtonCheckNow_clicked()"_s,
              "slot on_checkBoxAutoCheck_clicked()"_s, "slot processDownloadSuccess()"_s,
              "slot processDownloadFailed()"_s, "slot updateActions()"_s });
        // The meta object's name for qint64.
        row(DlgDownloadMonitor::staticMetaObject,
            { "slot processDownloadProgress(qlonglong,qlonglong)"_s,
              "slot on_pushButtonCancel_clicked()"_s });
        row(DlgAbout::staticMetaObject, { "slot on_pushButtonClose_clicked()"_s });
    }

    void signalsAndSlotsStandInOrder()
    {
        QFETCH(const QMetaObject*, meta);
        QStringList declared;
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            const QMetaMethod method = meta->method(i);
            const bool isSignal = method.methodType() == QMetaMethod::Signal;
            declared.append((isSignal ? "signal "_s : "slot "_s)
                            + QString::fromLatin1(method.methodSignature()));
        }
        QTEST(declared, "expected");
    }

private:
    static void row(const QMetaObject& meta, const QStringList& expected)
    {
        QTest::newRow(meta.className()) << &meta << expected;
    }
};

QTEST_GUILESS_MAIN(TestDeclarations)
#include "tst_declarations.moc"
