// SPDX-License-Identifier: GPL-3.0-or-later

// bench_convert: xcu-convert on one file against log2asc, asc2log and python3-can, a log against cp
// and against Python's csv.writer over its own reader, many files on two processors against one,
// and memory on a file of 1 GB. All in memory (/dev/shm).
#include "bench/benchmark.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

constexpr int frames = 1'000'000;
constexpr int records = 300'000;

QString writeCandump(const QString& name)
{
    QFile file(name);
    file.open(QIODevice::WriteOnly);
    for (int i = 0; i < frames; ++i) {
        file.write(
            '(' + QByteArray::number(1000 + i / 2000.0, 'f', 6) + ") can" +
            QByteArray::number(i % 4) + ' ' + QByteArray::number(0x100 + i * 7 % 200, 16) + '#' +
            QByteArray::number(0x1000000000000000LL + i * 2654435761LL, 16) + '\n');
    }
    return name;
}

QString writeLog(const QString& name, int count)
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
    for (int i = 0; i < count; ++i) {
        file.write(QByteArray::number(i) + ';' + QByteArray::number(10 * i) + ';' + values + '\n');
    }
    return name;
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
    const auto time = [](const QStringList& command, int runs = 3) {
        return fastest([&] { run(command); }, programsTime, runs);
    };
    Benchmark bench;

    const QString big = writeLog(place("big.log"), 1'600'000); // 1 GB
    run({convert, "--to", "csv", big, "-o", "/dev/null"});
    bench.atMost("memory, .log of 1 GB to .csv", programsMemory(), 64, "MB");
    run(ours(big, place("big.h5")));
    bench.atMost("memory, .log of 1 GB to .h5", programsMemory(), 128, "MB");
    QFile::remove(big);

    const QString candump = writeCandump(place("a.candump"));
    const QString asc = place("a.asc");
    const double toAsc = time(ours(candump, asc));
    bench.figure("a million frames .candump to .asc", toAsc, "s");
    const double log2asc =
        time({"log2asc", "-I", candump, "-O", place("peer.asc"), "can0", "can1", "can2", "can3"});
    bench.atLeast(".candump to .asc against log2asc", log2asc / toAsc, 5, "times");
    const double toCandump = time(ours(asc, place("b.candump")));
    bench.figure("a million frames .asc to .candump", toCandump, "s");
    const double asc2log = time({"asc2log", "-I", asc, "-O", place("peer.log")});
    bench.atLeast(".asc to .candump against asc2log", asc2log / toCandump, 5, "times");
    const QString script = "import can, sys\nwith can.CanutilsLogWriter(sys.argv[2]) as writer:\n"
                           "    for frame in can.ASCReader(sys.argv[1]): writer(frame)";
    const double python = time({"/usr/bin/python3", "-c", script, asc, place("p.log")}, 1);
    bench.atLeast(".asc to .candump against python3-can", python / toCandump, 20, "times");

    const QString log = writeLog(place("a.log"), records);
    const double toCsv = time(ours(log, place("a.csv")));
    bench.figure(".log of 300,000 records to .csv", toCsv, "s");
    bench.atMost(".log to .csv against cp", toCsv / time({"cp", log, place("copy")}), 3, "times");
    const QString reader =
        "import csv, sys\nsys.path.insert(0, sys.argv[3])\nimport xcu_files\n"
        "log = xcu_files.read_log(sys.argv[1])\n"
        "with open(sys.argv[2], 'w', newline='') as file:\n"
        "    rows = csv.writer(file)\n    rows.writerow(['time_s', *log.columns])\n"
        "    for r in log.records: rows.writerow([r.ms / 1000, *r.values])";
    const double csvWriter =
        time({"/usr/bin/python3", "-c", reader, log, place("p.csv"), XCU_PYTHON_DIR}, 1);
    bench.atLeast(".log to .csv against csv.writer", csvWriter / toCsv, 20, "times");

    QDir(folder.path()).mkdir("out");
    QStringList many{convert, "--force", "--to", "csv", "--out-dir", place("out")};
    for (int i = 0; i < 200; ++i) {
        many << writeLog(folder.filePath(QString("%1.log").arg(i)), 9000);
    }
    const auto timeOfJobs = [&many](const char* jobs) {
        return fastest([&] { run(many + QStringList{"--jobs", jobs}); }, realTime, 3);
    };
    const double parallel = timeOfJobs("1") / timeOfJobs("2");
    bench.atLeast("200 logs on two processors", parallel, 1.8, "times one by one");
    return bench.exitCode();
}
