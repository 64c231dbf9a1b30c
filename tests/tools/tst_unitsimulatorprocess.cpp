// SPDX-License-Identifier: MIT
#include "support/literals.h"
#include "support/platform.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

// The real program: its arguments, its standard streams and its end.
class TestUnitSimulatorProcess : public QObject {
    Q_OBJECT

private slots:
    void cleanup()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    void refusesWrongArguments_data()
    {
        QTest::addColumn<QString>("error");
        QTest::newRow("") << "there is no unit: give --unit or --scenario";
        QTest::newRow("--units") << "Unknown option 'units'.";
        QTest::newRow("--unit port=0 extra") << "unexpected argument extra";
        QTest::newRow("--unit port=x") << "\"x\" is no number of 0 to 65535";
        QTest::newRow("--scenario /nowhere/s.json") << "/nowhere/s.json: ";
        QTest::newRow("--scenario /dev/null") << "/dev/null: ";
    }

    void refusesWrongArguments()
    {
        QFETCH(const QString, error);
        start(QTest::currentDataTag());
        checkRefused(error);
    }

    void refusesAScenarioWithAWrongCommand()
    {
        startScenario(R"({ "units": [ { "key": "a" } ],
            "timeline": [ { "at": 1, "command": "warn a x" }, { "at": 2, "command": "clear b x" } ] })");
        checkRefused("clear b x: error unknown unit \"b\""_s);
    }

    void refusesATakenPort()
    {
        QTcpServer taken;
        QVERIFY(taken.listen(QHostAddress::LocalHost));
        const QByteArray port = QByteArray::number(taken.serverPort());
        start("--unit key=first --unit port=" + port);
        checkRefused("zmq 127.0.0.1:%1: "_s.arg(taken.serverPort()));
        start("--unit key=first --unit web=" + port);
        checkRefused("web 127.0.0.1:%1: "_s.arg(taken.serverPort()));
    }

    void helpAndVersionEndAtOnce()
    {
        start("--help");
        QCOMPARE(exitCode(), 0);
        const QByteArray help = Platform::withLineFeeds(m_process.readAllStandardOutput());
        for (const char* part :
             { "--unit", "--scenario", "--stay", "Exit codes", "  warn UNIT TEXT\n",
               "  clear UNIT all|TEXT\n", "  silence UNIT\n", "  speak UNIT\n", "  garbage UNIT KIND\n",
               "  restart UNIT SECONDS\n", "  version UNIT local NO DATE remote NO DATE\n", "  quit\n",
               "no-json, unknown-command, too-long" })
            QVERIFY2(help.contains(part), part);
        start("--version");
        QCOMPARE(exitCode(), 0);
        QVERIFY(m_process.readAllStandardOutput().startsWith("unit-simulator "));
    }

    void announcesItsUnitsAndAnswersCommandsInOrder()
    {
        start("--unit key=a --unit key=b,address=127.0.0.2");
        QVERIFY(readLine().startsWith("unit a ready zmq=127.0.0.1:"));
        QVERIFY(readLine().startsWith("unit b ready zmq=127.0.0.2:"));
        for (int i = 0; i < 200; ++i)
            m_process.write("warn a Lüfter\n# remark\n\r\nclear a Lüfter\r\nclear a Lüfter\n");
        m_process.write(" quit \n");
        for (int i = 0; i < 200; ++i) {
            QCOMPARE(readLine(), QByteArray("ok"));
            QCOMPARE(readLine(), QByteArray("ok"));
            QCOMPARE(readLine(), QByteArray("error there is no warning \"Lüfter\""));
        }
        QCOMPARE(readLine(), QByteArray("ok"));
        QCOMPARE(exitCode(), 0);
    }

    void endsWithStandardInput()
    {
        start("--unit key=a");
        m_process.write("warn a without a line break");
        m_process.closeWriteChannel();
        QVERIFY(readLine().startsWith("unit a ready "));
        QCOMPARE(readLine(), QByteArray("ok"));
        QCOMPARE(exitCode(), 0);
    }

    void staysWhenAsked()
    {
        QElapsedTimer clock;
        clock.start();
        start("--unit key=a --stay");
        m_process.write("restart a 0.5\n");
        m_process.closeWriteChannel();
        const QByteArray ready = readLine();
        QVERIFY(ready.startsWith("unit a ready "));
        QCOMPARE(readLine(), QByteArray("ok"));
        // After the end of the input.
        QCOMPARE(readLine(), ready);
        QVERIFY(clock.elapsed() >= 450);
        QVERIFY(!m_process.waitForFinished(200));
    }

    void playsAScenarioInTimeAndAgain()
    {
        QElapsedTimer clock;
        clock.start();
        startScenario(R"({ "units": [ { "key": "a" } ], "repeat": 0.5, "timeline": [
            { "at": 0.4, "command": "clear a Über" }, { "at": 0.2, "command": "warn a Über" } ] })");
        QVERIFY(readLine().startsWith("unit a ready "));
        for (const int atMs : { 200, 400, 700, 900 }) {
            QCOMPARE(readLine(),
                     QByteArray(atMs % 500 == 200 ? "step warn a Über: ok" : "step clear a Über: ok"));
            QVERIFY2(clock.elapsed() >= atMs, qPrintable(QString::number(clock.elapsed())));
        }
    }

private:
    void start(const QByteArray& arguments)
    {
        m_process.start(QStringLiteral(UNIT_SIMULATOR),
                        QString::fromUtf8(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts));
    }

    void startScenario(const QByteArray& json)
    {
        QFile file(m_directory.filePath("scenario.json"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(json) == json.size());
        start("--scenario " + file.fileName().toUtf8());
    }

    // The next line of standard output; empty when none comes.
    QByteArray readLine()
    {
        QElapsedTimer clock;
        clock.start();
        while (!m_process.canReadLine()) {
            if (clock.elapsed() > 5000 || !m_process.waitForReadyRead(5000))
                return {};
        }
        return m_process.readLine().trimmed();
    }

    // -1 when the process does not end, or crashes.
    int exitCode()
    {
        if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(10000))
            return -1;
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    // Before any unit has announced itself.
    void checkRefused(const QString& error)
    {
        QCOMPARE(exitCode(), 2);
        const QString errors = QString::fromUtf8(m_process.readAllStandardError());
        QVERIFY2(errors.startsWith("unit-simulator: "_s + error), qPrintable(errors));
        QCOMPARE(m_process.readAllStandardOutput(), QByteArray());
    }

    QProcess m_process;
    const QTemporaryDir m_directory;
};

QTEST_GUILESS_MAIN(TestUnitSimulatorProcess)
#include "tst_unitsimulatorprocess.moc"
