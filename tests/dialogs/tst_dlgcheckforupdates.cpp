// SPDX-License-Identifier: MIT
#include "dialogs/dlgcheckforupdates.h"

#include "dialogs/dlgdownloadmonitor.h"
#include "dialogs/filedownloader.h"
#include "support/formchecks.h"
#include "support/literals.h"
#include "support/updatefixture.h"

#include <QCheckBox>
#include <QSettings>
#include <QVBoxLayout>
#include <QtTest>

// Marks everything of one context.
class MarkingTranslator : public QTranslator {
public:
    QString translate(const char* context, const char* sourceText, const char*, int) const override
    {
        return qstrcmp(context, "DlgCheckForUpdates") == 0 ? "#"_s + QString::fromUtf8(sourceText)
                                                           : QString();
    }
    bool isEmpty() const override { return false; }
};

class TestDlgCheckForUpdates : public QObject {
    Q_OBJECT

private slots:
    void formLooksAsDesigned()
    {
        const UpdateFixture fixture;
        const DlgCheckForUpdates& dialog = *fixture.dialog;
        QCOMPARE(dialog.objectName(), "DlgCheckForUpdates"_s);
        QCOMPARE(dialog.size(), QSize(342, 116));
        QCOMPARE(dialog.windowTitle(), "Anwendung aktualisieren"_s);
        const auto* rows = qobject_cast<QVBoxLayout*>(dialog.layout());
        QVERIFY(rows);
        QCOMPARE(rows->objectName(), "verticalLayout"_s);
        QCOMPARE(FormChecks::items(rows),
                 (QStringList { "checkBoxAutoCheck"_s,
                                FormChecks::spacer(20, 40, QSizePolicy::Minimum, QSizePolicy::Expanding),
                                "horizontalLayout"_s }));
        const auto* buttons = rows->findChild<QHBoxLayout*>("horizontalLayout"_s);
        QVERIFY(buttons);
        QCOMPARE(FormChecks::items(buttons),
                 (QStringList { "pushButtonCheckNow"_s,
                                FormChecks::spacer(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum),
                                "pushButtonClose"_s }));
        QCOMPARE(dialog.findChild<QCheckBox*>("checkBoxAutoCheck"_s)->text(),
                 "prüfe automatisch auf verfügbare\nUpdates bei Programmstart."_s);
        QCOMPARE(fixture.button("pushButtonCheckNow")->text(), "Prüfe jetzt auf &Updates"_s);
        QCOMPARE(fixture.button("pushButtonClose")->text(), "&Schließen"_s);
        QVERIFY(fixture.button("pushButtonCheckNow")->isEnabled());
        QVERIFY(!dialog.isModal());
        QVERIFY(dialog.isHidden());
    }

