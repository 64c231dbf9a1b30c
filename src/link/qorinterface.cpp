// SPDX-License-Identifier: MIT
#include "link/qorinterface.h"

#include "devices/device.h"
#include "link/openfiles.h"

#include <QCoreApplication>
#include <QDebug>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace {
constexpr int silenceIntervalMs = 5000;
constexpr int stopGraceMs = 100;
constexpr unsigned long pollIntervalMs = 1;
constexpr size_t receiveBufferSize = QorInterface::maxTextSize + 1;
constexpr int maxTextsUnderWay = 32;
constexpr int ioThreads = 1;
constexpr int maxSockets = 1023;
constexpr int watchIntervalMs = 1000;
// What context and socket take before they connect, and what the rest of the program may need then.
constexpr int filesOfAContext = 6;
constexpr int filesInReserve = 64;

void subscribe(zmq::socket_t& socket, const std::string& endpoint)
{
    socket.set(zmq::sockopt::subscribe, "");
    socket.connect(endpoint);
}
} // namespace

QorInterface::QorInterface()
{
    openContext();
}

QorInterface::~QorInterface()
{
    disconnectSwallowingErrors("QorInterface::~QorInterface():");
    // A listener may have connected the link again during the first call. With blocked signals no listener
    // can do so during the second.
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
    connect(&m_watchTimer, &QTimer::timeout, this, [this] { keepWatch(); });
    updateConnection();
}

void QorInterface::updateConnection()
{
    m_lookup.reset();
    if (!m_device->monitored()) {
        m_watchTimer.stop();
        disconnectQor();
        return;
    }
    m_quiet.start();
    m_watchTimer.start(std::min(watchIntervalMs, static_cast<int>(m_patience.count() / 4)));
    connectQor(m_device->host(), m_device->zmqPort());
}

// The steps of connecting and disconnecting emit signals, and a listener may call connectQor() or
// disconnectQor() from there. The inner call is carried out at once and wins. The outer call then stops: it
// must not start a second loop on the socket, nor overwrite what the inner call has set.
//
// Takes the steps in order. Returns false when an inner call has come.
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
    if (!openContext()) {
        emit openFilesExhausted();
        return false;
    }
    const std::string endpoint = endpointAt(m_ipAddress);
    subscribe(m_socket, endpoint);
    m_endpoint = endpoint;
    beginSession();
    // Cleared here and not by the thread, so that a stop requested before the loop has begun is not lost.
    m_stopRequested = false;
    start();
    return true;
}

// Makes the context and the socket, if they are not there. False when too few open files are left for it.
bool QorInterface::openContext()
{
    if (!canOpenFiles(filesInReserve + (m_socket ? 0 : filesOfAContext)))
        return false;
    if (!m_context)
        m_context.emplace(ioThreads, maxSockets);
    if (!m_socket)
        m_socket = zmq::socket_t(*m_context, zmq::socket_type::sub);
    return true;
}

// An IPv6 address goes in as it stands, without brackets.
std::string QorInterface::endpointAt(const QString& ipAddress) const
{
    return (m_protocol + QStringLiteral("://") + ipAddress + QLatin1Char(':') + QString::number(m_port))
        .toStdString();
}

void QorInterface::disconnectQor()
{
    leave();
}

