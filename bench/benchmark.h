// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <algorithm>
#include <ctime>
#include <limits>

// What the benchmarks share: figures, goals, and standard output that is out of the way.
//
// Where XCU_BENCH_TABLES names a folder, comparisons and goals are also appended to tables there,
// compared.md and goals.md (see bench/run).
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

    // Beside the peers on the same file in the same run; 0 for a peer that is not installed, or did
    // not run. Of a unit that ends in "/s" more is better, of all others less. Ours has to be so
    // many times as good as the better peer; 0 has failed.
    void compare(
        const QString& name, const QString& unit, double ours, double canUtils, double pythonCan,
        double times);

    int exitCode() const { return missed ? 1 : 0; }

private:
    void goal(
        const QString& name, double value, bool met, const QString& bound, const QString& unit);
    QString judge(bool met);
    void print(const QString& line);

    int output; // a descriptor of the real standard output
    bool missed = false;
    QString subject; // the latest figure that is not indented below another one
};

// Seconds of processor time that the fastest of five runs took. Neither the load of the machine nor
// a cold cache is in it, nor the time that the work spends waiting.
template <typename Work>
double fastest(Work work)
{
    constexpr int runs = 5;
    std::clock_t best = std::numeric_limits<std::clock_t>::max();
    for (int run = 0; run < runs; ++run) {
        const std::clock_t start = std::clock();
        work();
        best = std::min(best, std::clock() - start);
    }
    return static_cast<double>(best) / CLOCKS_PER_SEC;
}

// Starts the program again under the preload that mocked serial ports need, unless it is there. To
// be called first in main.
void needPreload(char** argv);

// Memory of this process that is in RAM, in KiB.
qint64 residentSize();

// What a program took.
struct Run
{
    double processorTime = 0; // s
    double realTime = 0;      // s
    double memory = 0;        // MB resident at the most
    bool isFine = false;
};

// Runs a program, given with its arguments.
Run runOnce(const QStringList& command);

// Processor time in s, the best of three; 0 if it does not work.
double best(const QStringList& command);
