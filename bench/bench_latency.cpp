// SPDX-License-Identifier: MIT
// From the publishing of a report over loopback to the text of its row, with 1 and with 50 units.
#include "benchstore.h"
#include "devices/device.h"
#include "devices/devicelist.h"
#include "link/qorinterface.h"
#include "mainwindow/mainwinqormonitor.h"
#include "statistics.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTreeWidget>

#include <zmq.hpp>

#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int reports = 200;
constexpr int deadlineMs = 10000;

class Unit {
public:
    explicit Unit(zmq::context_t& context)
        : m_socket(context, zmq::socket_type::pub)
    {
        m_socket.set(zmq::sockopt::linger, 0);
        m_socket.bind("tcp://127.0.0.1:*");
        const std::string endpoint = m_socket.get(zmq::sockopt::last_endpoint);
        m_port = std::stoi(endpoint.substr(endpoint.rfind(':') + 1));
    }

    int port() const { return m_port; }

    void report(const QString& text)
    {
        const QByteArray json
            = QStringLiteral(R"({"host":"Halle","cmd":"StatusReport","value":{"warnings":[)"
                             R"({"date":"2026-03-05","time":"12:00:00","displaytext":"%1"}]}})")
                  .arg(text)
                  .toUtf8();
        m_socket.send(zmq::buffer(json.constData(), static_cast<size_t>(json.size())), zmq::send_flags::none);
    }

private:
    zmq::socket_t m_socket;
    int m_port = 0;
};

bool shows(const QTreeWidget* tree, const QString& text)
{
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        if (tree->topLevelItem(i)->text(2) == text)
            return true;
    }
    return false;
}

// Handles events until the condition holds; false after the deadline.
template <typename Condition> bool waitFor(Condition condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > deadlineMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, deadlineMs);
    }
    return true;
}

bool connectAll(const DeviceList* list, std::vector<std::unique_ptr<Unit>>& units)
{
    QElapsedTimer timer;
    timer.start();
    const auto connected
        = [list](int i) { return list->at(i)->qorInterface()->state() == QorInterface::Connected; };
    for (int i = 0; i < list->count(); ++i) {
        while (!connected(i)) {
            if (timer.elapsed() > deadlineMs)
                return false;
            units.at(static_cast<size_t>(i))->report(QStringLiteral("Anfang"));
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
    }
    return true;
}

bool measure(int count)
{
    zmq::context_t context;
    std::vector<std::unique_ptr<Unit>> units;
    MainWinQorMonitor window;
    window.show();
    const auto* tree = window.centralWidget()->findChild<QTreeWidget*>(QStringLiteral("treeWidget"));
    for (int i = 0; i < count; ++i) {
        units.push_back(std::make_unique<Unit>(context));
        window.deviceList()
            ->addDevice(QStringLiteral("127.0.0.1"), units.back()->port(), 80, QStringLiteral("http"))
            ->setMonitored(true);
    }
    if (!connectAll(window.deviceList(), units))
        return false;
    QVector<double> milliseconds;
    for (int i = 0; i < reports; ++i) {
        const QString text = QStringLiteral("Meldung %1").arg(i);
        QElapsedTimer timer;
        timer.start();
        units.at(static_cast<size_t>(i % count))->report(text);
        if (!waitFor([&] { return shows(tree, text); }))
            return false;
        milliseconds.append(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::printf("publish to row text, %d unit(s): median %.2f ms, 95 %% %.2f ms\n", count,
                quantile(milliseconds, 0.5), quantile(milliseconds, 0.95));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const BenchStore store;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    for (const int count : { 1, 50 }) {
        if (!measure(count)) {
            std::fprintf(stderr, "bench_latency: gave up waiting with %d unit(s)\n", count);
            return 1;
        }
    }
    return 0;
}
