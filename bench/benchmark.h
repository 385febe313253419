// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <algorithm>
#include <ctime>
#include <limits>

// What the benchmarks share. Figures and goals go to standard error, as rows of a table (see
// bench/run): standard output has the traces of the programs.

void figure(const QString& name, double value, const QString& unit);

// A figure that has to be at least, or at most, what the bound says.
void atLeast(const QString& name, double value, double bound, const QString& unit);
void atMost(const QString& name, double value, double bound, const QString& unit);

// For main: 1 if a goal was missed.
int exitCode();

// Clocks. Processor time does not depend on the load of the machine.
constexpr clockid_t realTime = CLOCK_MONOTONIC;
constexpr clockid_t processTime = CLOCK_PROCESS_CPUTIME_ID;
constexpr clockid_t threadTime = CLOCK_THREAD_CPUTIME_ID;

double secondsOn(clockid_t clock); // since some moment

template <typename Work>
double secondsOf(Work work, clockid_t clock = realTime)
{
    const double start = secondsOn(clock);
    work();
    return secondsOn(clock) - start;
}

// Seconds of the fastest of so many runs: a cold cache is not in it.
template <typename Work>
double fastest(Work work, clockid_t clock = processTime, int runs = 5)
{
    double best = std::numeric_limits<double>::infinity();
    for (int run = 0; run < runs; ++run) {
        best = std::min(best, secondsOf(work, clock));
    }
    return best;
}

// Runs a program, given with its arguments. If it does not work, this one ends.
void run(const QStringList& command);
// The same, so many times. Gives the seconds of processor time of the fastest run.
double timeOf(const QStringList& command, int runs = 3);

// The memory in RAM, in MB: the most that one of the programs had that were run, and what this
// process has now.
double programsMemory();
double ownMemory();

// Write a file and give its name: a log with so many records of 128 values, and a .candump or .asc
// with so many frames of 8 bytes, on buses can0 to can3 or, as the console takes no other from an
// .asc, on channel 2.
QString writeLog(const QString& name, int records);
QString writeTrace(const QString& name, int frames);
