// SPDX-License-Identifier: GPL-3.0-or-later

// bench_convert: xcu-convert on one file against log2asc, asc2log and python3-can, a log against cp
// and against Python's csv.writer over its own reader, to_pandas against pandas.read_csv, many
// files on two processors against one, and memory on a file of 1 GB. All in memory (/dev/shm).
#include "bench/benchmark.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QString convert = QCoreApplication::applicationDirPath() + "/../bin/xcu-convert";
    const QTemporaryDir folder("/dev/shm/bench-XXXXXX");
    const auto place = [&](const char* name) { return folder.filePath(name); };
    const auto ours = [&](const QString& from, const QString& to) {
        return QStringList{convert, "--force", from, "-o", to};
    };

    const QString big = writeLog(place("big.log"), 1'600'000); // 1 GB
    run({convert, "--to", "csv", big, "-o", "/dev/null"});
    atMost("memory, .log of 1 GB to .csv", programsMemory(), 64, "MB");
    run(ours(big, place("big.mf4")));
    atMost("memory, .log of 1 GB to .mf4", programsMemory(), 64, "MB");
    run(ours(big, place("big.h5")));
    atMost("memory, .log of 1 GB to .h5", programsMemory(), 128, "MB");
    const auto realTimeTo = [&](const char* output) {
        return fastest([&] { run(ours(big, place(output))); }, realTime, 3);
    };
    const double bigToH5 = realTimeTo("big.h5");
    atMost(".log of 1 GB to .h5 against .csv", bigToH5 / realTimeTo("big.csv"), 1.4, "times");
    atMost(".log of 1 GB to .mf4 against .h5", realTimeTo("big.mf4") / bigToH5, 1, "times");
    const auto size = [&](const char* name) { return double(QFile(place(name)).size()); };
    atMost("the .mf4 against the .h5", size("big.mf4") / size("big.h5"), 1.3, "times its size");
    QFile::remove(big);

    const QString candump = writeTrace(place("a.candump"), 1'000'000);
    const QString asc = place("a.asc");
    const double toAsc = timeOf(ours(candump, asc));
    figure("a million frames .candump to .asc", toAsc, "s");
    const double log2asc =
        timeOf({"log2asc", "-I", candump, "-O", place("peer.asc"), "can0", "can1", "can2", "can3"});
    atLeast(".candump to .asc against log2asc", log2asc / toAsc, 5, "times");
    const double toCandump = timeOf(ours(asc, place("b.candump")));
    figure("a million frames .asc to .candump", toCandump, "s");
    const double asc2log = timeOf({"asc2log", "-I", asc, "-O", place("peer.log")});
    atLeast(".asc to .candump against asc2log", asc2log / toCandump, 5, "times");
    const QString script = "import can, sys\nwith can.CanutilsLogWriter(sys.argv[2]) as writer:\n"
                           "    for frame in can.ASCReader(sys.argv[1]): writer(frame)";
    const double python = timeOf({"/usr/bin/python3", "-c", script, asc, place("p.log")}, 1);
    atLeast(".asc to .candump against python3-can", python / toCandump, 20, "times");

    QFile signalTable(place("car.signals"));
    signalTable.open(QIODevice::WriteOnly);
    signalTable.write("xcu-signals table 1\n");
    for (int i = 0; i < 100; ++i) {
        signalTable.write(QString("standard\t0x%1\tM%1\tS%2\t%3,8,intel\tunsigned\t0.5\t-40\tV\n")
                              .arg(0x100 + i / 8 * 16, 0, 16)
                              .arg(i)
                              .arg(i % 8 * 8)
                              .toUtf8());
    }
    signalTable.close();
    const QStringList toSignals =
        ours(candump, place("a.mf4")) + QStringList{"--signals", signalTable.fileName()};
    const double withSignals = fastest([&] { run(toSignals); }, realTime, 3);
    atMost("a million frames with 100 signals to .mf4", withSignals, 1.5, "s");

    const QString log = writeLog(place("a.log"), 300'000);
    const double toCsv = timeOf(ours(log, place("a.csv")));
    figure(".log of 300,000 records to .csv", toCsv, "s");
    atMost(".log to .csv against cp", toCsv / timeOf({"cp", log, place("copy")}), 3, "times");
    const QString reader =
        "import csv, sys\nsys.path.insert(0, sys.argv[3])\nimport xcu_files\n"
        "log = xcu_files.read_log(sys.argv[1])\n"
        "with open(sys.argv[2], 'w', newline='') as file:\n"
        "    rows = csv.writer(file)\n    rows.writerow(['time_s', *log.columns])\n"
        "    for r in log.records: rows.writerow([r.ms / 1000, *r.values])";
    const double csvWriter =
        timeOf({"/usr/bin/python3", "-c", reader, log, place("p.csv"), XCU_PYTHON_DIR}, 1);
    atLeast(".log to .csv against csv.writer", csvWriter / toCsv, 20, "times");

    const double readCsv = timeOf(
        {"/usr/bin/python3", "-c",
         "import pandas, sys\npandas.read_csv(sys.argv[1], sep=';', header=None, skiprows=1)",
         log});
    const double toPandas = timeOf(
        {"/usr/bin/python3", "-c",
         "import sys\nsys.path.insert(0, sys.argv[2])\nimport xcu_files\n"
         "xcu_files.to_pandas(sys.argv[1])",
         log, XCU_PYTHON_DIR});
    atMost("to_pandas against pandas.read_csv", toPandas / readCsv, 1.5, "times");

    QDir(folder.path()).mkdir("out");
    QStringList many{convert, "--force", "--to", "csv", "--out-dir", place("out")};
    for (int i = 0; i < 200; ++i) {
        many << writeLog(folder.filePath(QString("%1.log").arg(i)), 9000);
    }
    const auto timeOfJobs = [&many](const char* jobs) {
        return fastest([&] { run(many + QStringList{"--jobs", jobs}); }, realTime, 3);
    };
    const double parallel = timeOfJobs("1") / timeOfJobs("2");
    atLeast("200 logs on two processors", parallel, 1.8, "times one by one");
    return exitCode();
}
