// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchmark.h"

#include <QFile>
#include <cstdio>
#include <unistd.h>

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
    print(QStringLiteral("%1 %2 %3").arg(name, -44).arg(value, 12, 'f', 2).arg(unit));
}

void Benchmark::atLeast(const QString& name, double value, double bound, const QString& unit)
{
    goal(name, value, value >= bound, QStringLiteral("at least %1").arg(bound), unit);
}

void Benchmark::atMost(const QString& name, double value, double bound, const QString& unit)
{
    goal(name, value, value <= bound, QStringLiteral("at most %1").arg(bound), unit);
}

void Benchmark::goal(
    const QString& name, double value, bool met, const QString& bound, const QString& unit)
{
    missed = missed || !met;
    const QString verdict = met ? QStringLiteral("met") : QStringLiteral("MISSED");
    figure(name, value, QStringLiteral("%1 (%2: %3)").arg(unit, bound, verdict));
}

void Benchmark::print(const QString& line)
{
    QFile file;
    if (file.open(output, QIODevice::WriteOnly)) {
        file.write(line.toUtf8() + '\n');
    }
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

qint64 residentSize()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const qint64 pages = file.readAll().split(' ').value(1).toLongLong();
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}
