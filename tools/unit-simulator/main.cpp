// SPDX-License-Identifier: MIT
#include "commandinterpreter.h"
#include "commandline.h"
#include "endsignals.h"
#include "inputreader.h"
#include "linesplitter.h"
#include "scenarioplayer.h"
#include "simulator.h"

#include <QCoreApplication>

#include <cstdio>
#include <exception>

namespace {
void print(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    // Whoever reads the lines waits for them. Without a reader there is nobody to play for.
    if (std::fflush(stream) != 0)
        QCoreApplication::exit(1);
}

void say(const QString& line)
{
    print(stdout, line);
}

int complain(const QString& text)
{
    print(stderr, QStringLiteral("unit-simulator: ") + text);
    return usageExitCode;
}

void processLine(CommandInterpreter& interpreter, const LineSplitter::Line& line)
{
    if (!line)
        say(QStringLiteral("error a command is one line of UTF-8 with at most %1 bytes")
                .arg(LineSplitter::longestLine));
    else if (!line->trimmed().isEmpty() && !line->startsWith(QLatin1Char('#')))
        say(interpreter.execute(*line));
}

std::optional<QString> checkSteps(const Options& options, const CommandInterpreter& interpreter)
{
    for (const ScenarioStep& step : options.scenario.steps) {
        const QString error = interpreter.check(step.command);
        if (!error.isEmpty())
            return options.scenarioFile + QStringLiteral(": ") + step.place + QStringLiteral(": ") + error;
    }
    return std::nullopt;
}

std::unique_ptr<InputReader> readCommands(CommandInterpreter& interpreter, LineSplitter& splitter, bool stay)
{
    auto reader = std::make_unique<InputReader>();
    QObject::connect(reader.get(), &InputReader::received, &interpreter,
                     [&interpreter, &splitter](const QByteArray& bytes) {
                         for (const LineSplitter::Line& line : splitter.feed(bytes))
                             processLine(interpreter, line);
                     });
    QObject::connect(reader.get(), &InputReader::ended, &interpreter, [&interpreter, &splitter, stay] {
        for (const LineSplitter::Line& line : splitter.finish())
            processLine(interpreter, line);
        if (!stay)
            QCoreApplication::quit();
    });
    return reader;
}

int run(const Options& options, bool inputGiven)
{
    Simulator simulator(options.units);
    CommandInterpreter interpreter(simulator);
    if (const std::optional<QString> error = checkSteps(options, interpreter))
        return complain(*error);
    if (const std::optional<QString> error = simulator.start())
        return complain(*error);

    const EndSignals endSignals;
    QObject::connect(&endSignals, &EndSignals::endRequested, qApp, &QCoreApplication::quit);
    QObject::connect(&interpreter, &CommandInterpreter::quitRequested, qApp, &QCoreApplication::quit);
    QObject::connect(&simulator, &Simulator::announced, &interpreter, say);
    ScenarioPlayer player(options.scenario);
    QObject::connect(&player, &ScenarioPlayer::due, &interpreter, [&interpreter](const ScenarioStep& step) {
        say(QStringLiteral("step ") + QString::number(static_cast<double>(step.atMs) / 1000)
            + QLatin1Char(' ') + interpreter.execute(step.command));
    });

    for (const auto& unit : simulator.units())
        say(unit->readyLine());
    LineSplitter splitter;
    std::unique_ptr<InputReader> reader;
    if (inputGiven)
        reader = readCommands(interpreter, splitter, options.stay);
    player.start();
    return QCoreApplication::exec();
}
} // namespace

int main(int argc, char* argv[])
{
    const bool inputGiven = InputReader::standardInputGiven();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("unit-simulator"));
    QCoreApplication::setApplicationVersion(QStringLiteral(UNIT_SIMULATOR_VERSION));
    try {
        const auto parsed = parseCommandLine(QCoreApplication::arguments());
        if (const auto* early = std::get_if<EarlyExit>(&parsed)) {
            if (early->code != 0)
                return complain(early->text);
            say(early->text);
            return 0;
        }
        return run(std::get<Options>(parsed), inputGiven);
    } catch (const std::exception& error) {
        print(stderr, QStringLiteral("unit-simulator: ") + QString::fromLocal8Bit(error.what()));
        return 1;
    }
}
