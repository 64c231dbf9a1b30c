// SPDX-License-Identifier: MIT
#pragma once

#include "unit.h"

#include <QObject>
#include <QTimer>

#include <memory>

// One running unit: its model, its publisher, its web page and the clock of its reports. Owned by the
// Simulator; lives on the main thread.
class UnitServer : public QObject {
    Q_OBJECT

public:
    struct Settings {
        QString key;
        QString name;
        // A literal address of this machine.
        QString address = QStringLiteral("127.0.0.1");
        // 0 lets the system choose.
        quint16 zmqPort = 0;
        quint16 webPort = 0;
        int intervalMs = 1000;
    };

    explicit UnitServer(const Settings& settings);
    ~UnitServer() override;
    Q_DISABLE_COPY_MOVE(UnitServer)

    // Opens both ports and begins to report. Throws InputError, and then nothing is open.
    void open();
    // Closes both ports for this time and forgets the warnings. Then opens the same ports and reports again.
    void restart(int downMs);
    // Publishes the reports of the unit now, not at the end of the interval. Does nothing while it is down.
    void report();

    // Call report() after a change, so that it is published at once.
    Unit& unit() { return m_unit; }
    QString key() const { return m_settings.key; }
    quint16 zmqPort() const { return m_settings.zmqPort; }
    quint16 webPort() const { return m_settings.webPort; }
    // "unit <key> ready zmq=<address>:<port> web=<address>:<port>".
    QString readyLine() const;

signals:
    // After a restart: the ready line, or "unit <key> failed: <reason>".
    void announced(const QString& line);

private:
    struct Ports;

    QString endpoint(quint16 port) const;
    void answerBrowser();
    void reopen();

    // The ports in it are the bound ones once the unit has been opened.
    Settings m_settings;
    Unit m_unit;
    // Empty while the unit is down.
    std::unique_ptr<Ports> m_ports;
    QTimer m_clock;
    QTimer m_downTime;
};
