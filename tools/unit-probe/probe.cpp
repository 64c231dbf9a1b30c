// SPDX-License-Identifier: MIT
#include "probe.h"

#include "devices/unittext.h"
#include "link/hostlookup.h"
#include "link/qorinterface.h"

#include <QEventLoop>
#include <QTcpSocket>
#include <QTimer>

namespace {
constexpr int connectTimeoutMs = 3000;

QString reasonOf(const UnitText& text)
{
    if (text.kind == UnitText::Unreadable)
        return QStringLiteral("kein JSON, ab Byte %1: %2")
            .arg(text.error.offset)
            .arg(text.error.errorString());
    if (text.cmd.isEmpty())
        return QStringLiteral("ohne Kommando (\"cmd\")");
    return QStringLiteral("unbekanntes Kommando \"%1\"").arg(text.cmd);
}
} // namespace

Probe::Probe(const QString& host, std::optional<int> port, int seconds)
{
    if (port)
        m_device.setZmqPort(*port);
    m_device.setHost(host);
    m_findings.host = m_device.host();
    m_findings.port = m_device.zmqPort();
    m_findings.seconds = seconds;
    m_findings.address = m_device.ipAddress();
    // The answer is there already.
    m_findings.addresses = beginLookUp(host).get().addresses;

    const QorInterface* link = m_device.qorInterface();
    connect(link, &QorInterface::receiveQorMessage, this, &Probe::count);
    connect(link, &QorInterface::textTooLong, this, [this](qint64 size) { m_findings.addTooLong(size); });
    connect(link, &QorInterface::connectStateChanged, this, [this, link] {
        if (link->state() == QorInterface::Disconnected)
            ++m_findings.silences;
    });
}

void Probe::listen()
{
    QEventLoop loop;
    QTimer::singleShot(m_findings.seconds * 1000, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    m_device.setMonitored(true);
    loop.exec();
    takeCondition();
    if (!m_findings.isAnythingHeard())
        tryPort();
}

void Probe::count(const QByteArray& json)
{
    const UnitText text = readUnitText(json);
    switch (text.kind) {
    case UnitText::Blank:
        ++m_findings.blanks;
        break;
    case UnitText::StatusReport:
        ++m_findings.statusReports;
        break;
    case UnitText::VersionInfo:
        ++m_findings.versionInfos;
        break;
    case UnitText::Unreadable:
    case UnitText::UnknownCommand:
        m_findings.addRefusal(reasonOf(text), json);
        break;
    }
}

void Probe::takeCondition()
{
    m_findings.state = m_device.stateText();
    m_findings.name = m_device.qorName();
    m_findings.localVersionNo = m_device.localVersionNo();
    m_findings.localVersionDate = m_device.localVersionDate();
    m_findings.remoteVersionNo = m_device.remoteVersionNo();
    m_findings.remoteVersionDate = m_device.remoteVersionDate();
    m_findings.messages = m_device.messages();
}

// A link does not tell why nothing comes.
void Probe::tryPort()
{
    QTcpSocket socket;
    socket.connectToHost(m_findings.address, static_cast<quint16>(m_findings.port));
    if (!socket.waitForConnected(connectTimeoutMs))
        m_findings.portError = socket.errorString();
}
