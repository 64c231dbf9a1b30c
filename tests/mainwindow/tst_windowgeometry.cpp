// SPDX-License-Identifier: MIT
// When the window's place is stored, and what of it a new window takes.

#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/teststore.h"

#include <QAction>
#include <QApplication>
#include <QSettings>
#include <QTimer>
#include <QtTest>

#include <memory>

namespace {
const auto geometryKey = "geometry"_s;
constexpr int stillRunning = 7;
const QSize defaultSize(1020, 509);
const QRect place(60, 70, 640, 400);

QAction* exitAction(const MainWinQorMonitor& window)
{
    return window.findChild<QAction*>("actionExit"_s);
}

// Runs the event loop, has the window exit in it, and returns the loop's code.
int runUntil(MainWinQorMonitor& window, void (*leave)(MainWinQorMonitor&))
{
    QTimer::singleShot(0, &window, [&window, leave] { leave(window); });
    QTimer::singleShot(500, &window, [] { QCoreApplication::exit(stillRunning); });
    return QApplication::exec();
}

void triggerExit(MainWinQorMonitor& window)
{
    exitAction(window)->trigger();
}

// Notes where each window is as it is shown.
class ShowWatch : public QObject {
public:
    ShowWatch() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* window = qobject_cast<QMainWindow*>(watched);
        if (window && event->type() == QEvent::Show)
            m_places << window->geometry();
        return QObject::eventFilter(watched, event);
    }
    QList<QRect> m_places;
};

void callExit(MainWinQorMonitor& window)
{
    window.exitApplication();
}
} // namespace

class TestWindowGeometry : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }
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
        MainWinQorMonitor window;
        QCOMPARE(window.size(), defaultSize);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.size(), defaultSize);
    }

    void exitStoresAndANewWindowRestores()
    {
        MainWinQorMonitor window;
        window.setGeometry(place);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(runUntil(window, triggerExit), 0);
        QCOMPARE(QSettings().value(geometryKey).toByteArray(), window.saveGeometry());

        MainWinQorMonitor next;
        QCOMPARE(next.geometry(), place);
        next.show();
        QVERIFY(QTest::qWaitForWindowExposed(&next));
        QCOMPARE(next.geometry(), place);
    }

    void alertAtStartFindsTheStoredPlace()
    {
        {
            MainWinQorMonitor window;
            window.setGeometry(place);
            callExit(window);
        }
        // Not connected yet, which is an alert; a unit's own one comes before it is in the list.
        for (int i = 0; i < 2; ++i)
            m_store.writeUnit(i, { { "Host"_s, "127.0.0.1"_s }, { "ZmqPort"_s, i } });
        const ShowWatch watch;
        const MainWinQorMonitor window;
        QVERIFY(window.isVisible());
        QCOMPARE(watch.m_places, QList<QRect>({ place }));
    }

    void disabledExitDoesNothing()
    {
        MainWinQorMonitor window;
        exitAction(window)->setEnabled(false);
        QCOMPARE(runUntil(window, callExit), stillRunning);
        QVERIFY(!QSettings().contains(geometryKey));

        exitAction(window)->setEnabled(true);
        QCOMPARE(runUntil(window, callExit), 0);
        QVERIFY(QSettings().contains(geometryKey));
    }

    void nothingElseStores()
    {
        auto window = std::make_unique<MainWinQorMonitor>();
        window->setGeometry(place);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        window->hide();
        window->show();
        window->close();
        QVERIFY(!window->isVisible());
        window.reset();
        QVERIFY(!QSettings().contains(geometryKey));
    }

    void otherEndKeepsWhatIsStored()
    {
        {
            MainWinQorMonitor window;
            window.setGeometry(place);
            QCOMPARE(runUntil(window, triggerExit), 0);
        }
        const QByteArray stored = QSettings().value(geometryKey).toByteArray();
        auto window = std::make_unique<MainWinQorMonitor>();
        window->show();
        window->setGeometry(place.translated(20, 20));
        window->close();
        window.reset();
        QCOMPARE(QSettings().value(geometryKey).toByteArray(), stored);
    }

private:
    TestStore m_store;
};

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    // As in the program: closing the window ends nothing.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    TestWindowGeometry test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_windowgeometry.moc"
