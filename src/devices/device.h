// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QSharedPointer>
#include <QString>

class DeviceList;
class QSettings;
class QorInterface;

// The record of one unit: where it is reached, what it has said of itself and its current condition. Child
// of its DeviceList, through which it announces its changes; lives on the GUI thread. It owns the link to
// the unit for its whole life and has it connect or disconnect as host, port and the monitored flag change.
//
// Every setter does nothing on an equal value. Otherwise it stores the value, emits its own signal and
// notifies the list; those of host, ZeroMQ port and monitored flag then have the link follow, which may throw
// zmq::error_t.
class Device : public QObject {
    Q_OBJECT

public:
    // Throws zmq::error_t when the link cannot be created. The list must outlive the unit.
    explicit Device(DeviceList* list);
    ~Device() override;
    Q_DISABLE_COPY_MOVE(Device)

    QString host() const { return m_host; }
    int zmqPort() const { return m_zmqPort; }
    int webPort() const { return m_webPort; }
    QString webScheme() const { return m_webScheme; }
    QString qorName() const { return m_qorName; }
    QString ipAddress() const { return m_ipAddress; }
    // As of the last updateVersionInfo() with a new number; empty before.
    QString localVersionNo() const { return m_localVersionNo; }
    QString localVersionDate() const { return m_localVersionDate; }
    QString remoteVersionNo() const { return m_remoteVersionNo; }
    QString remoteVersionDate() const { return m_remoteVersionDate; }
    bool monitored() const { return m_monitored; }
    // Whether the unit needs attention: incompatible or its link disconnected, monitored or not.
    bool alert() const { return m_alert; }
    // When alert() last changed; null before. The program itself does not ask for it.
    const QDateTime& alertTime() const { return m_alertTime; }
    QorInterface* qorInterface() const { return m_link.data(); }

    // Blocks for a name lookup.
    void setHost(const QString& host);
    void setZmqPort(int zmqPort);
    void setWebPort(int webPort);
    void setWebScheme(const QString& webScheme);
    void setQorName(const QString& qorName);
    void setIpAddress(const QString& ipAddress);
    void setMonitored(bool monitored);

    // Both work in the current group of the settings. A missing key loads as an empty, zero or false value,
    // not as the initial one, and the stored address gives way to a lookup.
    void save(QSettings& settings) const;
    void load(QSettings& settings);

    // Clears the address and looks the host up; blocks, if there is no answer of the last seconds.
    void updateIpAddress();

    // The German text of the status column.
    QString stateText() const;
    // The reported name, or "host:port" while there is none. The program itself does not ask for it.
    QString displayName() const;

    // Takes one text that the unit has published: JSON in UTF-8. Never throws on bad input; what cannot be
    // read makes the unit incompatible.
    void processQorMessage(const QByteArray& json);
    // Follows the state of the link.
    void updateConnectState();
    void setIncompatible(bool on);
    void setWarnings(const QJsonArray& newWarnings);
    // Numbers as the unit writes them, dates as "dd. MMM yyyy" in English.
    void updateVersionInfo(const QString& localNo, const QString& localDate, const QString& remoteNo,
                           const QString& remoteDate);
    // Sets the alert flag by the unit's condition, or as the caller says.
    void updateAlert();
    void setAlert(bool on);

    // The current monitor messages: link state, incompatibility, newer software, then the unit's warnings;
    // objects with the strings "qorName" (not in warnings), "date", "time", "displaytext" and "class".
    QJsonArray messages() const;
    // Another number after each change of the messages; no two units have the same.
    quint64 revision() const { return m_revision; }

    // Tells the user of newer unit software in a message box, if there is any. The program itself does not
    // call it: its message list shows the same.
    void showVersionHint();

signals:
    void hostChanged();
    void zmqPortChanged();
    void webPortChanged();
    void webSchemeChanged();
    void qorNameChanged();
    void ipAddressChanged();
    void monitoredChanged();
    void versionDataChanged();
    void deviceStateChanged();

private:
    template <typename Value> bool store(Value& member, const Value& value, void (Device::*changed)());
    bool isNewWarning(const QJsonObject& warning) const;
    void announceState();

    DeviceList* m_list;
    QString m_host;
    int m_zmqPort = 5566;
    int m_webPort = 80;
    QString m_webScheme = QStringLiteral("http");
    QString m_qorName;
    QString m_ipAddress;
    bool m_monitored = false;
    QSharedPointer<QorInterface> m_link;
    QString m_localVersionNo;
    QString m_localVersionDate;
    QString m_remoteVersionNo;
    QString m_remoteVersionDate;
    bool m_incompatible = false;
    QJsonArray m_warnings;
    QJsonObject m_connectionMessage;
    QJsonObject m_incompatibleMessage;
    QJsonObject m_versionMessage;
    QDateTime m_alertTime;
    bool m_alert = false;
    quint64 m_revision = 0;
};
