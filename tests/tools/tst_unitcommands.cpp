// SPDX-License-Identifier: MIT
#include "commandinterpreter.h"
#include "simulator.h"
#include "tools/subscriber.h"

#include <QJsonDocument>
#include <QSignalSpy>
#include <QtTest>

class TestUnitCommands : public QObject {
    Q_OBJECT

private slots:
    void init();
    void refusesBadCommands_data();
    void refusesBadCommands();
    void checkCarriesNothingOut();
    void warnTakesTextOrObject();
    void clearTakesAllNumberOrText();
    void versionIsStored();
    void nameKeepsItsBlanks();
    void listTellsEveryUnit();
    void aUnitThatIsDownTakesNoTexts();
    void restartForgetsWarningsAndSilence();
    void quitIsAskedForOnce();
    void helpNamesEveryCommand();

private:
    const Unit& unit() const { return m_simulator->units().front()->unit(); }
    QString execute(const char* line) { return m_interpreter->execute(QString::fromUtf8(line)); }

    std::unique_ptr<Simulator> m_simulator;
    std::unique_ptr<CommandInterpreter> m_interpreter;
};

void TestUnitCommands::init()
{
    UnitSettings first;
    first.key = QStringLiteral("h1");
    first.name = QStringLiteral("Halle 1");
    UnitSettings second = first;
    second.key = QStringLiteral("h2");
    m_interpreter.reset();
    m_simulator = std::make_unique<Simulator>(QVector<UnitSettings> { first, second });
    m_interpreter = std::make_unique<CommandInterpreter>(*m_simulator);
    QCOMPARE(m_simulator->start(), std::optional<QString>());
}

void TestUnitCommands::refusesBadCommands_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("answer");
    const auto row = [](const char* line, const char* answer) {
        QTest::newRow(line) << QString::fromUtf8(line) << QString::fromUtf8(answer);
    };
    row("", "error unknown command \"\"");
    row("LIST", "error unknown command \"LIST\"");
    row("list h1", "error usage: list");
    row("quit now", "error usage: quit");
    row("warn", "error usage: warn UNIT TEXT");
    row("warn h1", "error usage: warn UNIT TEXT");
    row("warn h3 x", "error unknown unit \"h3\"");
    row("warn h1 {\"displaytext\":}", "error the warning: object is missing after a comma at byte 16");
    row("warn h1 {\"class\":\"x\"}", "error the warning has no \"displaytext\"");
    row("warn h1 {\"displaytext\":1}", "error \"displaytext\" of the warning is no string");
    row("clear h1", "error usage: clear UNIT all|NUMBER|TEXT");
    row("clear h1 1", "error unit h1 has no warning \"1\"");
    row("clear h1 %1", "error unit h1 has no warning \"%1\"");
    row("silence h1 now", "error usage: silence UNIT");
    row("speak h1 now", "error usage: speak UNIT");
    row("restart h1 soon", "error \"soon\" is no time of 0 to 3600 seconds");
    row("restart h1 %2", "error \"%2\" is no time of 0 to 3600 seconds");
    row("restart h1 nan", "error \"nan\" is no time of 0 to 3600 seconds");
    row("restart h1 -1", "error \"-1\" is no time of 0 to 3600 seconds");
    row("restart h1 3601", "error \"3601\" is no time of 0 to 3600 seconds");
    row("version h1 local 1 05. Mar 2024", "error usage: version UNIT local NO DATE remote NO DATE");
    row("version h1 local 1 05. Mär 2024 remote 2 06. Mar 2024",
        "error \"05. Mär 2024\" is no date such as 05. Mar 2024");
    row("name h1", "error usage: name UNIT TEXT");
    row("interval h1 9", "error \"9\" is no interval of 10 to 3600000 milliseconds");
    row("interval h1", "error \"\" is no interval of 10 to 3600000 milliseconds");
    row("send h1", "error usage: send UNIT TEXT");
    row("garbage h1 odd",
        "error \"odd\" is no kind of garbage; there are: invalid-json empty wrong-command 4999 5000 nul "
        "invalid-utf8 deep frames");
    row("warn h1 a\nb", "error a command is one line without zero bytes");
}

void TestUnitCommands::refusesBadCommands()
{
    QFETCH(QString, line);
    QFETCH(QString, answer);
    QCOMPARE(m_interpreter->execute(line), answer);
    QVERIFY(unit().warnings().isEmpty());
}

void TestUnitCommands::checkCarriesNothingOut()
{
    QCOMPARE(m_interpreter->check(QStringLiteral("warn h1 x")), QString());
    QCOMPARE(m_interpreter->check(QStringLiteral("warn h3 x")), QStringLiteral("unknown unit \"h3\""));
    QVERIFY(unit().warnings().isEmpty());
    const QSignalSpy quit(m_interpreter.get(), &CommandInterpreter::quitRequested);
    QCOMPARE(m_interpreter->check(QStringLiteral("quit")), QString());
    QCOMPARE(quit.count(), 0);
}

