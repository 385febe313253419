// SPDX-License-Identifier: GPL-3.0-or-later

// bench_imports [--frames N]: reading logs and CAN traces, traces also against the peers that read
// the same file, log2asc and asc2log of can-utils and python3-can; and what a whole import of N
// frames costs.
//
// The readers are compared over a list that has its memory: what the system takes for handing out
// 88 bytes a frame is in the figures of the whole import.
#include "bench/benchmark.h"
#include "formats/frameindex.h"
#include "formats/linereader.h"
#include "formats/logreader.h"
#include "formats/traceimport.h"
#include "formats/tracereaders.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <numeric>

using namespace formats;

namespace {

constexpr int identifiers = 200;

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
        const QByteArray id = QByteArray::number(0x100 + i * 7 % identifiers, 16).toUpper();
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

class Sum : public LogSink
{
public:
    qint64 sum = 0;

    void addHeader(const QStringList& labels) override { sum += labels.size(); }
    void addTag(int timestamp, const QString& /*text*/) override { sum += timestamp; }
    void addRecord(int /*timestamp*/, const std::vector<int>& values) override
    {
        sum += std::accumulate(values.begin(), values.end(), qint64{0});
    }
};

// 30,000 records of 128 values, against looking for the ends of the lines alone.
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
    const double lines = fastest([&] {
        file.seek(0);
        LineReader reader(file, LineReader::Bytes);
        while (!reader.next().empty()) {
        }
    });
    Sum records;
    const double whole = fastest([&] {
        file.seek(0);
        readLog(file, 128, records);
    });
    bench.figure("lines of a .log", megabytes / lines, "MB/s");
    bench.atLeast(".log read", megabytes / whole, records.sum != 0 ? 400 : 1e9, "MB/s");
}

// In the layouts that the peers read as well. Nothing is converted.
void comparePeers(Benchmark& bench, int count)
{
    const QTemporaryDir folder;
    const auto compare = [&](const QString& kind, const QString& tool, const QString& reader) {
        const QString name = writeTrace(folder, kind, count);
        QVector<CanFrames> frames;
        const double ours = fastest([&] {
            frames.resize(0);
            readTrace(name, frames);
        });
        const auto peerTime = [&](QStringList command) {
            const double start = best(QStringList(command).replaceInStrings("FILE", "/dev/null"));
            return std::max(0.0, best(command.replaceInStrings("FILE", name)) - start);
        };
        const QString script =
            "import can, sys\nfor message in can." + reader + "(sys.argv[1]): pass";
        const double python = peerTime({"/usr/bin/python3", "-c", script, "FILE"});
        const double tools = peerTime({tool, "-I", "FILE", "can1"});
        bench.compare(
            QString("%1 of %2 frames read").arg(kind).arg(count), "million frames/s",
            count / ours / 1e6, tools > 0 ? count / tools / 1e6 : 0,
            python > 0 ? count / python / 1e6 : 0, 6);
    };
    compare(".candump", "log2asc", "CanutilsLogReader");
    compare(".asc", "asc2log", "ASCReader");
}

void measureWholeImport(Benchmark& bench, int count)
{
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
    QCommandLineParser parser;
    parser.addOption({"frames", "Frames of the whole import.", "N", "1000000"});
    parser.process(application);
    Benchmark bench;
    measureLog(bench);
    comparePeers(bench, 300'000);
    measureWholeImport(bench, parser.value("frames").toInt());
    return bench.exitCode();
}
