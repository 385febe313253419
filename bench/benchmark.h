// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QString>
#include <algorithm>
#include <limits>

// What the benchmarks share: figures, goals, and standard output that is out of the way.
class Benchmark
{
public:
    // Sends the program's traces to the null device; figures still reach the real standard output.
    Benchmark();
    ~Benchmark();
    Benchmark(const Benchmark&) = delete;
    Benchmark& operator=(const Benchmark&) = delete;

    void figure(const QString& name, double value, const QString& unit);

    // A figure that has to be at least, or at most, what the bound says.
    void atLeast(const QString& name, double value, double bound, const QString& unit);
    void atMost(const QString& name, double value, double bound, const QString& unit);

    int exitCode() const { return missed ? 1 : 0; }

private:
    void goal(
        const QString& name, double value, bool met, const QString& bound, const QString& unit);
    void print(const QString& line);

    int output; // a descriptor of the real standard output
    bool missed = false;
};

// Seconds that the fastest of five runs took: what disturbs a run only ever makes it slower.
template <typename Work>
double fastest(Work work)
{
    constexpr int runs = 5;
    qint64 best = std::numeric_limits<qint64>::max();
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        work();
        best = std::min(best, timer.nsecsElapsed());
    }
    return static_cast<double>(best) / 1e9;
}

// Memory of this process that is in RAM, in KiB.
qint64 residentSize();
