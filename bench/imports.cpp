// SPDX-License-Identifier: GPL-3.0-or-later

// bench_imports: reading logs and CAN traces, traces also against the peers that read
// the same file, log2asc and asc2log of can-utils and python3-can; and what a whole import of a
// million frames costs.
//
// The readers are compared over a list that has its memory: what the system takes for handing out
// 88 bytes a frame is in the figures of the whole import.
#include "bench/benchmark.h"
#include "formats/frameindex.h"
#include "formats/logfile.h"
#include "formats/traceimport.h"
#include "formats/tracereaders.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

using namespace formats;

namespace {

// Frames of 8 bytes, one a millisecond, identifiers mixed. The name of the file.
QString writeTrace(const QTemporaryDir& folder, const QString& kind, int frames)
{
    QFile file(folder.filePath("trace" + kind));
    file.open(QIODevice::WriteOnly);
    if (kind == ".asc") {
        file.write("base hex  timestamps absolute\n"); // for the peers; to the console a frame more
    }
    for (int i = 0; i < frames; ++i) {
        const QByteArray time = QByteArray::number(1'600'000'000 + i / 1000.0, 'f', 6);
        const QByteArray id = QByteArray::number(0x100 + i * 7 % 200, 16).toUpper();
        const QByteArray hex = QByteArray::number(0x1000000000000000LL + i * 2654435761LL, 16);
        file.write(
            kind == ".asc" ? "   " + time + " 2  " + id + "             Rx   d 8 " +
                                 QByteArray::fromHex(hex).toHex(' ').toUpper() + '\n'
                           : '(' + time + ") can1 " + id + '#' + hex.toUpper() + '\n');
    }
    return file.fileName();
}

void readTrace(const QString& name, QVector<CanFrames>& frames)
{
    QFile file(name);
    file.open(QIODevice::ReadOnly);
    TraceImport import(frames);
    import.reserveFor(file);
    traceFormat(name)->read(file, import);
}

// 30,000 records of 128 values.
void measureLog(Benchmark& bench)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("a.log"));
    file.open(QIODevice::ReadWrite);
    for (int i = 0; i < 30'000; ++i) {
        QByteArray line = QByteArray::number(i) + ";" + QByteArray::number(10 * i) + ";";
        for (int channel = 0; channel < 128; ++channel) {
            line += QByteArray::number((i * 31 + channel * 977) % 4096 - 100) + ";";
        }
        file.write(line + "\n");
    }
    const double megabytes = static_cast<double>(file.size()) / 1e6;
    qint64 sum = 0;
    const auto nothing = [](auto&&...) {};
    const auto addRecord = [&sum](int, const std::vector<int>& values) { sum += values[0]; };
    const double whole = fastest([&] {
        file.seek(0);
        readLog(file, 128, {nothing, nothing, addRecord});
    });
    bench.atLeast(".log read", megabytes / whole, sum != 0 ? 400 : 1e9, "MB/s");
}

// In the layouts that the peers read as well. Nothing is converted.
void comparePeers(Benchmark& bench, const QString& kind, const QString& tool, const QString& reader)
{
    constexpr int count = 300'000;
    const QTemporaryDir folder;
    const QString name = writeTrace(folder, kind, count);
    QVector<CanFrames> frames;
    const double ours = fastest([&] {
        frames.resize(0);
        readTrace(name, frames);
    });
    const QString what = kind + " read";
    bench.figure(what, count / ours / 1e6, "million frames/s");
    const QString script = "import can, sys\nfor message in can." + reader + "(sys.argv[1]): pass";
    const std::pair<QString, QStringList> peers[] = {
        {tool, {tool, "-I", name, "can1"}},
        {"python3-can", {"/usr/bin/python3", "-c", script, name}}};
    for (const auto& peer : peers) {
        const double theirs = fastest([&] { run(peer.second); }, programsTime, 3);
        bench.atLeast(what + " against " + peer.first, theirs / ours, 6, "times");
    }
}

void measureWholeImport(Benchmark& bench)
{
    constexpr int count = 1'000'000;
    const QTemporaryDir folder;
    const QString name = writeTrace(folder, ".candump", count);
    const double bare = fastest([&] {
        QVector<CanFrames> frames;
        readTrace(name, frames);
    });
    const qint64 before = residentSize();
    qint64 memory = 0;
    const auto importTimes = [&](int times) {
        return fastest([&] {
            QVector<CanFrames> frames;
            FrameIndex index;
            for (int i = 0; i < times; ++i) {
                readTrace(name, frames);
                index.extend(frames);
                index.identifierTexts();
            }
            memory = residentSize() - before;
        });
    };
    const double whole = importTimes(1);
    const double perFrame = static_cast<double>(memory) * 1024 / count;
    bench.figure("whole import", whole, "s");
    bench.atMost("whole import against bare reading", whole / bare, 1.2, "times");
    bench.atMost("memory", perFrame, 1.2 * sizeof(CanFrames), "bytes/frame");
    bench.atMost("four imports against one", importTimes(4) / whole, 8, "times");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Benchmark bench;
    measureLog(bench);
    comparePeers(bench, ".candump", "log2asc", "CanutilsLogReader");
    comparePeers(bench, ".asc", "asc2log", "ASCReader");
    measureWholeImport(bench);
    return bench.exitCode();
}
