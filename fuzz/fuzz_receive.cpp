// SPDX-License-Identifier: MIT
// What a peer says to a link: whole frames, parts of frames, and a close at any point. The input is the
// peer's script. Whatever it says, the next peer at the same port is heard.
#include "devices/device.h"
#include "devices/devicelist.h"
#include "fuzztarget.h"
#include "link/qorinterface.h"
#include "support/zmtp.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <chrono>
#include <functional>
#include <utility>

namespace {
constexpr int allowedMs = 20000;
const QByteArray good = zmtp::greeting("NULL") + zmtp::readyAs("PUB");

// Reads a script from its begin; behind its end there are zeros only.
class Script {
public:
    explicit Script(QByteArray text)
        : m_rest(std::move(text))
    {
    }

    bool atEnd() const { return m_rest.isEmpty(); }
    unsigned number() { return static_cast<unsigned char>(bytes(1).append('\0').front()); }
    QByteArray bytes(unsigned count)
    {
        QByteArray taken = m_rest.left(static_cast<int>(count));
        m_rest.remove(0, taken.size());
        return taken;
    }
    QByteArray longBytes()
    {
        const unsigned size = 256 * number();
        return bytes(size + number());
    }

private:
    QByteArray m_rest;
};

// A port where every connection begins with a greeting, unless the script has its own.
class Peer : public QTcpServer {
public:
    Peer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            m_link = nextPendingConnection();
            connect(m_link, &QTcpSocket::disconnected, m_link, &QObject::deleteLater);
            m_heard = 0;
            connect(m_link, &QTcpSocket::readyRead, m_link, [this, link = m_link.data()] {
                const int count = link->readAll().size();
                if (link == m_link)
                    m_heard += count;
            });
            if (!m_greeting.isEmpty())
                say(m_greeting);
            ++m_connections;
        });
    }

    void greetWith(const QByteArray& greeting) { m_greeting = greeting; }
    int connections() const { return m_connections; }
    bool isConnected() const { return m_link && m_link->state() == QAbstractSocket::ConnectedState; }
    // Whether the link has answered the greeting. Before, no peer may send a message.
    bool isGreeted() const { return isConnected() && m_heard >= good.size(); }
    void say(const QByteArray& bytes)
    {
        if (!isConnected())
            return;
        m_link->write(bytes);
        m_link->flush();
    }
    void leave()
    {
        if (m_link)
            m_link->abort();
    }

private:
    QByteArray m_greeting;
    QPointer<QTcpSocket> m_link;
    int m_connections = 0;
    int m_heard = 0;
};

void await(const std::function<bool()>& comesTrue)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!comesTrue()) {
        require(elapsed.elapsed() < allowedMs);
        // The link's watch brings an event at the latest.
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

// Says what the script says. True when the connection could still carry another text.
bool play(Script& script, Peer& peer)
{
    bool isWhole = true;
    while (!script.atEnd()) {
        switch (script.number() % 8) {
        case 0:
            peer.say(script.longBytes());
            isWhole = false;
            break;
        case 1:
            peer.say(zmtp::frame(script.longBytes(), zmtp::more));
            isWhole = false;
            break;
        case 2:
            peer.say(zmtp::frame(script.longBytes(), zmtp::command));
            isWhole = false;
            break;
        case 3:
            peer.leave();
            isWhole = false;
            break;
        case 4: {
            // About as long as a text may be, and longer.
            const unsigned size = 4990 + script.number();
            peer.say(zmtp::frame(script.bytes(1).repeated(static_cast<int>(size))));
            break;
        }
        case 5:
            // Time to be read up to here.
            QThread::msleep(script.number() % 4);
            QCoreApplication::processEvents();
            break;
        default:
            peer.say(zmtp::frame(script.longBytes()));
        }
    }
    return isWhole;
}
} // namespace

void tryInput(const QByteArray& input)
{
    static auto& peer = *new Peer;
    static auto& list = *new DeviceList(nullptr);
    static Device* const device = [] {
        peer.greetWith(good);
        Device* unit
            = list.addDevice(QStringLiteral("127.0.0.1"), peer.serverPort(), 80, QStringLiteral("http"));
        unit->qorInterface()->setPatience(std::chrono::milliseconds(200));
        unit->setMonitored(true);
        return unit;
    }();
    static unsigned count = 0;

    Script script(input);
    if (const unsigned kind = script.number(); kind % 8 == 0) {
        // This connection's greeting is the script's own.
        peer.greetWith(kind % 16 == 0 ? QByteArray() : zmtp::greeting("NULL"));
        peer.leave();
        const int before = peer.connections();
        await([&] { return peer.connections() > before; });
        play(script, peer);
        peer.leave();
    } else if (await([] { return peer.isGreeted(); }); !play(script, peer)) {
        peer.leave();
    }
    peer.greetWith(good);

    const QString name = QString::number(++count);
    const QByteArray report
        = "{\"host\":\"" + name.toLatin1() + "\",\"cmd\":\"StatusReport\",\"value\":{\"warnings\":[]}}";
    int connections = -1;
    await([&] {
        // Once in each connection, for the link may leave one on which something wrong was said.
        if (peer.isGreeted() && connections != peer.connections()) {
            connections = peer.connections();
            peer.say(zmtp::frame(report));
        }
        return device->qorName() == name;
    });
}
