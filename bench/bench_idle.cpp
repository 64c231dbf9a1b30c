// SPDX-License-Identifier: MIT
// Processor time of idle links, held against bare loops with the same 1 ms poll, measured by turns.
#include "link/qorinterface.h"
#include "statistics.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <zmq.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <thread>
#include <vector>

namespace {

constexpr int links = 10;
constexpr int rounds = 5;
constexpr int roundMs = 2000;

double processSeconds()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Microseconds of processor time for each link and second, spent by the whole process during one round.
double measureRound()
{
    const double before = processSeconds();
    QElapsedTimer timer;
    timer.start();
    std::this_thread::sleep_for(std::chrono::milliseconds(roundMs));
    const double seconds = static_cast<double>(timer.elapsed()) / 1e3;
    return (processSeconds() - before) * 1e6 / seconds / links;
}

void bareLoop(int port, const std::atomic<bool>& stop)
{
    void* context = zmq_ctx_new();
    void* socket = zmq_socket(context, ZMQ_SUB);
    zmq_setsockopt(socket, ZMQ_SUBSCRIBE, "", 0);
    char endpoint[64];
    std::snprintf(endpoint, sizeof endpoint, "tcp://127.0.0.1:%d", port);
    zmq_connect(socket, endpoint);
    zmq_msg_t message;
    zmq_msg_init_size(&message, 5000);
    while (!stop) {
        zmq_msg_recv(&message, socket, ZMQ_DONTWAIT);
        const timespec pause { 0, 1000000 };
        nanosleep(&pause, nullptr);
    }
    zmq_msg_close(&message);
    zmq_close(socket);
    zmq_ctx_destroy(context);
}

double measureBareLoops(int port)
{
    std::atomic<bool> stop { false };
    std::vector<std::thread> threads;
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
        link.connectQor(QStringLiteral("127.0.0.1"), port);
    return measureRound();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    void* context = zmq_ctx_new();
    void* publisher = zmq_socket(context, ZMQ_PUB);
    zmq_bind(publisher, "tcp://127.0.0.1:*");
    char endpoint[64];
    size_t size = sizeof endpoint;
    zmq_getsockopt(publisher, ZMQ_LAST_ENDPOINT, endpoint, &size);
    const int port = QByteArray(endpoint).split(':').last().toInt();

    QVector<double> ours;
    QVector<double> bare;
    for (int i = 0; i < rounds; ++i) {
        bare.append(measureBareLoops(port));
        ours.append(measureLinks(port));
    }
    zmq_close(publisher);
    zmq_ctx_destroy(context);
    std::printf("idle processor time for one link: %.0f us/s, bare loop %.0f us/s, ratio %.2f\n",
                quantile(ours, 0.5), quantile(bare, 0.5), quantile(ours, 0.5) / quantile(bare, 0.5));
    return 0;
}
