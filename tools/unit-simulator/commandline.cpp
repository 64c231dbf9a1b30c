// SPDX-License-Identifier: MIT
#include "commandline.h"

#include "commandinterpreter.h"

#include <QCommandLineParser>

#include <algorithm>

namespace {
using Field = QPair<QString, QString>;

QString description()
{
    return QStringLiteral(
               "Plays QORweb II units: each publishes its reports over ZeroMQ and has a web page.\n"
               "Prints \"unit KEY ready zmq=ADDRESS:PORT web=ADDRESS:PORT\" for each unit once it can be\n"
               "reached, and then answers each command of standard input with a line that begins with\n"
               "\"ok\" or \"error\". The answers to the steps of a scenario begin with \"step\". Empty "
               "lines\n"
               "and lines that begin with # are passed over. The program ends with \"quit\", with the end\n"
               "of standard input (see --stay) and with SIGTERM or SIGINT.\n"
               "\nCommands:\n")
        + CommandInterpreter::help() + QStringLiteral("\nScenarios:\n") + scenarioHelp()
        + QStringLiteral("\nExit codes: 0 after a clean end, 1 when standard output is gone, 2 when the\n"
                         "arguments or the scenario are wrong or a port cannot be had.");
}

void addOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(description());
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({ QStringLiteral("unit"),
                       QStringLiteral("Adds a unit, or changes the unit of the scenario with the same key. "
                                      "FIELDS are any of key=KEY (unit1, unit2, ...), name=TEXT (the key), "
                                      "port=ZMQPORT (0: the system chooses), web=WEBPORT (0), "
                                      "address=IP (127.0.0.1) and interval=MS (1000) with commas between; "
                                      "a comma of the text is written as \\,. May be given again."),
                       QStringLiteral("FIELDS") });
    parser.addOption({ QStringLiteral("scenario"), QStringLiteral("Takes units and timeline from FILE."),
                       QStringLiteral("FILE") });
    parser.addOption({ QStringLiteral("stay"), QStringLiteral("Goes on when standard input ends.") });
}

EarlyExit wrong(const QString& text)
{
    return { usageExitCode, text };
}

// Cuts at the commas; a backslash takes the next character as it stands.
QStringList splitFields(const QString& text)
{
    QStringList fields { QString() };
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) == QLatin1Char('\\') && i + 1 < text.size())
            fields.last() += text.at(++i);
        else if (text.at(i) == QLatin1Char(','))
            fields.append(QString());
        else
            fields.last() += text.at(i);
    }
    return fields;
}

std::optional<QString> readFields(const QString& text, QVector<Field>& fields)
{
    for (const QString& item : splitFields(text)) {
        const int equals = item.indexOf(QLatin1Char('='));
        if (equals < 1)
            return QStringLiteral("\"%1\" is no FIELD=VALUE").arg(item);
        fields.append({ item.left(equals), item.mid(equals + 1) });
    }
    return std::nullopt;
}

// The unit that the fields speak of: the known one with their key, or a new one.
UnitSettings& unitFor(const QVector<Field>& fields, QVector<UnitSettings>& units)
{
    QString key = QStringLiteral("unit%1").arg(units.size() + 1);
    for (const Field& field : fields) {
        if (field.first == QLatin1String("key"))
            key = field.second;
    }
    const auto known = std::find_if(units.begin(), units.end(),
                                    [&key](const UnitSettings& unit) { return unit.key == key; });
    if (known != units.end())
        return *known;
    units.append(UnitSettings());
    units.last().key = key;
    return units.last();
}

std::optional<QString> applyUnitOption(const QString& text, QVector<UnitSettings>& units, QStringList& given)
{
    QVector<Field> fields;
    if (std::optional<QString> error = readFields(text, fields))
        return error;
    UnitSettings& unit = unitFor(fields, units);
    for (const Field& field : qAsConst(fields)) {
        if (std::optional<QString> error = unit.set(field.first, field.second))
            return error;
    }
    if (given.contains(unit.key))
        return QStringLiteral("the key \"%1\" is taken").arg(unit.key);
    given.append(unit.key);
    if (unit.name.isEmpty())
        unit.name = unit.key;
    return std::nullopt;
}

std::variant<EarlyExit, Options> readOptions(const QCommandLineParser& parser)
{
    Options options;
    options.stay = parser.isSet(QStringLiteral("stay"));
    const QStringList files = parser.values(QStringLiteral("scenario"));
    if (files.size() > 1)
        return wrong(QStringLiteral("--scenario is given more than once"));
    if (!files.isEmpty()) {
        options.scenarioFile = files.first();
        const auto scenario = loadScenario(options.scenarioFile);
        if (const auto* error = std::get_if<ScenarioError>(&scenario))
            return wrong(error->text);
        options.scenario = std::get<Scenario>(scenario);
        options.units = options.scenario.units;
    }
    QStringList given;
    for (const QString& text : parser.values(QStringLiteral("unit"))) {
        if (const std::optional<QString> error = applyUnitOption(text, options.units, given))
            return wrong(QStringLiteral("--unit \"") + text + QStringLiteral("\": ") + *error);
    }
    if (options.units.isEmpty())
        return wrong(QStringLiteral("there is no unit: give --unit or --scenario"));
    return options;
}
} // namespace

std::variant<EarlyExit, Options> parseCommandLine(const QStringList& arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(arguments))
        return wrong(parser.errorText());
    if (parser.isSet(QStringLiteral("help")))
        return EarlyExit { 0, parser.helpText() };
    if (parser.isSet(QStringLiteral("version")))
        return EarlyExit { 0, QStringLiteral("unit-simulator ") + QCoreApplication::applicationVersion() };
    if (!parser.positionalArguments().isEmpty())
        return wrong(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first()));
    return readOptions(parser);
}
