// SPDX-License-Identifier: MIT
#include "dialogs/dlgdownloadmonitor.h"

#include "support/formchecks.h"
#include "support/httpserver.h"
#include "support/literals.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <QtTest>

#include <limits>

namespace {

// Counts one kind of event on its way to an object.
class EventCounter : public QObject {
public:
    EventCounter(QObject* watched, QEvent::Type type)
        : m_type(type)
    {
        watched->installEventFilter(this);
    }
    int count() const { return m_count; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        m_count += event->type() == m_type ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }

private:
    QEvent::Type m_type;
    int m_count = 0;
};

template <typename Widget> Widget* find(const DlgDownloadMonitor& monitor, const char* name)
{
    return monitor.findChild<Widget*>(QLatin1String(name));
}

QProgressBar* bar(const DlgDownloadMonitor& monitor)
{
    return find<QProgressBar>(monitor, "progressBar");
}

void progress(DlgDownloadMonitor* monitor, qint64 received, qint64 total)
{
    QVERIFY(QMetaObject::invokeMethod(monitor, "processDownloadProgress", Q_ARG(qint64, received),
                                      Q_ARG(qint64, total)));
}

// Progress is reported every 100 ms at most, and only when something arrives: the tests let bytes trickle.
bool isUndetermined(const QProgressBar* progressBar)
{
    return progressBar->minimum() == 0 && progressBar->maximum() == 0;
}
} // namespace

class TestDlgDownloadMonitor : public QObject {
    Q_OBJECT

private slots:
    void formLooksAsDesigned()
    {
        const DlgDownloadMonitor monitor(nullptr);
        QCOMPARE(monitor.objectName(), "DlgDownloadMonitor"_s);
        QCOMPARE(monitor.size(), QSize(497, 144));
        QCOMPARE(monitor.windowTitle(), "Download Monitor"_s);
        QVERIFY(monitor.isHidden());
        QVERIFY(!monitor.isModal());
        const auto* rows = qobject_cast<QVBoxLayout*>(monitor.layout());
        QVERIFY(rows);
        QCOMPARE(rows->objectName(), "verticalLayout"_s);
        QCOMPARE(FormChecks::items(rows),
                 (QStringList { "gridLayout"_s,
                                FormChecks::spacer(20, 11, QSizePolicy::Minimum, QSizePolicy::Expanding),
                                "horizontalLayout"_s }));
        QCOMPARE(FormChecks::items(find<QHBoxLayout>(monitor, "horizontalLayout")),
                 (QStringList { FormChecks::spacer(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum),
                                "pushButtonCancel"_s }));
        QCOMPARE(find<QPushButton>(monitor, "pushButtonCancel")->text(), "Abbrechen"_s);
        QCOMPARE(bar(monitor)->value(), 24);
        QCOMPARE(bar(monitor)->alignment(), Qt::AlignCenter);
        QVERIFY(find<QLineEdit>(monitor, "lineEditFile")->isReadOnly());
        QVERIFY(find<QLineEdit>(monitor, "lineEditSaveTo")->isReadOnly());
    }

    void rowsOfTheGrid()
    {
        const DlgDownloadMonitor monitor(nullptr);
        const auto* grid = find<QGridLayout>(monitor, "gridLayout");
        QVERIFY(grid);
        QCOMPARE(grid->rowCount(), 3);
        QCOMPARE(grid->columnCount(), 2);
        const QStringList names { "label_2"_s,        "lineEditFile"_s, "label_3"_s,
                                  "lineEditSaveTo"_s, "label"_s,        "progressBar"_s };
        const QStringList texts { "Datei:"_s, "nach:"_s, "Fortschritt"_s };
        for (int row = 0; row < 3; ++row) {
            QCOMPARE(grid->itemAtPosition(row, 0)->widget()->objectName(), names.at(2 * row));
            QCOMPARE(grid->itemAtPosition(row, 1)->widget()->objectName(), names.at(2 * row + 1));
            const auto* label = qobject_cast<QLabel*>(grid->itemAtPosition(row, 0)->widget());
            QVERIFY(label);
            QCOMPARE(label->text(), texts.at(row));
        }
    }

