// SPDX-License-Identifier: MIT
#include "subscriber.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStringList>

Subscriber::Subscriber(int port)
    : m_socket(m_context, zmq::socket_type::sub)
{
    m_socket.set(zmq::sockopt::linger, 0);
    // A restarted unit is found again soon.
    m_socket.set(zmq::sockopt::reconnect_ivl, 20);
    m_socket.set(zmq::sockopt::subscribe, "");
    m_socket.connect("tcp://127.0.0.1:" + std::to_string(port));
}

QVector<QByteArray> Subscriber::receive(int timeoutMs)
{
    m_socket.set(zmq::sockopt::rcvtimeo, qMax(0, timeoutMs));
    QVector<QByteArray> frames;
    zmq::message_t message;
    do {
        if (!m_socket.recv(message))
            return {};
        frames.append(QByteArray(static_cast<const char*>(message.data()), static_cast<int>(message.size())));
    } while (message.more());
    return frames;
}

QByteArray Subscriber::waitFor(const std::function<bool(const QByteArray&)>& wanted, int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < timeoutMs) {
        const QVector<QByteArray> frames = receive(timeoutMs - static_cast<int>(clock.elapsed()));
        if (frames.size() == 1 && wanted(frames.first()))
            return frames.first();
    }
    return {};
}

QJsonObject Subscriber::waitForReport(const QString& cmd,
                                      const std::function<bool(const QJsonObject&)>& wanted, int timeoutMs)
{
    const QByteArray report = waitFor(
        [&](const QByteArray& text) {
            const QJsonObject object = QJsonDocument::fromJson(text).object();
            return object.value(QLatin1String("cmd")).toString() == cmd && wanted(object);
        },
        timeoutMs);
    return QJsonDocument::fromJson(report).object();
}

QStringList warningTexts(const QJsonObject& report)
{
    QStringList texts;
    const QJsonObject value = report.value(QLatin1String("value")).toObject();
    for (const QJsonValue& warning : value.value(QLatin1String("warnings")).toArray())
        texts.append(warning.toObject().value(QLatin1String("displaytext")).toString());
    return texts;
}
