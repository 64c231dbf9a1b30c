// SPDX-License-Identifier: MIT
#pragma once

#include "link/hostlookup.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QString>
#include <QThread>
#include <QTimer>

#include <zmq.hpp>

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <string>

class Device;

// The link to one unit: a ZeroMQ subscriber with a receive thread of its own, and a connection state that
// is judged by how recently the unit has spoken. Owned by its Device.
//
// The object lives on the GUI thread, which calls every operation and runs every handler; only run() is
// executed on the link thread. A stop is cooperative: flag, grace time, join, and only then does the GUI
// thread touch the socket.
//
// A unit that lost its power has not said good-bye, and ZeroMQ gives up an endpoint where something else has
// answered. So a link that has heard nothing for the patience, 30 s, begins anew on a fresh socket, and
// again after each further 30 s. Meanwhile it looks the unit's name up and follows it to another address, or
// connects when there had been none. Only a link that had no connection changes its state by that.
class QorInterface : public QThread {
    Q_OBJECT

public:
    enum State {
        Disconnected = 0,
        Pending = 1,
        Connected = 2,
    };
    Q_ENUM(State)

    // In bytes. A longer one is dropped whole.
    static constexpr int maxTextSize = 4999;

    // Throws zmq::error_t when the ZeroMQ context or socket cannot be created. When the system has not enough
    // open files left for them, they are made by the first connect that finds enough.
    QorInterface();
    // Disconnects and joins the thread; errors are swallowed.
    ~QorInterface() override;
    Q_DISABLE_COPY_MOVE(QorInterface)

    // Called once by the owner, which must outlive this object.
    void setDevice(Device* device);

    // Connects to the device's host and port if the device is monitored, else disconnects.
    // Throws zmq::error_t.
    void updateConnection();

    // Resolves the host (blocking) and subscribes to everything that it publishes on the TCP port. A link
    // in use is disconnected first. False when the host has no address, when the system has no open files
    // left, or when a listener has connected or disconnected the link meanwhile: the call of the listener
    // wins. Throws zmq::error_t when the old endpoint cannot be left, when no socket can be created, or when
    // the new endpoint is refused. The link is then Disconnected.
    bool connectQor(const QString& host, int port);

    // Stops the thread, waits for it and leaves the endpoint; nothing for an idle link. Takes at least
    // 100 ms. Throws zmq::error_t when the endpoint cannot be left, after which the link is Disconnected
    // and usable again.
    void disconnectQor();

    // Stops the loop and returns at once. The disconnectQor() that must follow waits only for the rest of the
    // 100 ms, so that many links that end together take this time once.
    void announceStop();

    // For tests. Must be called before the unit is monitored.
    void setPatience(std::chrono::milliseconds patience) { m_patience = patience; }

    void setHost(const QString& strHost);
    void setIpAddress(const QString& strIpAddress);

    State state() const { return m_state; }
    // The German text of the current state.
    QString stateText() const;
    QString host() const { return m_host; }
    int port() const { return m_port; }
    QString ipAddress() const { return m_ipAddress; }

signals:
    // One received text: raw bytes up to the first zero byte. Emitted on the GUI thread.
    void receiveQorMessage(QByteArray json);
    void connectStateChanged();
    void hostChanged(QString strHost);
    void portChanged();
    void ipAddressChanged(QString strIpAddress);

    // The system has no open files left for this link.
    void openFilesExhausted();

    // A text of this many bytes was dropped. The program does not listen to it, unit-probe does. Emitted on
    // the link thread.
    void textTooLong(qint64 size);

    // Carries a text from the link thread to the GUI thread.
    void textReceived(QByteArray json, QPrivateSignal);

protected:
    void run() override;

private:
    template <typename... Step> bool takeSteps(Step... step);
    bool leave();
    void disconnectSwallowingErrors(const char* caller);
    bool openContext();
    std::string endpointAt(const QString& ipAddress) const;
    void stopLoop();
    void beginSession();
    void endSession();
    std::optional<zmq::error_t> leaveEndpoint();
    void beginAnew();
    void setPort(int port);
    void changeState(State state);
    void receiveUntilStopped();

    void deliver(const QByteArray& json);
    void processLoopFailed();
    void processMessageArrived();
    void processSilence();
    void keepWatch();
    void processAddressFound(const QString& ipAddress);

    Device* m_device = nullptr;
    QTimer m_silenceTimer;
    QString m_host;
    QString m_ipAddress;
    int m_port = 5566;
    // Counts the calls that connect or disconnect.
    quint64 m_calls = 0;
    std::atomic<State> m_state { Disconnected };
    const QString m_protocol = QStringLiteral("tcp");
    // Belongs to the link thread while that runs, like the socket.
    std::string m_endpoint;
    // Where the unit is now, for the link thread to follow.
    std::mutex m_movedMutex;
    std::optional<std::string> m_movedTo;
    std::atomic<bool> m_hasMoved { false };
    std::atomic<bool> m_stopRequested { true };
    // Texts that have been received but not yet handled by the GUI thread.
    std::atomic<int> m_textsUnderWay { 0 };
    // Receives what the loop sends to the GUI thread, from connect to disconnect; null for an idle link. A
    // silent unit's link is Disconnected and yet not idle.
    QObject* m_session = nullptr;
    // The end of the grace that announceStop() has begun.
    std::optional<QDeadlineTimer> m_grace;
    std::chrono::milliseconds m_patience { 30000 };
    // Runs while the unit is monitored.
    QTimer m_watchTimer;
    // Since the last text, or else since the link or this watch did something about it.
    QElapsedTimer m_quiet;
    std::optional<std::shared_future<HostAnswer>> m_lookup;
    std::optional<zmq::context_t> m_context;
    zmq::socket_t m_socket;
};