    void declaresSlotsInOrder()
    {
        // The meta object's name for qint64.
        QCOMPARE(FormChecks::ownMethods(DlgDownloadMonitor::staticMetaObject),
                 (QList<QByteArray> { "processDownloadProgress(qlonglong,qlonglong)",
                                      "on_pushButtonCancel_clicked()" }));
    }

    void startShowsTheTransfer()
    {
        DlgDownloadMonitor monitor(nullptr);
        progress(&monitor, 5, 10);
        monitor.startMonitoring("setup.exe"_s, "/some/folder"_s, nullptr);
        QVERIFY(monitor.isVisible());
        QTRY_VERIFY(monitor.isActiveWindow());
        QCOMPARE(find<QLineEdit>(monitor, "lineEditFile")->text(), "setup.exe"_s);
        QCOMPARE(find<QLineEdit>(monitor, "lineEditSaveTo")->text(), "/some/folder"_s);
        QVERIFY(isUndetermined(bar(monitor)));
    }

    void longNamesShowTheirBeginning()
    {
        DlgDownloadMonitor monitor(nullptr);
        const QString name(300, QLatin1Char('x'));
        monitor.startMonitoring(name, QLatin1Char('/') + name, nullptr);
        for (const char* field : { "lineEditFile", "lineEditSaveTo" }) {
            QVERIFY(find<QLineEdit>(monitor, field)->text().endsWith(name));
            QCOMPARE(find<QLineEdit>(monitor, field)->cursorPosition(), 0);
            QVERIFY(!find<QLineEdit>(monitor, field)->hasSelectedText());
        }
    }

    void nextStartComesToTheFront()
    {
        DlgDownloadMonitor monitor(nullptr);
        monitor.startMonitoring("first"_s, "folder"_s, nullptr);
        QVERIFY(QTest::qWaitForWindowActive(&monitor));
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QVERIFY(!monitor.isActiveWindow());
        EventCounter raised(&monitor, QEvent::ZOrderChange);
        monitor.startMonitoring("second"_s, "folder"_s, nullptr);
        QCOMPARE(raised.count(), 1);
        QTRY_VERIFY(monitor.isActiveWindow());
    }

    void showsProgress_data()
    {
        QTest::addColumn<qint64>("received");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<int>("maximum");
        QTest::addColumn<int>("value");
        constexpr qint64 gigabyte4 = Q_INT64_C(1) << 32;
        constexpr int intMax = std::numeric_limits<int>::max();
        QTest::newRow("begin") << Q_INT64_C(0) << Q_INT64_C(1000) << 1000 << 0;
        QTest::newRow("middle") << Q_INT64_C(400) << Q_INT64_C(1000) << 1000 << 400;
        QTest::newRow("end") << Q_INT64_C(1000) << Q_INT64_C(1000) << 1000 << 1000;
        QTest::newRow("largest") << qint64(intMax) << qint64(intMax) << intMax << intMax;
        // Truncated, not scaled.
        QTest::newRow("more than 4 GiB") << gigabyte4 + 5 << gigabyte4 + 10 << 10 << 5;
    }

    void showsProgress()
    {
        QFETCH(const qint64, received);
        QFETCH(const qint64, total);
        DlgDownloadMonitor monitor(nullptr);
        progress(&monitor, received, total);
        QCOMPARE(bar(monitor)->minimum(), 0);
        QTEST(bar(monitor)->maximum(), "maximum");
        QTEST(bar(monitor)->value(), "value");
    }

    void followsARealTransfer()
    {
        HttpServer server;
        server.setAnswer("file", { QByteArray(1000, 'x'), "200 OK", {}, HttpAnswer::BodyLength, 400 });
        QNetworkAccessManager manager;
        QNetworkReply* reply = manager.get(QNetworkRequest(server.url("file"_s)));
        DlgDownloadMonitor monitor(nullptr);
        monitor.startMonitoring("file"_s, "folder"_s, reply);
        QVERIFY(isUndetermined(bar(monitor)));
        QTRY_VERIFY((server.releaseSome(1), bar(monitor)->value() > 400));
        QCOMPARE(bar(monitor)->maximum(), 1000);
        server.release();
        QTRY_COMPARE(bar(monitor)->value(), 1000);
        // It is hidden by its owner only.
        QTRY_VERIFY(reply->isFinished());
        QVERIFY(monitor.isVisible());
    }

