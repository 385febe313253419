// SPDX-License-Identifier: GPL-3.0-or-later

// bench_imports: reading logs and CAN traces, traces also against the peers that read
// the same file, log2asc and asc2log of can-utils and python3-can; and what a whole import of a
// million frames costs.
//
// The readers are compared over a list that has its memory: what the system takes for handing out
// 88 bytes a frame is in the figures of the whole import.
#include "bench/benchmark.h"
#include "formats/frameindex.h"
#include "formats/lenienttraces.h"
#include "formats/logfile.h"
#include "formats/traceimport.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

using namespace formats;

namespace {

void readTrace(const QString& name, QVector<CanFrames>& frames)
{
    QFile file(name);
    file.open(QIODevice::ReadOnly);
    TraceImport import(frames);
    import.reserveFor(file);
    traceFormat(name)->read(file, import);
}

void measureLog()
{
    const QTemporaryDir folder;
    QFile file(writeLog(folder.filePath("a.log"), 30'000));
    file.open(QIODevice::ReadOnly);
    const double megabytes = static_cast<double>(file.size()) / 1e6;
    qint64 sum = 0;
    const auto nothing = [](auto&&...) {};
    const auto addRecord = [&sum](int, const std::vector<int>& values) { sum += values[0]; };
    const double whole = fastest([&] {
        file.seek(0);
        readLog(file, 128, {nothing, nothing, addRecord});
    });
    atLeast(".log read", megabytes / whole, sum != 0 ? 400 : 1e9, "MB/s");
}

// In the layouts that the peers read as well. Nothing is converted.
void comparePeers(const QString& kind, QStringList tool, const QString& reader)
{
    constexpr int count = 300'000;
    const QTemporaryDir folder;
    const QString name = writeTrace(folder.filePath("trace" + kind), count);
    QVector<CanFrames> frames;
    const double ours = fastest([&] {
        frames.resize(0);
        readTrace(name, frames);
    });
    const QString what = kind + " read";
    figure(what, count / ours / 1e6, "million frames/s");
    const double theirs = timeOf(tool << "-I" << name);
    atLeast(what + " against " + tool[0], theirs / ours, 6, "times");
    const QString script = "import can, sys\nfor message in can." + reader + "(sys.argv[1]): pass";
    const double python = timeOf({"/usr/bin/python3", "-c", script, name});
    atLeast(what + " against python3-can", python / ours, 6, "times");
}

void measureWholeImport()
{
    constexpr int count = 1'000'000;
    const QTemporaryDir folder;
    const QString name = writeTrace(folder.filePath("a.candump"), count);
    const double bare = fastest([&] {
        QVector<CanFrames> frames;
        readTrace(name, frames);
    });
    const double before = ownMemory();
    double memory = 0;
    const auto importTimes = [&](int times) {
        return fastest([&] {
            QVector<CanFrames> frames;
            FrameIndex index;
            for (int i = 0; i < times; ++i) {
                readTrace(name, frames);
                index.extend(frames);
                index.identifierTexts();
            }
            memory = ownMemory() - before;
        });
    };
    const double whole = importTimes(1);
    const double perFrame = 1048576 * memory / count;
    figure("whole import", whole, "s");
    atMost("whole import against bare reading", whole / bare, 1.2, "times");
    atMost("memory", perFrame, 1.2 * sizeof(CanFrames), "bytes/frame");
    atMost("four imports against one", importTimes(4) / whole, 8, "times");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    measureLog();
    comparePeers(".candump", {"log2asc", "can0", "can1", "can2", "can3"}, "CanutilsLogReader");
    comparePeers(".asc", {"asc2log"}, "ASCReader");
    measureWholeImport();
    return exitCode();
}