void TestUnitCommands::warnTakesTextOrObject()
{
    QCOMPARE(execute("  warn  h1  Lüfter  3 steht "), QStringLiteral("ok 1 warnings"));
    QCOMPARE(execute("warn h1 {\"displaytext\":\"b\",\"class\":\"warning\"}"),
             QStringLiteral("ok 2 warnings"));
    QCOMPARE(unit().warnings().at(0).toObject().value(QLatin1String("displaytext")).toString(),
             QStringLiteral("Lüfter  3 steht"));
    QCOMPARE(unit().warnings().at(1).toObject().value(QLatin1String("class")).toString(),
             QStringLiteral("warning"));
}

void TestUnitCommands::clearTakesAllNumberOrText()
{
    for (const char* line : { "warn h1 a", "warn h1 b b", "warn h1 c", "warn h1 d" })
        execute(line);
    QCOMPARE(execute("clear h1 b b"), QStringLiteral("ok 3 warnings"));
    QCOMPARE(execute("clear h1 1"), QStringLiteral("ok 2 warnings"));
    QCOMPARE(warningTexts(QJsonDocument::fromJson(unit().statusReport()).object()),
             (QStringList { QStringLiteral("c"), QStringLiteral("d") }));
    QCOMPARE(execute("clear h1 all"), QStringLiteral("ok 0 warnings"));
    QVERIFY(unit().warnings().isEmpty());
}

void TestUnitCommands::versionIsStored()
{
    QCOMPARE(execute("version h1 local 1.2  01. Dec 2024 remote 1.3 01. Jan 2025"),
             QStringLiteral("ok version 1.2, available 1.3"));
    const VersionData expected { QStringLiteral("1.2"), QStringLiteral("01. Dec 2024"), QStringLiteral("1.3"),
                                 QStringLiteral("01. Jan 2025") };
    QVERIFY(unit().version() == expected);
}

void TestUnitCommands::nameKeepsItsBlanks()
{
    QCOMPARE(execute("name h1 Halle  eins"), QStringLiteral("ok name Halle  eins"));
    QCOMPARE(unit().name(), QStringLiteral("Halle  eins"));
}

void TestUnitCommands::listTellsEveryUnit()
{
    execute("warn h1 a");
    execute("interval h2 77");
    execute("silence h2");
    const QStringList lines = execute("list").split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(0), QStringLiteral("ok 2 units"));
    const QString ports = QStringLiteral("zmq=127.0.0.1:%1 web=127.0.0.1:");
    QVERIFY(lines.at(1).startsWith(QStringLiteral("unit h1 speaking ")
                                   + ports.arg(m_simulator->units().at(0)->zmqPort())));
    QVERIFY(lines.at(1).endsWith(QStringLiteral(" interval=1000 warnings=1 name=Halle 1")));
    QVERIFY(lines.at(2).startsWith(QStringLiteral("unit h2 silent ")
                                   + ports.arg(m_simulator->units().at(1)->zmqPort())));
    QVERIFY(lines.at(2).endsWith(QStringLiteral(" interval=77 warnings=0 name=Halle 1")));
}

void TestUnitCommands::aUnitThatIsDownTakesNoTexts()
{
    QCOMPARE(execute("restart h1 3600"), QStringLiteral("ok restarting in 3600000 ms"));
    for (const char* line : { "send h1 x", "garbage h1 deep", "silence h1", "speak h1" })
        QCOMPARE(execute(line), QStringLiteral("error unit h1 is restarting"));
    QVERIFY(execute("list").contains(QStringLiteral("unit h1 restarting ")));
    QCOMPARE(execute("send h2 x"), QStringLiteral("ok sent 1 bytes in 1 frames"));
}

void TestUnitCommands::restartForgetsWarningsAndSilence()
{
    QSignalSpy announced(m_simulator.get(), &Simulator::announced);
    const QString readyLine = m_simulator->units().front()->readyLine();
    execute("warn h1 a");
    execute("silence h1");
    QCOMPARE(execute("restart h1 0.05"), QStringLiteral("ok restarting in 50 ms"));
    QTRY_COMPARE(announced.count(), 1);
    QCOMPARE(announced.first().first().toString(), readyLine);
    QVERIFY(unit().warnings().isEmpty());
    QVERIFY(!m_simulator->units().front()->isSilent());
}

void TestUnitCommands::quitIsAskedForOnce()
{
    const QSignalSpy quit(m_interpreter.get(), &CommandInterpreter::quitRequested);
    QCOMPARE(execute(" quit "), QStringLiteral("ok quit"));
    QCOMPARE(quit.count(), 1);
}

void TestUnitCommands::helpNamesEveryCommand()
{
    const QString help = CommandInterpreter::help();
    for (const char* word : { "list", "warn", "clear", "silence", "speak", "restart", "version", "name",
                              "interval", "send", "garbage", "quit" })
        QVERIFY2(help.contains(QStringLiteral("  %1 ").arg(QLatin1String(word)))
                     || help.contains(QStringLiteral("  %1\n").arg(QLatin1String(word))),
                 word);
}

QTEST_GUILESS_MAIN(TestUnitCommands)
#include "tst_unitcommands.moc"
