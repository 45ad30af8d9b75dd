#pragma once

// What the benchmarks share: one monotonic clock for every process, percentiles, the table row
// every figure is printed as, and waits that let the event loop sleep.

#include <QCoreApplication>
#include <QString>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

namespace Bench {

using namespace std::chrono_literals;

/// Nanoseconds of CLOCK_MONOTONIC, which every process on the machine shares.
inline qint64 nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
inline double msBetween(qint64 fromNs, qint64 toNs)
{
    return double(toNs - fromNs) / 1e6;
}

/// The nearest-rank percentile: p99 of 100 values is the 99th smallest, of 50 the largest.
inline double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const auto rank = size_t(std::ceil(p * double(values.size())));
    return values[std::clamp<size_t>(rank, 1, values.size()) - 1];
}
inline double median(const std::vector<double> &values)
{
    return percentile(values, 0.5);
}
inline QString ms(double value)
{
    return QString::number(value, 'f', value < 10 ? 2 : 1) + QStringLiteral(" ms");
}
/// "p50 1.20 ms, p99 3.40 ms"
inline QString spread(const std::vector<double> &values)
{
    return QStringLiteral("p50 ") + ms(percentile(values, 0.5)) + QStringLiteral(", p99 ")
        + ms(percentile(values, 0.99));
}

/// One row of the table scripts/bench prints: | figure | measured | goal | anchor |
inline void printRow(const QString &figure, const QString &measured, const QString &goal,
                     const QString &anchor)
{
    std::printf("| %s | %s | %s | %s |\n", qPrintable(figure), qPrintable(measured),
                qPrintable(goal), qPrintable(anchor));
    std::fflush(stdout);
}

/// Lets the event loop sleep until `done` holds (checked after each batch of events, and every
/// 5 ms for what other threads set), or until `timeout`; false on time-out.
inline bool waitUntil(const std::function<bool()> &done, std::chrono::milliseconds timeout = 10s)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    QTimer wake;
    wake.start(5);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace Bench
