// SPDX-License-Identifier: MIT
#pragma once

#include "unit.h"
#include "unitpublisher.h"
#include "unitwebserver.h"

#include <QObject>
#include <QTimer>

// One running unit: its model, its publisher socket, its web interface and the clock of its reports. Owned by
// the Simulator; lives on the main thread.
class UnitRunner : public QObject {
    Q_OBJECT

public:
    // Every so many reports the version data go out again, for subscribers that have come late.
    static constexpr int reportsPerVersionInfo = 5;

    UnitRunner(const UnitSettings& settings, zmq::context_t& context);

    // Opens both ports and begins to publish. Returns why it cannot; then nothing is open.
    std::optional<QString> start();

    const Unit& unit() const { return m_unit; }
    bool isOpen() const { return m_publisher.isOpen(); }
    bool isSilent() const { return m_silent; }
    int intervalMs() const { return m_timer.interval(); }
    quint16 zmqPort() const { return m_settings.zmqPort; }
    // "unit <key> ready zmq=<address>:<port> web=<address>:<port>".
    QString readyLine() const;
    // "unit <key> speaking|silent|restarting zmq=... web=... interval=... warnings=... name=...".
    QString stateLine() const;

    // What changes the unit's condition is told with the next report; new version data at once.
    void setName(const QString& name) { m_unit.setName(name); }
    void setIntervalMs(int intervalMs) { m_timer.setInterval(intervalMs); }
    void setVersion(const VersionData& version);
    void raiseWarning(const QJsonObject& warning) { m_unit.raiseWarning(warning); }
    bool clearWarning(int number) { return m_unit.clearWarning(number); }
    bool clearWarning(const QString& displayText) { return m_unit.clearWarning(displayText); }
    void clearWarnings() { m_unit.clearWarnings(); }

    // A silent unit keeps its ports open but reports nothing of its own accord.
    void setSilent(bool silent);
    // Closes both ports, forgets the warnings and the silence, and opens the same ports after this time.
    void restart(int downMs);
    void send(const QVector<QByteArray>& frames) { m_publisher.publishFrames(frames); }

signals:
    // Both after a restart only.
    void ready();
    void failed(const QString& reason);

private:
    std::optional<QString> openPorts();
    void reopenPorts();
    void beginReports();
    void publishReport();
    void publishVersionInfo();
    QString portsText() const;

    // The ports in it are the bound ones once the unit has started.
    UnitSettings m_settings;
    Unit m_unit;
    UnitPublisher m_publisher;
    UnitWebServer m_web;
    QTimer m_timer;
    QTimer m_restartTimer;
    int m_openAttempts = 0;
    int m_reportsUntilVersionInfo = 0;
    bool m_silent = false;
};
