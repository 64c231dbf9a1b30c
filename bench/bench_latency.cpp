// SPDX-License-Identifier: MIT
// From the publishing of a report over loopback to the text of its row, with 1, 10, 50 and 200 units.
#include "link/openfiles.h"
#include "statistics.h"
#include "support/publisher.h"
#include "support/teststore.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QSignalSpy>

#include <cstdio>
#include <deque>

namespace {

constexpr int reports = 500;
constexpr int deadlineMs = 10000;

bool measure(int count)
{
    std::deque<Publisher> publishers(static_cast<size_t>(count));
    MainWinQorMonitor window;
    window.show();
    QSignalSpy changes(window.deviceList(), &DeviceList::deviceStatesChanged);
    const auto waitForRows = [&](const QString& text, int rows) {
        while (messageList(window)->findItems(text, Qt::MatchExactly, 2).size() < rows) {
            if (!changes.wait(deadlineMs))
                return false;
        }
        return true;
    };
    const auto first = statusReport("Halle"_s, { warning("Anfang"_s) });
    for (Publisher& publisher : publishers) {
        addMonitoredUnit(*window.deviceList(), publisher.port());
        if (!publisher.waitForSubscriber(deadlineMs))
            return false;
        publisher.send(first);
    }
    if (!waitForRows("Anfang"_s, count))
        return false;
    QVector<double> milliseconds;
    for (int i = 0; i < reports; ++i) {
        const QString text = "Meldung %1"_s.arg(i);
        const QByteArray report = statusReport("Halle"_s, { warning(text) });
        QElapsedTimer timer;
        timer.start();
        publishers.at(static_cast<size_t>(i % count)).send(report);
        if (!waitForRows(text, 1))
            return false;
        milliseconds.append(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::printf("publish to row text, %d unit(s): median %.2f ms, 99 %% %.2f ms\n", count,
                quantile(milliseconds, 0.5), quantile(milliseconds, 0.99));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    raiseOpenFileLimit();
    const QApplication application(argc, argv);
    const TestStore store;
    QSettings().setValue("UseAudio"_s, false);
    for (const int count : { 1, 10, 50, 200 }) {
        if (!measure(count)) {
            std::fprintf(stderr, "bench_latency: gave up waiting with %d unit(s)\n", count);
            return 1;
        }
    }
    return 0;
}
