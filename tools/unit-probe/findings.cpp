// SPDX-License-Identifier: MIT
#include "findings.h"

#include "link/qorinterface.h"

#include <algorithm>

namespace {
// A unit may say something else each time.
constexpr int mostRefusals = 10;
constexpr int mostSizes = 100;
constexpr int excerptLength = 200;

QString field(const QString& name, const QString& value)
{
    return (name + QLatin1Char(':')).leftJustified(10) + value;
}

QString softwareText(const QString& number, const QString& date)
{
    return QStringLiteral("V%1 (%2)").arg(number, date);
}

QString messageLine(const QJsonObject& message)
{
    const auto text = [&message](const char* key) { return message.value(QLatin1String(key)).toString(); };
    return QStringLiteral("  %1 %2 %3  %4")
        .arg(text("class").leftJustified(12), text("date"), text("time"), text("displaytext"));
}

// What a unit says must not steer the terminal.
QString printable(QString line)
{
    std::replace_if(
        line.begin(), line.end(), [](QChar character) { return Findings::steers(character); },
        QLatin1Char(' '));
    return line;
}

QStringList printable(QStringList lines)
{
    for (QString& line : lines)
        line = printable(line);
    return lines;
}

QString verdictWord(Findings::Verdict verdict)
{
    switch (verdict) {
    case Findings::Fine:
        return QStringLiteral("fine");
    case Findings::NothingHeard:
        return QStringLiteral("nothingHeard");
    case Findings::NoAddress:
        return QStringLiteral("noAddress");
    case Findings::Faulty:
        return QStringLiteral("faulty");
    }
    return {};
}
} // namespace

