// SPDX-License-Identifier: MIT
#include "link/qorinterface.h"

#include "devices/device.h"
#include "link/hostlookup.h"

#include <QCoreApplication>
#include <QDebug>

#include <array>
#include <cstring>

namespace {
constexpr int silenceIntervalMs = 5000;
constexpr unsigned long stopGraceMs = 100;
constexpr unsigned long pollIntervalMs = 1;
constexpr size_t receiveBufferSize = 5000;
constexpr int maxTextsUnderWay = 32;
constexpr int ioThreads = 1;
constexpr int maxSockets = 1023;
} // namespace

QorInterface::QorInterface()
    : m_context(ioThreads, maxSockets)
    , m_socket(m_context, zmq::socket_type::sub)
{
}

QorInterface::~QorInterface()
{
    disconnectSwallowingErrors("QorInterface::~QorInterface():");
    // A listener may just have connected it again. This time nobody is told.
    blockSignals(true);
    disconnectSwallowingErrors("QorInterface::~QorInterface():");
}

void QorInterface::setDevice(Device* device)
{
    m_device = device;
    m_silenceTimer.setSingleShot(true);
    m_silenceTimer.setInterval(silenceIntervalMs);
    // A coarse timer may fire five per cent early, and a unit that is still in time would be called silent.
    m_silenceTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_silenceTimer, &QTimer::timeout, this, [this] { processSilence(); });
    connect(this, &QorInterface::receiveQorMessage, this, [this] { processMessageArrived(); });
    updateConnection();
}

void QorInterface::updateConnection()
{
    if (!m_device->monitored())
        disconnectQor();
    else
        connectQor(m_device->host(), m_device->zmqPort());
}

// Connecting and disconnecting tell the listeners of each step, and a listener may connect or disconnect the
// link itself. The later call is carried out at once and wins: the one in whose midst it came takes none of
// its further steps. So it neither starts a second loop on the socket nor writes over what the later call has
// left.
//
// False when a later call has come.
template <typename... Step> bool QorInterface::takeSteps(Step... step)
{
    const quint64 call = ++m_calls;
    return ((step(), m_calls == call) && ...);
}

bool QorInterface::connectQor(const QString& host, int port)
{
    const bool isLastCall = leave()
        && takeSteps([&] { setHost(host); }, [this] { setIpAddress(QString()); },
                     [this] { setIpAddress(lookUpAddress(m_host)); }, [&] { setPort(port); });
    if (!isLastCall || m_ipAddress.isEmpty())
        return false;

    // An IPv6 address goes in as it stands, without brackets.
    const QString endpoint
        = m_protocol + QStringLiteral("://") + m_ipAddress + QLatin1Char(':') + QString::number(port);
    if (!m_socket)
        m_socket = zmq::socket_t(m_context, zmq::socket_type::sub);
    m_socket.set(zmq::sockopt::subscribe, "");
    m_socket.connect(endpoint.toStdString());
    m_endpoint = endpoint;
    beginSession();
    // Cleared here and not by the thread, so that a stop requested before the loop has begun is not lost.
    m_stopRequested = false;
    start();
    return true;
}

void QorInterface::disconnectQor()
{
    leave();
}

bool QorInterface::leave()
{
    // An idle link has no steps to take, but one that is just being connected is not to go on.
    if (!m_session)
        return takeSteps();
    qDebug() << "QorInterface::disconnectQor()";
    m_silenceTimer.stop();
    stopLoop();
    endSession();
    const std::optional<zmq::error_t> error = leaveEndpoint();
    // A silent unit is Disconnected already; the listeners are told all the same, so that they see that it
    // is no longer listened to.
    m_state = Disconnected;
    const bool isLastCall = takeSteps([this] { emit connectStateChanged(); }, [this] { setHost(QString()); },
                                      [this] { setIpAddress(QString()); });
    if (error)
        throw zmq::error_t(*error);
    return isLastCall;
}

void QorInterface::disconnectSwallowingErrors(const char* caller)
{
    try {
        disconnectQor();
    } catch (const zmq::error_t& error) {
        qDebug() << caller << error.what();
    }
}

void QorInterface::stopLoop()
{
    m_stopRequested = true;
    msleep(stopGraceMs);
    wait();
    // The thread sanitizer does not see Qt's join. It does see that this reads what run() has written last.
    m_stopRequested.load();
}

