// SPDX-License-Identifier: MIT
// When the window's place is stored, and what of it a new window takes.
#include "support/eventwatch.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QApplication>
#include <QSettings>
#include <QTimer>
#include <QtTest>

namespace {
const auto geometryKey = "geometry"_s;
constexpr int stillRunning = 7;
const QRect place(60, 70, 640, 400);
} // namespace

class TestWindowGeometry : public WindowTest {
    Q_OBJECT

private slots:
    void firstWindowHasTheFormsSize_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("nothing stored") << QVariant();
        QTest::newRow("empty") << QVariant(QByteArray());
        QTest::newRow("not a geometry") << QVariant(QByteArray("geometry"));
        QTest::newRow("not bytes") << QVariant(17);
    }

    void firstWindowHasTheFormsSize()
    {
        QFETCH(const QVariant, stored);
        if (stored.isValid())
            QSettings().setValue(geometryKey, stored);
        restart();
        QCOMPARE(m_window->size(), QSize(1020, 509));
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QCOMPARE(m_window->size(), QSize(1020, 509));
    }

    void exitStoresAndANewWindowRestores()
    {
        m_window->setGeometry(place);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QCOMPARE(runUntil([this] { action("actionExit")->trigger(); }), 0);
        QCOMPARE(QSettings().value(geometryKey).toByteArray(), m_window->saveGeometry());

        restart();
        QCOMPARE(m_window->geometry(), place);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QCOMPARE(m_window->geometry(), place);
    }

    void alertAtStartFindsTheStoredPlace()
    {
        m_window->setGeometry(place);
        QCOMPARE(runUntil([this] { m_window->exitApplication(); }), 0);
        // Not connected yet, which is an alert; a unit's own one comes before it is in the list.
        for (int i = 0; i < 2; ++i)
            m_store.writeUnit(i, { { "Host"_s, loopback }, { "ZmqPort"_s, i } });
        QList<QRect> shown;
        const EventWatch watch([&shown](const QObject* receiver, QEvent::Type type) {
            const auto* window = qobject_cast<const QMainWindow*>(receiver);
            if (window && type == QEvent::Show)
                shown << window->geometry();
        });
        restart();
        QVERIFY(m_window->isVisible());
        QCOMPARE(shown, QList<QRect>({ place }));
    }

    void disabledExitDoesNothing()
    {
        action("actionExit")->setEnabled(false);
        QCOMPARE(runUntil([this] { m_window->exitApplication(); }), stillRunning);
        QVERIFY(!QSettings().contains(geometryKey));

        action("actionExit")->setEnabled(true);
        QCOMPARE(runUntil([this] { m_window->exitApplication(); }), 0);
        QVERIFY(QSettings().contains(geometryKey));
    }

    void nothingElseStores()
    {
        QSettings().setValue(geometryKey, "stored"_s);
        m_window->setGeometry(place);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        m_window->minimizeWindow();
        m_window->show();
        m_window->close();
        QVERIFY(!m_window->isVisible());
        m_window.reset();
        QCOMPARE(QSettings().value(geometryKey), QVariant("stored"_s));
    }

private:
    // Runs the event loop, does this in it, and returns the loop's code.
    int runUntil(const std::function<void()>& leave) const
    {
        QTimer::singleShot(0, m_window.get(), [&] {
            leave();
            // Ends the loop if leave() has not. A loop that ends never gets here.
            QTimer::singleShot(50, m_window.get(), [] { QCoreApplication::exit(stillRunning); });
        });
        return QApplication::exec();
    }
};

QTEST_MAIN(TestWindowGeometry)
#include "tst_windowgeometry.moc"
