// SPDX-License-Identifier: MIT
// Processor time of idle links, held against bare loops with the same 1 ms poll, measured by turns.
#include "link/qorinterface.h"
#include "statistics.h"
#include "support/publisher.h"
#include "support/units.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <array>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <thread>
#include <vector>

namespace {

constexpr int links = 10;
constexpr int rounds = 5;
constexpr std::chrono::seconds roundLength(2);

// Microseconds of processor time for each link and second, spent by the whole process during one round.
double measureRound()
{
    const std::clock_t before = std::clock();
    QElapsedTimer timer;
    timer.start();
    std::this_thread::sleep_for(roundLength);
    const double processor = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    return processor * 1e6 / (static_cast<double>(timer.elapsed()) / 1e3) / links;
}

void bareLoop(int port, const std::atomic<bool>& stop)
{
    zmq::context_t context;
    zmq::socket_t socket(context, zmq::socket_type::sub);
    socket.set(zmq::sockopt::subscribe, "");
    socket.connect("tcp://127.0.0.1:" + std::to_string(port));
    zmq::message_t message;
    while (!stop) {
        (void)socket.recv(message, zmq::recv_flags::dontwait);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

double measureBareLoops(int port)
{
    std::atomic<bool> stop { false };
    std::vector<std::thread> threads;
    threads.reserve(links);
    for (int i = 0; i < links; ++i)
        threads.emplace_back([port, &stop] { bareLoop(port, stop); });
    const double result = measureRound();
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    return result;
}

double measureLinks(int port)
{
    std::array<QorInterface, links> all;
    for (QorInterface& link : all)
        link.connectQor(loopback, port);
    return measureRound();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Publisher publisher;
    QVector<double> ours;
    QVector<double> bare;
    for (int i = 0; i < rounds; ++i) {
        bare.append(measureBareLoops(publisher.port()));
        ours.append(measureLinks(publisher.port()));
    }
    std::printf("idle processor time for one link: %.0f us/s, bare loop %.0f us/s, ratio %.2f\n",
                quantile(ours, 0.5), quantile(bare, 0.5), quantile(ours, 0.5) / quantile(bare, 0.5));
    return 0;
}
