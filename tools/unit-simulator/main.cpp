// SPDX-License-Identifier: MIT
#include "inputerror.h"
#include "scenario.h"
#include "simulator.h"

#include "base/detachedthread.h"

#include <QCommandLineParser>

#include <cstdlib>
#include <iostream>

namespace {
constexpr int inputErrorCode = 2;

void say(const QString& line)
{
    // std::endl, not a line break: a test or script waits for each line.
    std::cout << line.toStdString() << std::endl;
}

QString description()
{
    return QStringLiteral(
               "Plays QORweb II units: each publishes its reports over ZeroMQ and has a web page.\n"
               "Prints \"unit KEY ready zmq=ADDRESS:PORT web=ADDRESS:PORT\" for each unit once it can be\n"
               "reached, and then answers each command of standard input with \"ok\" or \"error ...\".\n"
               "Exit codes: 0 after quit or the end of standard input, 2 when the arguments or the\n"
               "scenario are wrong or a port cannot be had.\n\nCommands:\n")
        + Simulator::help();
}

// The scenario of the arguments; it says whether to stay.
Scenario readArguments(bool& stay)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(description());
    const QCommandLineOption helpOption({ QStringLiteral("h"), QStringLiteral("help") },
                                        QStringLiteral("Displays this help."));
    const QCommandLineOption versionOption = parser.addVersionOption();
    const QCommandLineOption unitOption(
        QStringLiteral("unit"),
        QStringLiteral(
            "Adds a unit, or changes the unit of the scenario with the same key. FIELDS are any of "
            "key=KEY (unit1, unit2, ...), name=TEXT (the key), port=ZMQPORT (0: the system "
            "chooses), web=WEBPORT (0), address=IP (127.0.0.1) and interval=MS (1000), with commas "
            "between. May be given again."),
        QStringLiteral("FIELDS"));
    const QCommandLineOption scenarioOption(
        QStringLiteral("scenario"), QStringLiteral("Takes units and timed commands from a JSON file."),
        QStringLiteral("FILE"));
    const QCommandLineOption stayOption(QStringLiteral("stay"),
                                        QStringLiteral("Goes on when standard input ends."));
    parser.addOptions({ helpOption, unitOption, scenarioOption, stayOption });
    if (!parser.parse(QCoreApplication::arguments()))
        throw InputError(parser.errorText());
    if (parser.isSet(helpOption))
        parser.showHelp();
    if (parser.isSet(versionOption))
        parser.showVersion();
    if (!parser.positionalArguments().isEmpty())
        throw InputError(QStringLiteral("unexpected argument ") + parser.positionalArguments().first());

    stay = parser.isSet(stayOption);
    Scenario scenario;
    if (parser.isSet(scenarioOption))
        scenario = Scenario::fromFile(parser.value(scenarioOption));
    for (const QString& fields : parser.values(unitOption))
        scenario.setUnit(fields);
    if (scenario.units.isEmpty())
        throw InputError(QStringLiteral("there is no unit: give --unit or --scenario"));
    return scenario;
}

// Tries all commands once, so that a mistake in a scenario is found at the start and not in the middle.
void rehearse(const Scenario& scenario)
{
    Simulator rehearsal(scenario);
    for (const Scenario::Step& step : scenario.steps) {
        const QString answer = rehearsal.execute(step.command);
        if (answer != QLatin1String("ok"))
            throw InputError(step.command + QStringLiteral(": ") + answer);
    }
}

void processInput(Simulator& simulator, const QString& line)
{
    if (!line.trimmed().isEmpty() && !line.startsWith(QLatin1Char('#')))
        say(simulator.execute(line));
}

// Only a line of input wakes the reading thread. So it cannot be joined, and the program ends without it.
void readInput(Simulator& simulator, bool stay)
{
    startDetached([&simulator, stay] {
        for (std::string line; std::getline(std::cin, line);) {
            const auto process
                = [&simulator, line] { processInput(simulator, QString::fromStdString(line)); };
            QMetaObject::invokeMethod(qApp, process, Qt::QueuedConnection);
        }
        if (!stay)
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    });
}

int run()
{
    bool stay = false;
    const Scenario scenario = readArguments(stay);
    rehearse(scenario);

    Simulator simulator(scenario);
    QObject::connect(&simulator, &Simulator::announced, &simulator, say);
    QObject::connect(&simulator, &Simulator::quitRequested, qApp, &QCoreApplication::quit);
    simulator.start();
    readInput(simulator, stay);
    return QCoreApplication::exec();
}
} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("unit-simulator"));
    QCoreApplication::setApplicationVersion(QStringLiteral(UNIT_SIMULATOR_VERSION));
    int code = inputErrorCode;
    try {
        code = run();
    } catch (const InputError& error) {
        std::cerr << "unit-simulator: " << error.what() << std::endl;
    }
    // The reading thread may still post to the application, so the process ends without destroying either.
    std::_Exit(code);
}
