// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchmark.h"

#include <QFile>
#include <QProcess>
#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace {

bool isMissed = false;

void row(
    const QString& name, double value, const QString& unit, const QString& bound = {},
    const char* verdict = "")
{
    // With three digits or all that stand before the point.
    const int decimals = value >= 100 || value == 0 ? 0 : value >= 10 ? 1 : value >= 1 ? 2 : 3;
    const QStringList cells{name, QString::number(value, 'f', decimals), unit, bound, verdict};
    std::fprintf(stderr, "| %s |\n", qUtf8Printable(cells.join(" | ")));
}

void goal(const QString& name, double value, const QString& unit, const QString& bound, bool isMet)
{
    isMissed = isMissed || !isMet;
    row(name, value, unit, bound, isMet ? "met" : "**missed**");
}

rusage programsUsage()
{
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage;
}

double programsTime()
{
    const rusage usage = programsUsage();
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

} // namespace

void figure(const QString& name, double value, const QString& unit)
{
    row(name, value, unit);
}

void atLeast(const QString& name, double value, double bound, const QString& unit)
{
    goal(name, value, unit, QStringLiteral("at least %1").arg(bound), value >= bound);
}

void atMost(const QString& name, double value, double bound, const QString& unit)
{
    goal(name, value, unit, QStringLiteral("at most %1").arg(bound), value <= bound);
}

int exitCode()
{
    return isMissed ? 1 : 0;
}

double secondsOn(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

void run(const QStringList& command)
{
    if (QProcess::execute(command[0], command.mid(1)) != 0) {
        qFatal("%s does not work", qPrintable(command.join(' ')));
    }
}

double timeOf(const QStringList& command, int runs)
{
    double best = std::numeric_limits<double>::infinity();
    for (; runs > 0; --runs) {
        const double before = programsTime();
        run(command);
        best = std::min(best, programsTime() - before);
    }
    return best;
}

double programsMemory()
{
    return double(programsUsage().ru_maxrss) / 1024;
}

double ownMemory()
{
    QFile file("/proc/self/statm");
    file.open(QIODevice::ReadOnly);
    return file.readAll().split(' ').value(1).toDouble() * double(sysconf(_SC_PAGESIZE)) / 1048576;
}

QString writeLog(const QString& name, int records)
{
    QByteArray header = "#;timestamp;";
    QByteArray values;
    for (int channel = 0; channel < 128; ++channel) {
        header += "Channel (ADC" + QByteArray::number(channel) + ");";
        values += QByteArray::number(channel * 977 % 4096 - 1000) + ";";
    }
    QFile file(name);
    file.open(QIODevice::WriteOnly);
    file.write(header + '\n');
    for (int i = 0; i < records; ++i) {
        file.write(QByteArray::number(i) + ';' + QByteArray::number(10 * i) + ';' + values + '\n');
    }
    return name;
}

QString writeTrace(const QString& name, int frames)
{
    QFile file(name);
    file.open(QIODevice::WriteOnly);
    const bool isAsc = name.endsWith(".asc");
    if (isAsc) {
        file.write("base hex  timestamps absolute\n"); // for the peers; to the console a frame more
    }
    for (int i = 0; i < frames; ++i) {
        const QByteArray time = QByteArray::number(1000 + i / 2000.0, 'f', 6);
        const QByteArray id = QByteArray::number(0x100 + i * 7 % 200, 16).toUpper();
        const QByteArray hex = QByteArray::number(0x1000000000000000LL + i * 2654435761LL, 16);
        file.write(
            isAsc
                ? "   " + time + " 2  " + id + "             Rx   d 8 " +
                      QByteArray::fromHex(hex).toHex(' ').toUpper() + '\n'
                : '(' + time + ") can" + char('0' + i % 4) + ' ' + id + '#' + hex.toUpper() + '\n');
    }
    return name;
}
