// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchmark.h"

#include <QFile>
#include <QProcess>
#include <cstdio>
#include <ctime>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// With three digits or all that stand before the point.
QString rounded(double value)
{
    const int decimals = value >= 100 || value == 0 ? 0 : value >= 10 ? 1 : value >= 1 ? 2 : 3;
    return QString::number(value, 'f', decimals);
}

double seconds(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double seconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

rusage programsUsage()
{
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage;
}

} // namespace

Benchmark::Benchmark()
    : output(dup(STDOUT_FILENO))
{
    if (!std::freopen("/dev/null", "w", stdout)) {
        std::perror("/dev/null");
    }
}

Benchmark::~Benchmark()
{
    ::close(output);
}

void Benchmark::figure(const QString& name, double value, const QString& unit)
{
    goal(name, value, unit, QString(), true);
}

void Benchmark::atLeast(const QString& name, double value, double bound, const QString& unit)
{
    goal(name, value, unit, QStringLiteral("at least %1").arg(bound), value >= bound);
}

void Benchmark::atMost(const QString& name, double value, double bound, const QString& unit)
{
    goal(name, value, unit, QStringLiteral("at most %1").arg(bound), value <= bound);
}

void Benchmark::goal(
    const QString& name, double value, const QString& unit, const QString& bound, bool isMet)
{
    missed = missed || !isMet;
    const char* verdict = bound.isEmpty() ? "" : isMet ? "met" : "**missed**";
    const QStringList row{name, rounded(value), unit, bound, verdict};
    dprintf(output, "| %s |\n", qUtf8Printable(row.join(QLatin1String(" | "))));
}

double ownTime()
{
    return seconds(CLOCK_PROCESS_CPUTIME_ID);
}

double programsTime()
{
    const rusage usage = programsUsage();
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double realTime()
{
    return seconds(CLOCK_MONOTONIC);
}

void run(const QStringList& command)
{
    if (QProcess::execute(command[0], command.mid(1)) != 0) {
        qFatal("%s does not work", qPrintable(command.join(QLatin1Char(' '))));
    }
}

double programsMemory()
{
    return static_cast<double>(programsUsage().ru_maxrss) / 1024;
}

qint64 residentSize()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const qint64 pages = file.readAll().split(' ').value(1).toLongLong();
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

void needPreload(char** argv)
{
    const QByteArray library = "libumockdev-preload.so.0";
    QByteArray preload = qgetenv("LD_PRELOAD");
    if (!preload.contains(library)) {
        preload += (preload.isEmpty() ? "" : ":") + library;
        qputenv("LD_PRELOAD", preload);
        execv("/proc/self/exe", argv);
        std::perror("the preload for mocked ports");
    }
}