    void withoutContentLengthItStaysUndetermined()
    {
        HttpServer server;
        server.setAnswer("file", { QByteArray(1000, 'x'), "200 OK", {}, HttpAnswer::NoLength, 400 });
        QNetworkAccessManager manager;
        QNetworkReply* reply = manager.get(QNetworkRequest(server.url("file"_s)));
        QSignalSpy reports(reply, &QNetworkReply::downloadProgress);
        DlgDownloadMonitor monitor(nullptr);
        monitor.startMonitoring("file"_s, "folder"_s, reply);
        QTRY_VERIFY((server.releaseSome(1), !reports.isEmpty()));
        QCOMPARE(reports.constFirst().at(1).toLongLong(), -1);
        QVERIFY(isUndetermined(bar(monitor)));
        server.release();
        QTRY_VERIFY(reply->isFinished());
    }

    void cancelAborts()
    {
        HttpServer server;
        server.setAnswer("file", { QByteArray(1000, 'x'), "200 OK", {}, HttpAnswer::BodyLength, 400 });
        QNetworkAccessManager manager;
        QNetworkReply* reply = manager.get(QNetworkRequest(server.url("file"_s)));
        QSignalSpy finished(reply, &QNetworkReply::finished);
        DlgDownloadMonitor monitor(nullptr);
        monitor.startMonitoring("file"_s, "folder"_s, reply);
        QTRY_VERIFY((server.releaseSome(1), bar(monitor)->value() > 400));
        auto* cancel = find<QPushButton>(monitor, "pushButtonCancel");
        QTest::mouseClick(cancel, Qt::LeftButton);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(reply->error(), QNetworkReply::OperationCanceledError);
        cancel->click();
        QCOMPARE(finished.count(), 1);
    }

    void cancelAfterTheEndIsHarmless()
    {
        HttpServer server;
        QNetworkAccessManager manager;
        DlgDownloadMonitor monitor(nullptr);
        auto* cancel = find<QPushButton>(monitor, "pushButtonCancel");
        cancel->click();
        QPointer<QNetworkReply> reply(manager.get(QNetworkRequest(server.url("file"_s))));
        monitor.startMonitoring("file"_s, "folder"_s, reply);
        QTRY_VERIFY(reply->isFinished());
        cancel->click();
        QCOMPARE(reply->error(), QNetworkReply::ContentNotFoundError);
        delete reply;
        cancel->click();
        QVERIFY(monitor.isVisible());
    }

    void enterInAFieldDoesNotCancel()
    {
        const DlgDownloadMonitor monitor(nullptr);
        // Enter in a field must not end a download.
        QVERIFY(!find<QPushButton>(monitor, "pushButtonCancel")->autoDefault());
        QVERIFY(!find<QPushButton>(monitor, "pushButtonCancel")->isDefault());
    }

    void newStartLeavesTheOldReply()
    {
        HttpServer server;
        server.setAnswer("old", { QByteArray(1000, 'x'), "200 OK", {}, HttpAnswer::BodyLength, 400 });
        server.setAnswer("new", { QByteArray(77, 'x'), "200 OK", {}, HttpAnswer::BodyLength, 7 });
        QNetworkAccessManager manager;
        DlgDownloadMonitor monitor(nullptr);
        QNetworkReply* old = manager.get(QNetworkRequest(server.url("old"_s)));
        monitor.startMonitoring("old"_s, "folder"_s, old);
        QTRY_VERIFY((server.releaseSome(1), bar(monitor)->value() > 400));
        QNetworkReply* next = manager.get(QNetworkRequest(server.url("new"_s)));
        monitor.startMonitoring("new"_s, "folder"_s, next);
        QVERIFY(isUndetermined(bar(monitor)));
        QTRY_VERIFY((server.releaseSome(1), bar(monitor)->value() > 7));
        server.release();
        QTRY_VERIFY(old->isFinished() && next->isFinished());
        QCOMPARE(bar(monitor)->maximum(), 77);
        QCOMPARE(bar(monitor)->value(), 77);
    }
};

QTEST_MAIN(TestDlgDownloadMonitor)
#include "tst_dlgdownloadmonitor.moc"
