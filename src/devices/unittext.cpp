// SPDX-License-Identifier: MIT
#include "devices/unittext.h"

#include "devices/repeatedkeys.h"

namespace {
UnitText::Kind kindOf(const QString& cmd)
{
    if (cmd == QLatin1String("StatusReport"))
        return UnitText::StatusReport;
    if (cmd == QLatin1String("VersionInfo"))
        return UnitText::VersionInfo;
    return UnitText::UnknownCommand;
}
} // namespace

UnitText readUnitText(const QByteArray& json)
{
    UnitText text;
    if (json.trimmed().isEmpty())
        return text;
    text.object = QJsonDocument::fromJson(withoutRepeatedContainers(json), &text.error).object();
    text.cmd = text.object.value(QLatin1String("cmd")).toString();
    text.kind = text.error.error == QJsonParseError::NoError ? kindOf(text.cmd) : UnitText::Unreadable;
    return text;
}
