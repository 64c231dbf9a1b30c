// SPDX-License-Identifier: MIT
#include "base/version.h"

#include <QString>

namespace {
const QString version = QStringLiteral(QORMONITOR_VERSION);
const QString date = QStringLiteral(QORMONITOR_BUILD_DATE);
const QString updateUrl = QStringLiteral(QORMONITOR_UPDATE_URL);
const QString key = QStringLiteral(QORMONITOR_UPDATE_KEY);
} // namespace

const QString& programVersion()
{
    return version;
}

const QString& buildDate()
{
    return date;
}

const QString& updateBaseUrl()
{
    return updateUrl;
}

const QString& updateKey()
{
    return key;
}