bool Findings::steers(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

void Findings::addRefusal(const QString& reason, const QByteArray& text)
{
    ++refused;
    const auto known = std::find_if(refusals.begin(), refusals.end(),
                                    [&reason](const Refusal& refusal) { return refusal.reason == reason; });
    if (known != refusals.end())
        ++known->count;
    else if (refusals.size() < mostRefusals)
        refusals.append({ reason, text, 1 });
}

void Findings::addTooLong(qint64 size)
{
    ++dropped;
    if (tooLong.size() < mostSizes || tooLong.contains(size))
        ++tooLong[size];
}

Findings::Verdict Findings::verdict() const
{
    if (address.isEmpty())
        return NoAddress;
    if (!isAnythingHeard())
        return NothingHeard;
    return isUsable() && silences == 0 ? Fine : Faulty;
}

bool Findings::isUsable() const
{
    return statusReports + versionInfos > 0 && refused == 0 && tooLong.isEmpty();
}

QStringList Findings::heading() const
{
    QStringList lines { field(QStringLiteral("Gerät"),
                              QStringLiteral("%1:%2").arg(host, QString::number(port))) };
    if (address.isEmpty())
        return printable(lines);
    lines.append(field(QStringLiteral("Adresse"), address));
    if (addresses.size() > 1)
        lines.append(field(QStringLiteral("Von"), addresses.join(QStringLiteral(", "))));
    lines.append(QStringLiteral("Horche %1 s ...").arg(seconds));
    return printable(lines);
}

QStringList Findings::result() const
{
    QStringList lines;
    if (!address.isEmpty()) {
        lines.append(field(QStringLiteral("Status"), state));
        lines.append(field(QStringLiteral("Name"), name.isEmpty() ? QStringLiteral("(keiner)") : name));
        if (versionInfos > 0)
            lines.append(field(QStringLiteral("Software"),
                               softwareText(localVersionNo, localVersionDate) + QStringLiteral(", verfügbar ")
                                   + softwareText(remoteVersionNo, remoteVersionDate)));
        lines.append(
            field(QStringLiteral("Texte"),
                  QStringLiteral("%1 StatusReport, %2 VersionInfo, %3 leer, %4 inkompatibel, %5 zu lang")
                      .arg(statusReports)
                      .arg(versionInfos)
                      .arg(blanks)
                      .arg(refused)
                      .arg(dropped)));
        lines.append(QStringLiteral("Im Monitor:"));
        for (const QJsonValue& message : messages)
            lines.append(messageLine(message.toObject()));
        lines += faults();
    }
    lines.append(field(QStringLiteral("Ergebnis"), verdictText()));
    return printable(lines);
}

QStringList Findings::faults() const
{
    QStringList lines;
    if (!refusals.isEmpty())
        lines.append(QStringLiteral("Inkompatibel:"));
    for (const Refusal& refusal : refusals) {
        lines.append(
            QStringLiteral("  %1 mal %2").arg(refusal.count).arg(refusal.reason.left(excerptLength)));
        lines.append(QStringLiteral("    ") + QString::fromUtf8(refusal.text).left(excerptLength));
    }
    if (!tooLong.isEmpty())
        lines.append(QStringLiteral("Zu lang, der Monitor verwirft mehr als %1 Bytes:")
                         .arg(QorInterface::maxTextSize));
    for (auto it = tooLong.cbegin(); it != tooLong.cend(); ++it)
        lines.append(QStringLiteral("  %1 mal %2 Bytes").arg(it.value()).arg(it.key()));
    if (silences > 0)
        lines.append(QStringLiteral("Zu still: %1 mal kam 5 Sekunden lang kein Text.").arg(silences));
    return lines;
}

QString Findings::verdictText() const
{
    switch (verdict()) {
    case Fine:
        return QStringLiteral("Der Monitor versteht das Gerät.");
    case NothingHeard:
        return QStringLiteral("Es kam kein Text. ") + silenceText();
    case NoAddress:
        return QStringLiteral("Zu diesem Namen gibt es keine Adresse.");
    case Faulty:
        return isUsable()
            ? QStringLiteral("Das Gerät ist zu hören, aber es schweigt zu lange.")
            : QStringLiteral("Das Gerät ist zu hören, aber der Monitor kann nicht alles davon gebrauchen.");
    }
    return {};
}

QString Findings::silenceText() const
{
    // The link writes an IPv6 address as it stands, and ZeroMQ cannot connect to that.
    if (address.contains(QLatin1Char(':')))
        return QStringLiteral("Der Monitor erreicht ein Gerät nur über IPv4.");
    if (!portError.isEmpty())
        return QStringLiteral("Der Port ist nicht erreichbar: ") + portError;
    return QStringLiteral("Der Port nimmt Verbindungen an: Ist es der eines QORweb II, und sendet es?");
}

QJsonObject Findings::json() const
{
    QJsonArray refusalList;
    for (const Refusal& refusal : refusals)
        refusalList.append(QJsonObject { { QStringLiteral("reason"), refusal.reason },
                                         { QStringLiteral("text"), QString::fromUtf8(refusal.text) },
                                         { QStringLiteral("count"), refusal.count } });
    QJsonArray tooLongList;
    for (auto it = tooLong.cbegin(); it != tooLong.cend(); ++it)
        tooLongList.append(
            QJsonObject { { QStringLiteral("size"), it.key() }, { QStringLiteral("count"), it.value() } });
    return {
        { QStringLiteral("host"), host },
        { QStringLiteral("port"), port },
        { QStringLiteral("address"), address },
        { QStringLiteral("addresses"), QJsonArray::fromStringList(addresses) },
        { QStringLiteral("seconds"), seconds },
        { QStringLiteral("verdict"), verdictWord(verdict()) },
        { QStringLiteral("verdictText"), verdictText() },
        { QStringLiteral("state"), state },
        { QStringLiteral("name"), name },
        { QStringLiteral("localQorVersionNo"), localVersionNo },
        { QStringLiteral("localQorVersionDate"), localVersionDate },
        { QStringLiteral("remoteQorVersionNo"), remoteVersionNo },
        { QStringLiteral("remoteQorVersionDate"), remoteVersionDate },
        { QStringLiteral("messages"), messages },
        { QStringLiteral("statusReports"), statusReports },
        { QStringLiteral("versionInfos"), versionInfos },
        { QStringLiteral("blanks"), blanks },
        { QStringLiteral("refused"), refused },
        { QStringLiteral("refusals"), refusalList },
        { QStringLiteral("dropped"), dropped },
        { QStringLiteral("tooLong"), tooLongList },
        { QStringLiteral("silences"), silences },
        { QStringLiteral("portError"), portError },
    };
}
