// SPDX-License-Identifier: GPL-3.0-or-later

// bench_traces [--frames N]: reading CAN traces against text streams and lists of strings, and
// against the peers that read the same file, log2asc of can-utils and python3-can; and what a whole
// import of N frames costs.
//
// The readers are compared over a list that has its memory: what the system takes for handing out
// 88 bytes a frame is the same on all roads, and is in the figures of the whole import.
#include "bench/benchmark.h"
#include "bench/slowroad.h"
#include "formats/frameindex.h"
#include "formats/textfield.h"
#include "formats/traceformat.h"
#include "support/importcheck.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QTemporaryDir>
#include <sys/resource.h>

using namespace formats;

namespace {

constexpr int comparedFrames = 50'000; // short enough for the slow road
constexpr int identifiers = 200;

// What the peers need to be told is in the .asc one; to the console it is a frame more.
const QHash<QString, QByteArray> heads = {
    {".csv", "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD\n"},
    {".asc", "base hex  timestamps absolute\n"},
};

// Frames of 8 bytes, one a millisecond, identifiers mixed.
QByteArray traceLine(const QString& kind, int i)
{
    const int id = 0x100 + i * 7 % identifiers;
    const QByteArray hex =
        QByteArray::number(0x1000000000000000LL + i * 2654435761LL, 16).toUpper();
    const QByteArray hexId = QByteArray::number(id, 16).toUpper();
    const QByteArray fraction = QByteArray::number(1000 + i % 1000).mid(1);
    const QByteArray seconds = QByteArray::number(i / 1000);
    if (kind == ".candump") {
        return "(" + QByteArray::number(1'600'000'000 + i / 1000) + "." + fraction + "000) can1 " +
               hexId + "#" + hex + "\n";
    }
    if (kind == ".trc") {
        return seconds + "," + fraction + "\tRx\t1\t" + hexId + "\t8\t" + hex + "\r\n";
    }
    if (kind == ".txt") {
        return "00:" + QByteArray::number(100 + i / 60'000 % 60).mid(1) + ":" +
               QByteArray::number(100 + i / 1000 % 60).mid(1) + "." + fraction +
               " -> CAN:id=" + QByteArray::number(id) +
               ":len=8:" + QByteArray::fromHex(hex).toHex(':') + "\n";
    }
    const QByteArray time = seconds + "." + fraction;
    const QByteArray bytes = QByteArray::fromHex(hex).toHex(' ').toUpper();
    if (kind == ".csv") {
        return "R," + time + "," + hexId + "," + QByteArray(bytes).replace(' ', ',') +
               ",...,1,10\n";
    }
    if (kind == ".asc") {
        return "   " + time + "000 2  " + hexId + "             Rx   d 8 " + bytes + "\n";
    }
    return QByteArray::number(i) + ") " + time + " Rx 0" + hexId + " 8 " + bytes + "\n";
}

// The name of the file.
QString writeTrace(const QTemporaryDir& folder, const QString& kind, int frames)
{
    QFile file(folder.filePath(QString::number(frames) + kind));
    file.open(QIODevice::WriteOnly);
    file.write(heads.value(kind));
    for (int i = 0; i < frames; ++i) {
        file.write(traceLine(kind, i));
    }
    return file.fileName();
}

bool sameFrames(const QVector<CanFrames>& fast, const QVector<CanFrames>& slow)
{
    return std::equal(
        fast.cbegin(), fast.cend(), slow.cbegin(), slow.cend(),
        [](const CanFrames& a, const CanFrames& b) { return describe(a) == describe(b); });
}

void compareReaders(Benchmark& bench)
{
    const QTemporaryDir folder;
    for (const QString kind : {".txt", ".candump", ".trc", ".csv", ".asc", ".trace"}) {
        const QString name = writeTrace(folder, kind, comparedFrames);
        slowroad::Trace slow;
        const double slowTime = fastest([&] {
            QFile converted(folder.filePath("slow"));
            converted.open(QIODevice::WriteOnly);
            slow.convert = [&converted](const QByteArray& line) {
                converted.write(line);
                converted.flush();
            };
            slow.frames.resize(0);
            slow.count = 0;
            QFile file(name);
            file.open(QIODevice::ReadOnly);
            slowroad::readTrace(kind, file, slow);
        });
        QVector<CanFrames> frames;
        const double fastTime = fastest([&] {
            QFile converted(folder.filePath("fast"));
            converted.open(QIODevice::WriteOnly);
            frames.resize(0);
            TraceImport import{frames};
            import.candumpFile = &converted;
            readTraceFile(*traceFormat(name), name, import);
        });
        constexpr double nanoseconds = 1e9 / comparedFrames;
        bench.compare(
            kind + " read", "ns/frame", fastTime * nanoseconds,
            {{naiveRoad, slowTime * nanoseconds}}, 10, sameFrames(frames, slow.frames));
    }
}

// Seconds of processor time of a child that is given the file, without its start: the best of three
// runs; 0 if there is no such program.
double peerTime(const QString& program, const QStringList& arguments, const QString& file)
{
    const auto childTime = [] {
        rusage usage{};
        getrusage(RUSAGE_CHILDREN, &usage);
        return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
               static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    };
    const auto timeFor = [&](const QString& name) {
        const double before = childTime();
        QProcess process;
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(program, QStringList(arguments).replaceInStrings("FILE", name));
        const bool ran = process.waitForFinished(-1) && process.exitCode() == 0;
        return ran ? childTime() - before : 0.0;
    };
    const auto best = [&](const QString& name) {
        return std::min({timeFor(name), timeFor(name), timeFor(name)});
    };
    return std::max(0.0, best(file) - best(QProcess::nullDevice()));
}

// All roads over one file, in the layouts that the peers read as well. Nothing is converted.
void comparePeers(Benchmark& bench, int count)
{
    const QTemporaryDir folder;
    const auto compare = [&](const QString& kind, const QString& tool, const QString& reader) {
        const QString name = writeTrace(folder, kind, count);
        QVector<CanFrames> frames;
        const double ours = fastest([&] {
            frames.resize(0);
            TraceImport import{frames};
            readTraceFile(*traceFormat(name), name, import);
        });
        slowroad::Trace slow;
        slow.convert = [](const QByteArray&) {};
        const double naive = fastest([&] {
            slow.frames.resize(0);
            slow.count = 0;
            QFile file(name);
            file.open(QIODevice::ReadOnly);
            slowroad::readTrace(kind, file, slow);
        });
        const QString script =
            QStringLiteral("import can, sys\nfor message in can.%1(sys.argv[1]): pass").arg(reader);
        const double python = peerTime("/usr/bin/python3", {"-c", script, "FILE"}, name);
        const double tools = peerTime(tool, {"-I", "FILE", "can1"}, name);
        bench.compare(
            QStringLiteral("%1 of %2 frames read").arg(kind).arg(count), "million frames/s",
            count / ours / 1e6,
            {{naiveRoad, count / naive / 1e6},
             {canUtils, tools > 0 ? count / tools / 1e6 : 0},
             {pythonCan, python > 0 ? count / python / 1e6 : 0}},
            10, sameFrames(frames, slow.frames));
    };
    compare(".candump", "log2asc", "CanutilsLogReader");
    compare(".asc", "asc2log", "ASCReader");
}

void measureWholeImport(Benchmark& bench, int count)
{
    const QTemporaryDir folder;
    const QString name = writeTrace(folder, ".candump", count);
    const auto read = [&name](QVector<CanFrames>& frames) {
        TraceImport import{frames};
        return readTraceFile(*traceFormat(name), name, import);
    };
    const double bare = fastest([&] {
        QVector<CanFrames> frames;
        read(frames);
    });
    const qint64 before = residentSize();
    qint64 memory = 0;
    const auto importTimes = [&](int times) {
        return fastest([&] {
            QVector<CanFrames> frames;
            FrameIndex index;
            for (int i = 0; i < times; ++i) {
                read(frames);
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
    compareReaders(bench);
    comparePeers(bench, 300'000);
    measureWholeImport(bench, parser.value("frames").toInt());
    return bench.exitCode();
}
