// SPDX-License-Identifier: MIT
// What becomes of an exception that a slot or an event handler throws.
#include "app/monitorapplication.h"

#include "support/literals.h"

#include <QEventLoop>
#include <QTimer>
#include <QWidget>
#include <QtTest>

#include <stdexcept>

class TestMonitorApplication : public QObject {
    Q_OBJECT

private slots:
    void runReturnsTheResultOfTheLoop()
    {
        QTimer::singleShot(0, this, [] { QCoreApplication::exit(7); });
        QCOMPARE(application().run(), 7);
    }

    void exceptionEndsAllLoopsAndLeavesRun()
    {
        bool leftInner = false;
        QTimer::singleShot(0, this, [&leftInner] {
            QTimer::singleShot(0, [] { throw std::runtime_error("first"); });
            QTimer::singleShot(0, [] { throw std::runtime_error("second"); });
            QEventLoop().exec();
            leftInner = true;
        });
        QVERIFY_EXCEPTION_THROWN(run("first"_s), std::runtime_error);
        QVERIFY(leftInner);
    }

    void exceptionThatIsNoStandardOneCounts()
    {
        QTimer::singleShot(0, this, [] { throw 1; });
        QVERIFY_EXCEPTION_THROWN(application().run(), int);
    }

    void exceptionBeforeTheLoopIsNotLost()
    {
        class Thrower : public QObject {
            bool event(QEvent* event) override
            {
                if (event->type() == QEvent::User)
                    throw std::runtime_error("early");
                return QObject::event(event);
            }
        } thrower;
        QEvent event(QEvent::User);
        QCoreApplication::sendEvent(&thrower, &event);
        QTimer::singleShot(0, this, [] { QCoreApplication::quit(); });
        QVERIFY_EXCEPTION_THROWN(run("early"_s), std::runtime_error);
        // Do not leave the timer to the next test.
        QCOMPARE(application().run(), 0);
    }

#ifdef Q_OS_WIN
    void everythingScalesWithTheScreen()
    {
        QVERIFY(QCoreApplication::testAttribute(Qt::AA_EnableHighDpiScaling));
        QVERIFY(QCoreApplication::testAttribute(Qt::AA_UseHighDpiPixmaps));
        QCOMPARE(QGuiApplication::highDpiScaleFactorRoundingPolicy(),
                 Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    }
#endif

private:
    static MonitorApplication& application()
    {
        return *static_cast<MonitorApplication*>(qApp);
    }

    // Runs the application, and lets an exception of this text pass.
    static void run(const QString& expected)
    {
        try {
            application().run();
        } catch (const std::runtime_error& error) {
            QCOMPARE(QString::fromUtf8(error.what()), expected);
            throw;
        }
    }
};

int main(int argc, char* argv[])
{
    const MonitorApplication application(argc, argv);
    TestMonitorApplication test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_monitorapplication.moc"