    void textsAreTranslatable()
    {
        MarkingTranslator translator;
        QCoreApplication::installTranslator(&translator);
        UpdateFixture fixture;
        fixture.publishText("nothing");
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.boxes.count(), 1);
        QTRY_VERIFY(!fixture.isBusy());
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(fixture.boxes.lastText(), "#Keine Version von QorMonitor verfügbar!"_s);
        QCOMPARE(fixture.boxes.seen().constLast().title, "QorMonitor"_s);
        QCOMPARE(fixture.dialog->windowTitle(), "#Anwendung aktualisieren"_s);
        QCOMPARE(fixture.button("pushButtonClose")->text(), "#&Schließen"_s);
    }

    void declaresSlotsInOrder()
    {
        QCOMPARE(FormChecks::ownMethods(DlgCheckForUpdates::staticMetaObject),
                 (QList<QByteArray> { "on_pushButtonClose_clicked()", "on_pushButtonCheckNow_clicked()",
                                      "on_checkBoxAutoCheck_clicked()", "processDownloadSuccess()",
                                      "processDownloadFailed()", "updateActions()" }));
    }

    void ownsDownloaderAndMonitor()
    {
        QWidget parent;
        const UpdateFixture fixture(&parent);
        QCOMPARE(fixture.dialog->parent(), &parent);
        // The downloader's parent is the dialog's own parent, the monitor's is the dialog.
        QCOMPARE(parent.findChildren<FileDownloader*>(QString(), Qt::FindDirectChildrenOnly).size(), 1);
        QVERIFY(fixture.monitor());
        QCOMPARE(fixture.monitor()->parent(), fixture.dialog.get());
        QVERIFY(fixture.monitor()->isHidden());
        QVERIFY(!parent.findChild<FileDownloader*>()->isBusy());
    }

    void destructionTakesDownloaderAndMonitorAlong()
    {
        QWidget parent;
        UpdateFixture fixture(&parent);
        const QPointer<FileDownloader> downloader(parent.findChild<FileDownloader*>());
        const QPointer<DlgDownloadMonitor> monitor(fixture.monitor());
        QVERIFY(downloader && monitor);
        fixture.dialog.reset();
        QVERIFY(!downloader);
        QVERIFY(!monitor);
    }

    void boxShowsTheSetting_data()
    {
        QTest::addColumn<QVariant>("setting");
        QTest::addColumn<bool>("checked");
        QTest::newRow("missing") << QVariant() << true;
        QTest::newRow("on") << QVariant(true) << true;
        QTest::newRow("off") << QVariant(false) << false;
    }

    void boxShowsTheSetting()
    {
        QFETCH(const QVariant, setting);
        QFETCH(const bool, checked);
        const TestStore store(TestStore::UpdateCheck::Unset);
        if (setting.isValid())
            QSettings().setValue("AutoCheckUpdates"_s, setting);
        const DlgCheckForUpdates dialog("QorMonitor"_s, nullptr);
        QCOMPARE(dialog.findChild<QCheckBox*>()->isChecked(), checked);
    }

    void clickOnTheBoxIsStoredAtOnce()
    {
        const UpdateFixture fixture;
        auto* box = fixture.dialog->findChild<QCheckBox*>();
        box->click();
        const auto stored = [] { return QSettings().value("AutoCheckUpdates"_s); };
        QVERIFY(stored().isValid());
        QCOMPARE(stored().toBool(), false);
        box->click();
        QCOMPARE(stored().toBool(), true);
    }

    void constructionWritesNothing()
    {
        const UpdateFixture fixture;
        QVERIFY(QSettings().allKeys().isEmpty());
        // Only a click is stored, not a change by program.
        fixture.dialog->findChild<QCheckBox*>()->setChecked(false);
        QVERIFY(QSettings().allKeys().isEmpty());
    }

    void withoutServerNothingHappens()
    {
        const TestStore store(TestStore::UpdateCheck::Unset);
        const MessageBoxes boxes;
        QWidget parent;
        DlgCheckForUpdates dialog("QorMonitor"_s, &parent);
        QSignalSpy busy(parent.findChild<FileDownloader*>(), &FileDownloader::busyChanged);
        dialog.checkForUpdates(true);
        dialog.checkForUpdates(false);
        dialog.downloadUpdateFile("setup.exe"_s);
        QVERIFY(!busy.wait(100));
        QCOMPARE(busy.count(), 0);
        QCOMPARE(boxes.count(), 0);
        QVERIFY(dialog.findChild<DlgDownloadMonitor*>()->isHidden());
    }

    void onlyTheFirstServerIsUsed()
    {
        UpdateFixture fixture;
        HttpServer second;
        fixture.dialog->addServerUrl(second.baseUrl());
        fixture.dialog->checkForUpdates(true);
        QTRY_COMPARE(fixture.boxes.count(), 1);
        QTRY_VERIFY(!fixture.isBusy());
        QCOMPARE(fixture.server.requestCount("QorMonitorUpdate.info"), 1);
        QCOMPARE(fixture.server.requests().size(), 1);
        QVERIFY(second.requests().isEmpty());
    }

    void closeButtonClosesTheIdleDialog()
    {
        const UpdateFixture fixture;
        fixture.dialog->show();
        fixture.button("pushButtonClose")->click();
        QVERIFY(fixture.dialog->isHidden());
        QCOMPARE(fixture.boxes.count(), 0);
    }
};

QTEST_MAIN(TestDlgCheckForUpdates)
#include "tst_dlgcheckforupdates.moc"
