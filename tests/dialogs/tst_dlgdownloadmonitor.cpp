// SPDX-License-Identifier: MIT
#include "dialogs/dlgdownloadmonitor.h"

#include "support/eventwatch.h"
#include "support/formoutline.h"
#include "support/httpserver.h"
#include "support/literals.h"

#include <QLineEdit>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProgressBar>
#include <QPushButton>
#include <QtTest>

#include <limits>

namespace {

// A download monitor, and transfers for it to show.
struct Fixture {
    QNetworkReply* load(const QString& name, const HttpAnswer& answer)
    {
        server.setAnswer(name.toLatin1(), answer);
        return manager.get(QNetworkRequest(server.url(name)));
    }
    // Shows a transfer of 1000 bytes, of which all but the first 400 come slowly.
    QNetworkReply* start()
    {
        QNetworkReply* reply = load("file"_s, HttpAnswer::ok(QByteArray(1000, 'x')).held(400));
        monitor.startMonitoring("file"_s, "folder"_s, reply);
        // Qt reports progress every 100 ms at most, and only when something arrives.
        server.releaseSlowly();
        return reply;
    }
    void progress(qint64 received, qint64 total)
    {
        QVERIFY(QMetaObject::invokeMethod(&monitor, "processDownloadProgress", Q_ARG(qint64, received),
                                          Q_ARG(qint64, total)));
    }
    bool isUndetermined() const { return bar->minimum() == 0 && bar->maximum() == 0; }

    HttpServer server;
    QNetworkAccessManager manager;
    DlgDownloadMonitor monitor { nullptr };
    QProgressBar* bar = monitor.findChild<QProgressBar*>();
    QLineEdit* file = monitor.findChild<QLineEdit*>("lineEditFile"_s);
    QLineEdit* saveTo = monitor.findChild<QLineEdit*>("lineEditSaveTo"_s);
    QPushButton* cancel = monitor.findChild<QPushButton*>();
};

} // namespace

class TestDlgDownloadMonitor : public QObject {
    Q_OBJECT

private slots:
    void formLooksAsDesigned()
    {
        const Fixture fixture;
        QCOMPARE(formOutline(fixture.monitor),
                 QStringList({
                     "DlgDownloadMonitor 497x144 \"Download Monitor\""_s,
                     "QVBoxLayout verticalLayout:"_s,
                     "  QGridLayout gridLayout"_s,
                     "  20x11 Minimum Expanding"_s,
                     "  QHBoxLayout horizontalLayout"_s,
                     "QGridLayout gridLayout:"_s,
                     "  0,0 QLabel label_2 \"Datei:\""_s,
                     "  0,1 QLineEdit lineEditFile"_s,
                     "  1,0 QLabel label_3 \"nach:\""_s,
                     "  1,1 QLineEdit lineEditSaveTo"_s,
                     "  2,0 QLabel label \"Fortschritt\""_s,
                     "  2,1 QProgressBar progressBar"_s,
                     "QHBoxLayout horizontalLayout:"_s,
                     "  40x20 Expanding Minimum"_s,
                     "  QPushButton pushButtonCancel \"Abbrechen\""_s,
                 }));
        QCOMPARE(fixture.bar->value(), 24);
        QCOMPARE(fixture.bar->alignment(), Qt::AlignCenter);
        QVERIFY(fixture.file->isReadOnly());
        QVERIFY(fixture.saveTo->isReadOnly());
        QVERIFY(fixture.monitor.isHidden());
        QVERIFY(!fixture.monitor.isModal());
        // Enter in a field must not end a download.
        QVERIFY(!fixture.cancel->autoDefault());
        QVERIFY(!fixture.cancel->isDefault());
    }

    void startShowsTheTransfer()
    {
        Fixture fixture;
        fixture.progress(5, 10);
        fixture.monitor.startMonitoring("setup.exe"_s, "/some/folder"_s, nullptr);
        QVERIFY(fixture.monitor.isVisible());
        QTRY_VERIFY(fixture.monitor.isActiveWindow());
        QCOMPARE(fixture.file->text(), "setup.exe"_s);
        QCOMPARE(fixture.saveTo->text(), "/some/folder"_s);
        QVERIFY(fixture.isUndetermined());
    }