void QorInterface::beginSession()
{
    m_session = new QObject(this);
    m_textsUnderWay = 0;
    // A posted lambda would do as well, but not for the thread sanitizer: it does not see that Qt's queue
    // lies between the thread that fills the lambda and the one that reads it. What a signal carries is
    // copied by Qt.
    connect(
        this, &QorInterface::textReceived, m_session, [this](const QByteArray& json) { deliver(json); },
        Qt::QueuedConnection);
    // Heard only from a loop that has failed: disconnecting ends the session first.
    connect(
        this, &QThread::finished, m_session, [this] { processLoopFailed(); }, Qt::QueuedConnection);
}

void QorInterface::endSession()
{
    // Until it is deleted it would hear the texts of the next address, too.
    disconnect(this, nullptr, m_session, nullptr);
    // Texts still queued must not speak for an idle link, nor for its next address.
    QCoreApplication::removePostedEvents(m_session);
    // Not at once: the call may come from one of its own handlers.
    m_session->deleteLater();
    m_session = nullptr;
}

std::optional<zmq::error_t> QorInterface::leaveEndpoint()
{
    std::optional<zmq::error_t> error;
    try {
        m_socket.disconnect(m_endpoint.toStdString());
    } catch (const zmq::error_t& refused) {
        error = refused;
    }
    // The next connect takes a new socket. A connection is only taken down while its socket is in use, so
    // the unit would go on publishing to a link that has been stopped; and a socket that is connected anew
    // between two frames of one message ends the process.
    m_socket.close();
    return error;
}

void QorInterface::setHost(const QString& strHost)
{
    if (m_host == strHost)
        return;
    qCritical() << "setHost" << m_ipAddress << strHost;
    m_host = strHost;
    emit hostChanged(m_host);
}

void QorInterface::setIpAddress(const QString& strIpAddress)
{
    if (m_ipAddress == strIpAddress)
        return;
    m_ipAddress = strIpAddress;
    emit ipAddressChanged(m_ipAddress);
}

QString QorInterface::stateText() const
{
    switch (state()) {
    case Disconnected:
        return tr("Getrennt");
    case Pending:
        return tr("Warte auf Verbindung ...");
    case Connected:
        return tr("Verbunden");
    }
    return {};
}

void QorInterface::setPort(int port)
{
    if (m_port == port)
        return;
    m_port = port;
    emit portChanged();
}

void QorInterface::changeState(State state)
{
    if (m_state.exchange(state) != state)
        emit connectStateChanged();
}

void QorInterface::run()
{
    qDebug() << "QorInterface::run(): start thread loop";
    changeState(Pending);
    try {
        receiveUntilStopped();
    } catch (...) {
        qDebug() << "QorInterface::run(): caught unspecified exception";
    }
    qDebug() << "QorInterface::run(): thread closed!";
    // A loop that has failed is still to be disconnected. That is left to the GUI thread.
    m_stopRequested = true;
}

void QorInterface::receiveUntilStopped()
{
    std::array<char, receiveBufferSize> receiveBuffer {};
    zmq::message_t message(receiveBufferSize);
    while (!m_stopRequested) {
        // A GUI thread that is slower than the unit is not buried in texts: the others wait in the socket,
        // whose queue is limited.
        if (m_textsUnderWay < maxTextsUnderWay && m_socket.recv(message, zmq::recv_flags::dontwait)) {
            // A text that does not fit is dropped without a word.
            if (const size_t size = message.size(); size < receiveBuffer.size()) {
                std::memcpy(receiveBuffer.data(), message.data(), size);
                receiveBuffer.at(size) = '\0';
                ++m_textsUnderWay;
                emit textReceived(QByteArray(receiveBuffer.data()), QPrivateSignal());
            }
        }
        msleep(pollIntervalMs);
    }
}

void QorInterface::deliver(const QByteArray& json)
{
    // First, because a listener may end the session.
    --m_textsUnderWay;
    emit receiveQorMessage(json);
}

void QorInterface::processLoopFailed()
{
    disconnectSwallowingErrors("QorInterface::processLoopFailed():");
}

void QorInterface::processMessageArrived()
{
    m_silenceTimer.start();
    changeState(Connected);
}

void QorInterface::processSilence()
{
    changeState(Disconnected);
}
