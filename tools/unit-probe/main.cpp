// SPDX-License-Identifier: MIT
#include "console.h"
#include "probe.h"

#include "app/logoutput.h"
#include "base/version.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonDocument>
#include <QTranslator>

#include <stdexcept>

namespace {
constexpr int usageErrorCode = 2;
constexpr int failureCode = 5;
constexpr int highestPort = 65535;
constexpr int longestSeconds = 3600;
constexpr int shownSeconds = 10;

class UsageError : public std::runtime_error {
public:
    explicit UsageError(const QString& text)
        : std::runtime_error(text.toStdString())
    {
    }
};

QString description()
{
    return QStringLiteral(
        "Horcht auf ein QORweb II wie der QorMonitor und sagt, was dieser davon hält.\n"
        "\n"
        "Exit-Codes:\n"
        "  0  Das Gerät ist zu hören, und der Monitor versteht alles.\n"
        "  1  In der Zeit kam kein Text.\n"
        "  2  Falscher Aufruf.\n"
        "  3  Zu dem Namen gibt es keine Adresse.\n"
        "  4  Das Gerät ist zu hören, aber etwas daran ist inkompatibel, zu lang oder zu selten.\n"
        "  5  Das Programm selbst ist gescheitert.");
}

int toNumber(const QString& text, int largest)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < 1 || number > largest)
        throw UsageError(
            QStringLiteral("\"%1\" ist keine Zahl von 1 bis %2").arg(text, QString::number(largest)));
    return number;
}

struct Arguments {
    QString host;
    std::optional<int> port;
    int seconds = 0;
    bool asJson = false;
    // To be written instead of anything else.
    QString answer;
};

Arguments readArguments()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(description());
    const QCommandLineOption helpOption({ QStringLiteral("h"), QStringLiteral("help") },
                                        QStringLiteral("Zeigt diese Hilfe."));
    const QCommandLineOption versionOption({ QStringLiteral("v"), QStringLiteral("version") },
                                           QStringLiteral("Zeigt die Version."));
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Schreibt ein JSON-Objekt."));
    const QCommandLineOption secondsOption(QStringLiteral("seconds"),
                                           QStringLiteral("Wie lange es horcht, 1 bis 3600 s; sonst 10."),
                                           QStringLiteral("N"), QString::number(shownSeconds));
    parser.addOptions({ helpOption, versionOption, jsonOption, secondsOption });
    parser.addPositionalArgument(QStringLiteral("HOST"), QStringLiteral("Name oder Adresse des Geräts."));
    parser.addPositionalArgument(QStringLiteral("PORT"), QStringLiteral("Sein QOR Port; sonst 5566."),
                                 QStringLiteral("[PORT]"));
    if (!parser.parse(QCoreApplication::arguments()))
        throw UsageError(parser.errorText());

    Arguments result;
    if (parser.isSet(helpOption))
        result.answer = parser.helpText().trimmed();
    else if (parser.isSet(versionOption))
        result.answer = QStringLiteral("unit-probe ") + programVersion();
    if (!result.answer.isEmpty())
        return result;

    const QStringList values = parser.positionalArguments();
    // As the device manager takes it.
    result.host = values.value(0).trimmed();
    if (result.host.isEmpty())
        throw UsageError(QStringLiteral("HOST fehlt"));
    // As a tool tip of the monitor shows a unit. An IPv6 address has more colons.
    if (result.host.count(QLatin1Char(':')) == 1)
        throw UsageError(QStringLiteral("HOST und PORT stehen getrennt: ")
                         + QString(result.host).replace(QLatin1Char(':'), QLatin1Char(' ')));
    if (values.size() > 2)
        throw UsageError(QStringLiteral("\"%1\" ist zu viel").arg(values.at(2)));
    if (values.size() == 2)
        result.port = toNumber(values.at(1), highestPort);
    result.seconds = toNumber(parser.value(secondsOption), longestSeconds);
    result.asJson = parser.isSet(jsonOption);
    return result;
}

// Qt escapes only what lies below the blank.
QString asText(const QJsonObject& object)
{
    const QString json = QString::fromUtf8(QJsonDocument(object).toJson().trimmed());
    QString text;
    for (const QChar character : json) {
        if (character > QLatin1Char(' ') && Findings::steers(character))
            text += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        else
            text += character;
    }
    return text;
}

void write(const QStringList& lines)
{
    for (const QString& line : lines)
        Console::writeLine(line);
}

int run()
{
    const Arguments arguments = readArguments();
    if (!arguments.answer.isEmpty()) {
        Console::writeLine(arguments.answer);
        return 0;
    }
    Probe probe(arguments.host, arguments.port, arguments.seconds);
    if (!arguments.asJson)
        write(probe.findings().heading());
    if (!probe.findings().address.isEmpty())
        probe.listen();
    if (arguments.asJson)
        Console::writeLine(asText(probe.findings().json()));
    else
        write(probe.findings().result());
    return probe.findings().verdict();
}
} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("unit-probe"));
    // The classes of the monitor log what they do. Here it would be in the way.
    LogOutput::setDebugLevel(-1);
    const LogOutput log;
    // For the reasons that come from Qt.
    QTranslator german;
    if (german.load(QStringLiteral(":/qt_de.qm")))
        QCoreApplication::installTranslator(&german);
    try {
        return run();
    } catch (const UsageError& error) {
        Console::writeErrorLine(
            QStringLiteral("unit-probe: %1 (siehe unit-probe --help)").arg(QString::fromUtf8(error.what())));
        return usageErrorCode;
    } catch (const std::exception& error) {
        Console::writeErrorLine(QStringLiteral("unit-probe: ") + QString::fromLocal8Bit(error.what()));
        return failureCode;
    }
}
