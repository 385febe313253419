// SPDX-License-Identifier: GPL-3.0-or-later

// bench_convert: xcu-convert on one file against log2asc, asc2log and python3-can, a log against cp
// and against Python's csv.writer over its own reader, many files on two processors against one,
// and memory on a file of 1 GB. All in memory (/dev/shm).
#include "bench/benchmark.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <functional>

namespace {

constexpr int frames = 1'000'000;
constexpr int records = 300'000;

QString write(const QString& name, const std::function<void(QFile&)>& fill)
{
    QFile file(name);
    file.open(QIODevice::WriteOnly);
    fill(file);
    return name;
}

QString writeCandump(const QString& name)
{
    return write(name, [](QFile& file) {
        for (int i = 0; i < frames; ++i) {
            file.write(
                QByteArray::number(1000 + i / 2000.0, 'f', 6).prepend('(') + ") can" +
                QByteArray::number(i % 4) + ' ' + QByteArray::number(0x100 + i * 7 % 200, 16) +
                '#' + QByteArray::number(0x1000000000000000LL + i * 2654435761LL, 16) + '\n');
        }
    });
}

QString writeLog(const QString& name, int count)
{
    QByteArray header = "#;timestamp;";
    QByteArray values;
    for (int channel = 0; channel < 128; ++channel) {
        header += "Channel (ADC" + QByteArray::number(channel) + ");";
        values += QByteArray::number(channel * 977 % 4096 - 1000) + ";";
    }
    return write(name, [&](QFile& file) {
        file.write(header + '\n');
        for (int i = 0; i < count; ++i) {
            file.write(
                QByteArray::number(i) + ';' + QByteArray::number(10 * i) + ';' + values + '\n');
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QString convert = QCoreApplication::applicationDirPath() + "/../bin/xcu-convert";
    const QTemporaryDir folder("/dev/shm/bench-XXXXXX");
    const auto place = [&](const char* name) { return folder.filePath(name); };
    const auto ours = [&](const QString& from, const QString& to) {
        return QStringList{convert, "--force", from, "-o", to};
    };
    Benchmark bench;

    const QString candump = writeCandump(place("a.candump"));
    const double toAsc = best(ours(candump, place("a.asc")));
    const double log2asc =
        best({"log2asc", "-I", candump, "-O", place("peer.asc"), "can0", "can1", "can2", "can3"});
    bench.compare("a million frames .candump to .asc", "s", toAsc, log2asc, 0, 5);
    const double toCandump = best(ours(place("a.asc"), place("b.candump")));
    const double asc2log = best({"asc2log", "-I", place("a.asc"), "-O", place("peer.log")});
    const QString script = "import can, sys\nwith can.CanutilsLogWriter(sys.argv[2]) as writer:\n"
                           "    for frame in can.ASCReader(sys.argv[1]): writer(frame)";
    const double python =
        runOnce({"/usr/bin/python3", "-c", script, place("a.asc"), place("p.log")}).processorTime;
    bench.compare("a million frames .asc to candump", "s", toCandump, asc2log, 0, 5);
    bench.atLeast("  against python3-can", python / toCandump, 20, "times");

    const QString log = writeLog(place("a.log"), records);
    const double toCsv = best(ours(log, place("a.csv")));
    bench.figure(".log of 300,000 records to .csv", toCsv, "s");
    bench.atMost("  against cp", toCsv / best({"cp", log, place("copy")}), 3, "times");
    const QString reader =
        "import csv, sys\nsys.path.insert(0, sys.argv[3])\nimport xcu_files\n"
        "log = xcu_files.read_log(sys.argv[1])\n"
        "with open(sys.argv[2], 'w', newline='') as file:\n"
        "    rows = csv.writer(file)\n    rows.writerow(['time_s', *log.columns])\n"
        "    for r in log.records: rows.writerow([r.ms / 1000, *r.values])";
    const double csvWriter =
        runOnce({"/usr/bin/python3", "-c", reader, log, place("p.csv"), XCU_PYTHON_DIR})
            .processorTime;
    bench.atLeast("  against csv.writer", csvWriter / toCsv, 20, "times");

    QDir(folder.path()).mkdir("out");
    QStringList many{convert, "--force", "--to", "csv", "--out-dir", place("out")};
    for (int i = 0; i < 200; ++i) {
        many.append(writeLog(folder.filePath(QString("%1.log").arg(i)), 9000));
    }
    const auto realTime = [&many](const char* jobs) {
        const QStringList command = many + QStringList{"--jobs", jobs};
        return std::min(
            {runOnce(command).realTime, runOnce(command).realTime, runOnce(command).realTime});
    };
    const double oneByOne = realTime("1");
    bench.atLeast("200 logs on two processors", oneByOne / realTime("2"), 1.8, "times one by one");
    for (int i = 0; i < 200; ++i) {
        QFile::remove(folder.filePath(QString("%1.log").arg(i)));
    }
    QDir(place("out")).removeRecursively();

    const QString big = writeLog(place("big.log"), 1'600'000); // 1 GB
    bench.atMost(
        "memory, .log of 1 GB to .csv",
        runOnce(QStringList{convert, "--to", "csv", big, "-o", "/dev/null"}).memory, 64, "MB");
    const Run table = runOnce(ours(big, place("big.h5")));
    bench.atMost("memory, .log of 1 GB to .h5", table.isFine ? table.memory : 1e9, 128, "MB");
    return bench.exitCode();
}
