// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <algorithm>
#include <limits>

// What the benchmarks share: figures and goals as rows of a table (see bench/run), and standard
// output that is out of the way.
class Benchmark
{
public:
    // Sends the program's traces to the null device; the rows still reach the real standard output.
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
        const QString& name, double value, const QString& unit, const QString& bound, bool isMet);

    int output; // a descriptor of the real standard output
    bool missed = false;
};

// Seconds since some moment: of processor time of this process, or of the programs that it has run,
// which hold neither the load of the machine nor what is waited for; and of real time.
double ownTime();
double programsTime();
double realTime();

// Seconds by that clock of the fastest of so many runs: a cold cache is not in it.
template <typename Work>
double fastest(Work work, double (*clock)() = ownTime, int runs = 5)
{
    double best = std::numeric_limits<double>::infinity();
    for (int run = 0; run < runs; ++run) {
        const double start = clock();
        work();
        best = std::min(best, clock() - start);
    }
    return best;
}

// Runs a program, given with its arguments. If it does not work, this one ends.
void run(const QStringList& command);

// MB in RAM at the most of one of the programs that were run.
double programsMemory();

// Memory of this process that is in RAM, in KiB.
qint64 residentSize();

// Starts the program again under the preload that mocked serial ports need, unless it is there. To
// be called first in main.
void needPreload(char** argv);
