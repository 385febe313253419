// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchmark.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLocale>
#include <cerrno>
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// With three digits or all that stand before the point.
QString rounded(double value)
{
    const int decimals = value >= 100 ? 0 : value >= 10 ? 1 : value >= 1 ? 2 : 3;
    return value == 0 ? QStringLiteral("0") : QLocale::c().toString(value, 'f', decimals);
}

void appendRow(const char* table, const QStringList& cells)
{
    const QString folder = qEnvironmentVariable("XCU_BENCH_TABLES");
    QFile file(QDir(folder).filePath(QLatin1String(table)));
    if (!folder.isEmpty() && file.open(QIODevice::Append)) {
        file.write(QStringLiteral("| %1 |\n").arg(cells.join(QLatin1String(" | "))).toUtf8());
    }
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
    if (!name.startsWith(QLatin1Char(' '))) {
        subject = name;
    }
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

void Benchmark::compare(
    const QString& name, const QString& unit, double ours, double canUtils, double pythonCan,
    double times)
{
    double ratio = ours > 0 ? std::numeric_limits<double>::infinity() : 0;
    for (const double peer : {canUtils, pythonCan}) {
        if (ours > 0 && peer > 0) {
            ratio = std::min(ratio, unit.endsWith(QLatin1String("/s")) ? ours / peer : peer / ours);
        }
    }
    const auto cell = [](double peer) { return peer > 0 ? rounded(peer) : QString(); };
    const QString bound = QStringLiteral("at least %1").arg(times);
    const QString verdict = judge(ratio >= times);
    figure(name, ours, unit);
    figure(QStringLiteral("  can-utils"), canUtils, unit);
    figure(QStringLiteral("  python3-can"), pythonCan, unit);
    figure(
        QStringLiteral("  times as good"), ratio, QStringLiteral("(%1: %2)").arg(bound, verdict));
    appendRow(
        "compared.md", {name, unit, rounded(ours), cell(canUtils), cell(pythonCan), rounded(ratio),
                        bound, verdict});
}

void Benchmark::goal(
    const QString& name, double value, bool met, const QString& bound, const QString& unit)
{
    const QString verdict = judge(met);
    figure(name, value, QStringLiteral("%1 (%2: %3)").arg(unit, bound, verdict));
    const bool isPart = name.startsWith(QLatin1Char(' '));
    const QString whole = isPart ? subject + QLatin1String(", ") + name.trimmed() : name;
    appendRow(
        "goals.md", {program_invocation_short_name, whole, rounded(value), unit, bound, verdict});
}

QString Benchmark::judge(bool met)
{
    missed = missed || !met;
    return met ? QStringLiteral("met") : QStringLiteral("MISSED");
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

// By wait4 and not by QProcess, which does not tell a child's memory.
Run runOnce(const QStringList& command)
{
    std::vector<QByteArray> words;
    for (const QString& word : command) {
        words.push_back(word.toLocal8Bit());
    }
    std::vector<char*> arguments;
    for (QByteArray& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    QElapsedTimer timer;
    timer.start();
    const pid_t child = vfork();
    if (child == 0) {
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return {
        seconds(usage.ru_utime) + seconds(usage.ru_stime),
        static_cast<double>(timer.nsecsElapsed()) / 1e9,
        static_cast<double>(usage.ru_maxrss) / 1024, status == 0};
}

double best(const QStringList& command)
{
    double time = 0;
    for (int i = 0; i < 3; ++i) {
        const Run run = runOnce(command);
        if (!run.isFine) {
            return 0;
        }
        time = i == 0 ? run.processorTime : std::min(time, run.processorTime);
    }
    return time;
}
