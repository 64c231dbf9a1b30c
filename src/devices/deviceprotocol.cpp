// SPDX-License-Identifier: MIT
// The part of Device that gives meaning to what the unit says.
#include "devices/device.h"

#include "devices/devicelist.h"
#include "devices/devicemessages.h"
#include "devices/unittext.h"
#include "link/qorinterface.h"

#include <QDebug>
#include <QLocale>
#include <QMessageBox>

#include <algorithm>

namespace {

const auto dateFormat = QStringLiteral("dd. MMM yyyy");

// The unit writes its months in English; an unreadable date is earlier than every other one.
qint64 dayNumber(const QString& date)
{
    return QLocale(QLocale::English, QLocale::AnyCountry).toDate(date, dateFormat).toJulianDay();
}

QString stringValue(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

} // namespace

void Device::processQorMessage(const QByteArray& json)
{
    const UnitText text = readUnitText(json);
    const QJsonObject& object = text.object;
    // The name counts whatever the command is, so a message with an unknown one sets it too.
    if (text.isWellFormed())
        setQorName(stringValue(object, "host"));
    switch (text.kind) {
    case UnitText::Blank:
        qWarning() << "Device::processQorMessage() skip empty message";
        break;
    case UnitText::Unreadable:
        qWarning().noquote() << "Device::processQorMessage() parse error" << text.error.errorString()
                             << "at offset" << text.error.offset << "\nMessage:" << json;
        setIncompatible(true);
        break;
    case UnitText::StatusReport:
        setIncompatible(false);
        setWarnings(
            object.value(QLatin1String("value")).toObject().value(QLatin1String("warnings")).toArray());
        break;
    case UnitText::VersionInfo:
        updateVersionInfo(
            stringValue(object, "localQorVersionNo"), stringValue(object, "localQorVersionDate"),
            stringValue(object, "remoteQorVersionNo"), stringValue(object, "remoteQorVersionDate"));
        break;
    case UnitText::UnknownCommand:
        // The line names another method: readers of logs search for this name.
        qCritical().noquote() << "Device::onReceiveQorMessage() receive incompatible cmd" << text.cmd
                              << ", message" << json << ", object" << object;
        setIncompatible(true);
        break;
    }
}

void Device::updateConnectState()
{
    const QorInterface::State state = m_link->state();
    qInfo() << "Device::updateConnectState()" << state;
    // The setters emit signals, so listeners see the order of these lines. It is not the same in each case.
    switch (state) {
    case QorInterface::Pending:
        m_connectionMessage
            = monitorMessage(m_qorName, QStringLiteral("Warte auf Verbindung ..."), MessageClass::Warning);
        setWarnings(QJsonArray());
        setIncompatible(false);
        break;
    case QorInterface::Connected:
        m_connectionMessage
            = monitorMessage(m_qorName, QStringLiteral("Verbindung hergestellt"), MessageClass::Confirmation);
        break;
    default:
        setWarnings(QJsonArray());
        setIncompatible(false);
        m_connectionMessage
            = monitorMessage(m_qorName, QStringLiteral("Verbindung getrennt"), MessageClass::Error);
        break;
    }
    announceState();
    updateAlert();
}

void Device::setIncompatible(bool on)
{
    if (m_incompatible == on)
        return;
    m_incompatible = on;
    if (on) {
        m_incompatibleMessage
            = monitorMessage(m_qorName, QStringLiteral("QOR Version inkompatibel"), MessageClass::Error);
        setWarnings(QJsonArray());
    } else {
        m_incompatibleMessage = QJsonObject();
    }
    announceState();
    updateAlert();
}

void Device::setWarnings(const QJsonArray& newWarnings)
{
    if (m_warnings == newWarnings)
        return;
    const bool anyNew
        = std::any_of(newWarnings.begin(), newWarnings.end(),
                      [this](const QJsonValue& warning) { return isNewWarning(warning.toObject()); });
    m_warnings = newWarnings;
    announceState();
    if (anyNew)
        emit m_list->alertChanged();
}

bool Device::isNewWarning(const QJsonObject& warning) const
{
    return std::none_of(m_warnings.begin(), m_warnings.end(),
                        [&warning](const QJsonValue& known) { return known.toObject() == warning; });
}

void Device::updateVersionInfo(const QString& localNo, const QString& localDate, const QString& remoteNo,
                               const QString& remoteDate)
{
    // A report in which only the dates are new is ignored, dates included: no new software without a new
    // number.
    if (localNo == m_localVersionNo && remoteNo == m_remoteVersionNo)
        return;
    m_localVersionNo = localNo;
    m_localVersionDate = localDate;
    m_remoteVersionNo = remoteNo;
    m_remoteVersionDate = remoteDate;
    emit versionDataChanged();
    // Only the dates decide what is newer; the numbers are never compared for order.
    if (dayNumber(remoteDate) <= dayNumber(localDate)) {
        m_versionMessage = QJsonObject();
    } else {
        qCritical() << "updateVersionInfo2" << localNo << remoteNo;
        m_versionMessage = monitorMessage(
            m_qorName, QStringLiteral("Neue SW Version verfügbar V%1").arg(m_remoteVersionNo),
            MessageClass::Warning);
    }
    announceState();
}

void Device::announceState()
{
    static quint64 lastRevision = 0;
    m_revision = ++lastRevision;
    emit deviceStateChanged();
}

void Device::updateAlert()
{
    // An unmonitored unit counts, too: its link is idle and therefore disconnected.
    setAlert(!m_incompatibleMessage.isEmpty() || m_link->state() == QorInterface::Disconnected);
}

void Device::setAlert(bool on)
{
    if (m_alert == on)
        return;
    m_alert = on;
    m_alertTime = QDateTime::currentDateTime();
    emit m_list->alertChanged();
}

QJsonArray Device::messages() const
{
    QJsonArray result;
    for (const QJsonObject& message : { m_connectionMessage, m_incompatibleMessage, m_versionMessage }) {
        if (!message.isEmpty())
            result.append(message);
    }
    for (const QJsonValue& warning : m_warnings) {
        // Whatever class the unit gives, the list shows its warnings as errors.
        QJsonObject message = warning.toObject();
        message.insert(QLatin1String("class"), messageClassName(MessageClass::Error));
        result.append(message);
    }
    return result;
}

void Device::showVersionHint()
{
    const QDate localDate = QDate::fromString(m_localVersionDate, dateFormat);
    const QDate remoteDate = QDate::fromString(m_remoteVersionDate, dateFormat);
    if (remoteDate.toJulianDay() <= localDate.toJulianDay())
        return;
    QWidget* parent = m_list->parentWidget();
    QMessageBox::information(parent, parent ? parent->windowTitle() : QString(),
                             tr("Für ihre QORweb II %1 liegt eine neue Version %2 vor.\nEs wird empfohlen, "
                                "das Update im Systemmenü der Web Oberfläche auszuführen.")
                                 .arg(m_qorName, m_remoteVersionNo),
                             QMessageBox::Ok);
}