    void longNamesShowTheirBeginning()
    {
        Fixture fixture;
        const QString name(300, QLatin1Char('x'));
        fixture.monitor.startMonitoring(name, QLatin1Char('/') + name, nullptr);
        for (const QLineEdit* field : { fixture.file, fixture.saveTo }) {
            QVERIFY(field->text().endsWith(name));
            QCOMPARE(field->cursorPosition(), 0);
            QVERIFY(!field->hasSelectedText());
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
        int raised = 0;
        const EventWatch watch([&](const QObject* receiver, QEvent::Type type) {
            raised += receiver == &monitor && type == QEvent::ZOrderChange ? 1 : 0;
        });
        monitor.startMonitoring("second"_s, "folder"_s, nullptr);
        QCOMPARE(raised, 1);
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
        Fixture fixture;
        fixture.progress(received, total);
        QCOMPARE(fixture.bar->minimum(), 0);
        QTEST(fixture.bar->maximum(), "maximum");
        QTEST(fixture.bar->value(), "value");
    }

    void followsARealTransfer()
    {
        Fixture fixture;
        const QNetworkReply* reply = fixture.start();
        QVERIFY(fixture.isUndetermined());
        QTRY_VERIFY(fixture.bar->value() > 400);
        QCOMPARE(fixture.bar->maximum(), 1000);
        fixture.server.release();
        QTRY_COMPARE(fixture.bar->value(), 1000);
        // It is hidden by its owner only.
        QTRY_VERIFY(reply->isFinished());
        QVERIFY(fixture.monitor.isVisible());
    }

    void withoutContentLengthItStaysUndetermined()
    {
        Fixture fixture;
        QNetworkReply* reply
            = fixture.load("file"_s, HttpAnswer::ok(QByteArray(1000, 'x')).withoutLength().held(400));
        const QSignalSpy reports(reply, &QNetworkReply::downloadProgress);
        fixture.monitor.startMonitoring("file"_s, "folder"_s, reply);
        fixture.server.releaseSlowly();
        QTRY_VERIFY(!reports.isEmpty());
        QCOMPARE(reports.constFirst().at(1).toLongLong(), -1);
        QVERIFY(fixture.isUndetermined());
        fixture.server.release();
        QTRY_VERIFY(reply->isFinished());
    }

    void cancelAborts()
    {
        Fixture fixture;
        const QNetworkReply* reply = fixture.start();
        const QSignalSpy finished(reply, &QNetworkReply::finished);
        QTRY_VERIFY(fixture.bar->value() > 400);
        QTest::mouseClick(fixture.cancel, Qt::LeftButton);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(reply->error(), QNetworkReply::OperationCanceledError);
        fixture.cancel->click();
        QCOMPARE(finished.count(), 1);
    }

    void cancelAfterTheEndIsHarmless()
    {
        Fixture fixture;
        fixture.cancel->click();
        QNetworkReply* reply = fixture.load("file"_s, HttpAnswer::status("404 Not Found"));
        fixture.monitor.startMonitoring("file"_s, "folder"_s, reply);
        QTRY_VERIFY(reply->isFinished());
        fixture.cancel->click();
        QCOMPARE(reply->error(), QNetworkReply::ContentNotFoundError);
        delete reply;
        fixture.cancel->click();
        QVERIFY(fixture.monitor.isVisible());
    }

    void newStartLeavesTheOldReply()
    {
        Fixture fixture;
        const QNetworkReply* old = fixture.start();
        QTRY_VERIFY(fixture.bar->value() > 400);
        QNetworkReply* next = fixture.load("new"_s, HttpAnswer::ok(QByteArray(77, 'x')).held(7));
        fixture.monitor.startMonitoring("new"_s, "folder"_s, next);
        QVERIFY(fixture.isUndetermined());
        // What the bar shows when the old one reports.
        QList<int> maxima;
        connect(old, &QNetworkReply::downloadProgress, this, [&] { maxima << fixture.bar->maximum(); });
        QTRY_VERIFY(!maxima.isEmpty());
        QTRY_VERIFY(fixture.bar->value() > 7);
        fixture.server.release();
        QTRY_VERIFY(old->isFinished() && next->isFinished());
        QVERIFY(!maxima.contains(1000));
        QCOMPARE(fixture.bar->maximum(), 77);
        QCOMPARE(fixture.bar->value(), 77);
    }
};

QTEST_MAIN(TestDlgDownloadMonitor)
#include "tst_dlgdownloadmonitor.moc"
