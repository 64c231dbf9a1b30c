// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QThread>
#include <QTimer>

#include <zmq.hpp>

#include <atomic>
#include <optional>

class Device;

// The link to one unit: a ZeroMQ subscriber with a receive thread of its own, and a connection state that
// is judged by how recently the unit has spoken. Owned by its Device.
//
// The object lives on the GUI thread, which calls every operation and runs every handler; only run() is
// executed on the link thread. A stop is cooperative: flag, grace time, join, and only then does the GUI
// thread touch the socket.
class QorInterface : public QThread {
    Q_OBJECT

public:
    enum State {
        Disconnected = 0,
        Pending = 1,
        Connected = 2,
    };
    Q_ENUM(State)

    // Throws zmq::error_t when the ZeroMQ context or socket cannot be created.
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
    // in use is disconnected first. False when the host has no address, or when a listener has connected or
    // disconnected the link meanwhile: the call of the listener wins. Throws zmq::error_t when the old
    // endpoint cannot be left, when no socket can be created, or when the new endpoint is refused. The link
    // is then Disconnected.
    bool connectQor(const QString& host, int port);

    // Stops the thread, waits for it and leaves the endpoint; nothing for an idle link. Takes at least
    // 100 ms. Throws zmq::error_t when the endpoint cannot be left, after which the link is Disconnected
    // and usable again.
    void disconnectQor();

    void setHost(const QString& strHost);
    void setIpAddress(const QString& strIpAddress);

    State state() const { return m_state; }
    // The German text of the current state.
    QString stateText() const;
    QString host() const { return m_host; }
    int port() const { return m_port; }
    QString ipAddress() const { return m_ipAddress; }

signals:
    // One received text: raw bytes up to the first zero byte. A text of more than 4999 bytes is dropped
    // whole. Emitted on the GUI thread.
    void receiveQorMessage(QByteArray json);
    void connectStateChanged();
    void hostChanged(QString strHost);
    void portChanged();
    void ipAddressChanged(QString strIpAddress);

    // Carries a text from the link thread to the GUI thread.
    void textReceived(QByteArray json, QPrivateSignal);

protected:
    void run() override;

private:
    template <typename... Step> bool takeSteps(Step... step);
    bool leave();
    void disconnectSwallowingErrors(const char* caller);
    void stopLoop();
    void beginSession();
    void endSession();
    std::optional<zmq::error_t> leaveEndpoint();
    void setPort(int port);
    void changeState(State state);
    void receiveUntilStopped();

    void deliver(const QByteArray& json);
    void processLoopFailed();
    void processMessageArrived();
    void processSilence();

    Device* m_device = nullptr;
    QTimer m_silenceTimer;
    QString m_host;
    QString m_ipAddress;
    int m_port = 5566;
    // Counts the calls that connect or disconnect.
    quint64 m_calls = 0;
    std::atomic<State> m_state { Disconnected };
    const QString m_protocol = QStringLiteral("tcp");
    QString m_endpoint;
    std::atomic<bool> m_stopRequested { true };
    // Texts that have been received but not yet handled by the GUI thread.
    std::atomic<int> m_textsUnderWay { 0 };
    // Receives what the loop sends to the GUI thread, from connect to disconnect; null for an idle link. A
    // silent unit's link is Disconnected and yet not idle.
    QObject* m_session = nullptr;
    zmq::context_t m_context;
    zmq::socket_t m_socket;
};