bool QorInterface::leave()
{
    // An idle link has nothing to leave. The call still counts, so that a connect that is under way stops.
    if (!m_session)
        return takeSteps();
    announceStop();
    stopLoop();
    endSession();
    const std::optional<zmq::error_t> error = leaveEndpoint();
    // The state may be Disconnected already, because the unit was silent. The signal is emitted all the same:
    // listeners must learn that the link has stopped.
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

void QorInterface::announceStop()
{
    if (!m_session || m_grace)
        return;
    qDebug() << "QorInterface::disconnectQor()";
    m_silenceTimer.stop();
    m_stopRequested = true;
    m_grace.emplace(stopGraceMs, Qt::PreciseTimer);
}

void QorInterface::stopLoop()
{
    msleep(static_cast<unsigned long>(m_grace->remainingTime()));
    m_grace.reset();
    wait();
    // For the thread sanitizer: it does not see that wait() joins the thread, but it sees that this line
    // reads what run() wrote last.
    m_stopRequested.load();
}

void QorInterface::beginSession()
{
    m_session = new QObject(this);
    m_textsUnderWay = 0;
    m_movedTo.reset();
    m_hasMoved = false;
    // A queued signal instead of a posted lambda, because of the thread sanitizer: it does not see that Qt's
    // event queue separates the thread that fills a lambda from the thread that reads it. The arguments of a
    // signal are copied by Qt.
    connect(
        this, &QorInterface::textReceived, m_session, [this](const QByteArray& json) { deliver(json); },
        Qt::QueuedConnection);
    // This arrives only from a loop that has failed or whose stop was announced: disconnecting ends the
    // session before it arrives.
    connect(
        this, &QThread::finished, m_session, [this] { processLoopFailed(); }, Qt::QueuedConnection);
}

void QorInterface::endSession()
{
    // The session object lives a little longer. It must not receive the texts of the next address.
    disconnect(this, nullptr, m_session, nullptr);
    // Texts that are still queued must not count for an idle link, nor for its next address.
    QCoreApplication::removePostedEvents(m_session);
    // Deleted later, because one of its own handlers may be running.
    m_session->deleteLater();
    m_session = nullptr;
}

std::optional<zmq::error_t> QorInterface::leaveEndpoint()
{
    std::optional<zmq::error_t> error;
    try {
        m_socket.disconnect(m_endpoint);
    } catch (const zmq::error_t& refused) {
        error = refused;
    }
    // The next connect creates a new socket. ZeroMQ closes a connection only while its socket is in use, so
    // without this the unit would go on sending to a stopped link. And a socket that is connected again
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
    // After a failure the GUI thread disconnects the link.
    m_stopRequested = true;
}

void QorInterface::receiveUntilStopped()
{
    std::array<char, receiveBufferSize> receiveBuffer {};
    zmq::message_t message(receiveBufferSize);
    QDeadlineTimer patience(m_patience);
    while (!m_stopRequested) {
        // Only a few texts may wait for a slow GUI thread. The others stay in the socket, whose queue is
        // limited.
        const bool mustWait = m_textsUnderWay >= maxTextsUnderWay;
        if (!mustWait && m_socket.recv(message, zmq::recv_flags::dontwait)) {
            patience.setRemainingTime(m_patience);
            // A longer text is dropped whole, without a log line.
            if (const size_t size = message.size(); size < receiveBuffer.size()) {
                std::memcpy(receiveBuffer.data(), message.data(), size);
                receiveBuffer.at(size) = '\0';
                ++m_textsUnderWay;
                emit textReceived(QByteArray(receiveBuffer.data()), QPrivateSignal());
            } else {
                emit textTooLong(static_cast<qint64>(size));
            }
        }
        if (!mustWait && (patience.hasExpired() || m_hasMoved)) {
            beginAnew();
            patience.setRemainingTime(m_patience);
        }
        msleep(pollIntervalMs);
    }
}

// On the link thread: goes on with a new socket and connection, and says nothing about it.
void QorInterface::beginAnew()
{
    m_hasMoved = false;
    std::string endpoint = m_endpoint;
    if (const std::lock_guard lock(m_movedMutex); m_movedTo)
        endpoint = *m_movedTo;
    if (!canOpenFiles(filesInReserve))
        return;
    try {
        zmq::socket_t fresh(*m_context, zmq::socket_type::sub);
        subscribe(fresh, endpoint);
        m_socket = std::move(fresh);
        m_endpoint = endpoint;
    } catch (const zmq::error_t&) {
        // The old one stays until the next attempt.
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
    m_quiet.start();
    changeState(Connected);
}

void QorInterface::processSilence()
{
    changeState(Disconnected);
}

void QorInterface::keepWatch()
{
    if (m_lookup) {
        if (m_lookup->wait_for(std::chrono::seconds::zero()) == std::future_status::ready)
            processAddressFound(std::exchange(m_lookup, std::nullopt)->get().address);
        return;
    }
    if (m_quiet.hasExpired(m_patience.count())) {
        m_quiet.start();
        m_lookup = beginLookUp(m_device->host());
    }
}

void QorInterface::processAddressFound(const QString& ipAddress)
{
    if (ipAddress.isEmpty() || state() == Connected)
        return;
    if (!m_session) {
        try {
            // Neither of them waits: the answer that has just come serves both.
            if (ipAddress != m_device->ipAddress())
                m_device->updateIpAddress();
            updateConnection();
        } catch (const zmq::error_t& error) {
            qDebug() << "QorInterface::processAddressFound():" << error.what();
        }
    } else if (ipAddress != m_ipAddress) {
        {
            const std::lock_guard lock(m_movedMutex);
            m_movedTo = endpointAt(ipAddress);
        }
        m_hasMoved = true;
        setIpAddress(ipAddress);
    }
}
