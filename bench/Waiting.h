#pragma once

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace bench
{

/** Runs an event loop until the probe says true. @return false when that takes longer than the limit */
template <typename Probe>
bool waitFor(Probe &&probe, int limitMs)
{
    constexpr int kPollIntervalMs = 4;
    QElapsedTimer patience;
    patience.start();
    bool found = false;
    QEventLoop loop;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        found = probe();
        if (found || patience.elapsed() > limitMs)
            loop.quit();
    });
    timer.start(kPollIntervalMs);
    loop.exec();
    return found;
}

} // namespace bench
