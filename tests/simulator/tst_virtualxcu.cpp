// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/controllerunit.h"
#include "simulator/linecommands.h"
#include "simulator/simulationoptions.h"
#include "simulator/testbed.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <cmath>
#include <csignal>
#include <sys/stat.h>

namespace {

// virtual-xcu with a shell as its program.
class Run
{
public:
    Run(QStringList options, const QString& script)
    {
        options << QStringLiteral("--") << QStringLiteral("sh") << QStringLiteral("-c") << script;
        process.start(QStringLiteral(XCU_BIN_DIR "/virtual-xcu"), options);
    }
    ~Run() { process.kill(); }

    int exitCode()
    {
        constexpr int limitMs = 60000;
        process.waitForFinished(limitMs);
        output += process.readAllStandardOutput();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    bool waitForOutput(const QByteArray& text)
    {
        const QDeadlineTimer limit(30000);
        while (!output.contains(text) && !limit.hasExpired() && process.waitForReadyRead()) {
            output += process.readAllStandardOutput();
        }
        return output.contains(text);
    }

    QProcess process;
    QByteArray output;
};

// For scripts: the only port there is, and a ping with value 5.
const QString port = QStringLiteral("/dev/$(ls /sys/class/tty)");
const QString ping = QStringLiteral("printf '\\004\\000\\000\\000\\072\\002\\010\\005'");

} // namespace

class TestVirtualXcu : public QObject
{
    Q_OBJECT

private slots:
    void endsLikeItsProgram_data();
    void endsLikeItsProgram();
    void refusesWrongOptions_data();
    void refusesWrongOptions();
    void passesSignalsOn();
    void answersAProgramAndCounts();
    void followsLineCommands();
    void pullsTheCableOnSchedule();
    void readsOptions();
    void readsLines_data();
    void readsLines();
};

void TestVirtualXcu::endsLikeItsProgram_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("success") << "test -n \"$UMOCKDEV_DIR\"" << 0;
    QTest::newRow("failure") << "exit 7" << 7;
    QTest::newRow("signal") << "kill -TERM $$" << 128 + SIGTERM;
    QTest::newRow("input is its own") << "read line; test \"$line\" = hello" << 0;
}

void TestVirtualXcu::endsLikeItsProgram()
{
    QFETCH(QString, script);
    Run run({}, script);
    run.process.write("hello\n");
    QTEST(run.exitCode(), "exitCode");
}

void TestVirtualXcu::refusesWrongOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("unknown") << QStringList{"--such"} << 2;
    QTest::newRow("no number") << QStringList{"--drop", "x", "true"} << 2;
    QTest::newRow("out of range") << QStringList{"--channels", "129", "true"} << 2;
    QTest::newRow("no rate") << QStringList{"--frames-per-second", "-1", "true"} << 2;
    QTest::newRow("no map") << QStringList{"--map-size", "0x4", "true"} << 2;
    QTest::newRow("no commands") << QStringList{"--commands", "/such", "true"} << 2;
    QTest::newRow("no program") << QStringList{"/such"} << 127;
    QTest::newRow("options of the program") << QStringList{"true", "--such"} << 0;
    QTest::newRow("help") << QStringList{"--help"} << 0;
}

void TestVirtualXcu::refusesWrongOptions()
{
    QFETCH(QStringList, arguments);
    QProcess process;
    process.start(QStringLiteral(XCU_BIN_DIR "/virtual-xcu"), arguments);
    QVERIFY(process.waitForFinished());
    QTEST(process.exitCode(), "exitCode");
}

void TestVirtualXcu::passesSignalsOn()
{
    Run run(
        {}, QStringLiteral("trap 'echo told; exit 3' TERM; echo ready; while :; do read x; done"));
    QVERIFY(run.waitForOutput("ready"));
    run.process.terminate();
    QVERIFY(run.waitForOutput("told"));
    QCOMPARE(run.exitCode(), 3);
}

void TestVirtualXcu::answersAProgramAndCounts()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("stats"));
    Run run(
        {"--serial", "BENCH 9", "--stats", path},
        QStringLiteral("exec 3<>%1; %2 >&3; head -c 10 <&3 | od -An -tx1").arg(port, ping));
    QCOMPARE(run.exitCode(), 0);
    QCOMPARE(run.output.simplified(), QByteArray("06 00 00 00 08 01 22 02 08 05"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(
        QString(file.readAll()),
        "BENCH 9: received ping 1\nBENCH 9: commands received 1\n"
        "BENCH 9: broken payloads received 0\nBENCH 9: responses sent 1\n"
        "BENCH 9: records sent 0\nBENCH 9: frames sent 0\nBENCH 9: bytes in 8\n"
        "BENCH 9: bytes out 10\n");
}

void TestVirtualXcu::followsLineCommands()
{
    const QTemporaryDir directory;
    const QByteArray pipe = QFile::encodeName(directory.filePath(QStringLiteral("pipe")));
    QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
    Run run(
        {"--commands", pipe, "--controllers", "2", "--bootloader-after", "1"},
        QStringLiteral("while read x; do echo $(cat /sys/bus/usb/devices/*/idProduct).; done"));
    const auto bus = [&] {
        run.output.clear();
        run.process.write("look\n");
        return run.waitForOutput(".\n") ? run.output : QByteArray("nothing");
    };
    const auto command = [&](const QByteArray& lines) {
        QFile file(pipe);
        return file.open(QIODevice::WriteOnly) && file.write(lines) == lines.size();
    };
    QTRY_COMPARE(bus(), QByteArray("eeefeeef.\n")); // by the option
    QVERIFY(command("device\n"));
    QTRY_COMPARE(bus(), QByteArray("eef0eef0.\n"));
    QVERIFY(command("nonsense\n1 unplug\n"));
    QTRY_COMPARE(bus(), QByteArray("eef0.\n"));
    QVERIFY(command("wait 1\n2 bootloader\n"));
    QTRY_COMPARE(bus(), QByteArray("eeef.\n"));
    QVERIFY(command("plug\n"));
    QTRY_COMPARE(bus(), QByteArray("eef0eeef.\n"));
    QVERIFY(command("quit\n"));
    QCOMPARE(run.exitCode(), 128 + SIGTERM);

    Run interactive({"--interactive"}, QStringLiteral("exec sleep 100"));
    interactive.process.write("wait 1\nquit"); // the last line may lack its end
    interactive.process.closeWriteChannel();
    QCOMPARE(interactive.exitCode(), 128 + SIGTERM);
}

void TestVirtualXcu::pullsTheCableOnSchedule()
{
    Run run(
        {"--unplug-after", "60", "--replug-after", "60"},
        QStringLiteral("there() { ls /sys/class/tty/tty* >/dev/null 2>&1; }; for i in 1 2 3; do "
                       "while there; do :; done; until there; do :; done; done"));
    QCOMPARE(run.exitCode(), 0);
}

void TestVirtualXcu::readsOptions()
{
    const ParsedCommandLine line = parseCommandLine(
        {"virtual-xcu",
         "--serial",
         "A",
         "--controllers",
         "2",
         "--seed",
         "9",
         "--bootloader",
         "--records-per-second",
         "flood",
         "--start-time",
         "4294967295",
         "--maps",
         "5",
         "--map-size",
         "3x70",
         "--faults",
         "4",
         "--split",
         "--delay",
         "5",
         "P",
         "-x",
         "--",
         "y"});
    QVERIFY2(line.error.isEmpty(), qPrintable(line.error));
    const std::vector<ControllerOptions>& units = line.options.controllers;
    QCOMPARE(units.size(), std::size_t(2));
    QCOMPARE(units[0].serialNumber, "A");
    QCOMPARE(units[1].serialNumber, "XCU0002");
    QCOMPARE(units[1].seed, 10U);
    QCOMPARE(units[1].guise, Guise::Bootloader);
    QVERIFY(std::isinf(units[1].recordsPerSecond));
    QCOMPARE(units[1].startTimeMs, 4294967295U);
    QCOMPARE(units[1].maps.size(), std::size_t(5));
    QCOMPARE(units[1].maps[4].rows, 70U);
    QCOMPARE(units[1].faults.size(), std::size_t(4));
    QVERIFY(units[1].trouble.split);
    QCOMPARE(units[1].trouble.delayMs, 5);
    QCOMPARE(line.options.program, QStringList({"P", "-x", "--", "y"}));
}

void TestVirtualXcu::readsLines_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("understood");
    QTest::addColumn<quint64>("sent");
    const auto row = [](const char* line, bool understood, quint64 sent = 0) {
        QTest::newRow(line) << line << understood << sent;
    };
    row("", true);
    row("# a comment", true);
    row("3", false);
    row("0 record", false);
    row("2 record", false);
    row("1 record 3", true, 3);
    row("record -1", false);
    row("record 1 2", false);
    row("frame", true, 1);
    row("frame 1 0x1fffffff 0102 extended fd brs", true, 1);
    row("frame 1 0x12", false);
    row("frame 1 2 aa brs brx", false);
    row("fault add 1 2 3 4 5", true);
    row("fault add 1 2 3 4", false);
    row("fault clear 1", false);
    row("trouble drop 2", true);
    row("trouble none", true);
    row("trouble none 1", false);
    row("trouble luck 1", false);
    row("rate records flood", true);
    row("rate records", false);
    row("rate values 3", false);
    row("plug now", false);
    row("reset", true);
}

void TestVirtualXcu::readsLines()
{
    QFETCH(QString, line);
    QFETCH(bool, understood);
    QFETCH(quint64, sent);
    Testbed testbed;
    ControllerUnit unit(testbed, {});
    LineCommands commands({&unit});
    QCOMPARE(commands.execute(line).isEmpty(), understood);
    QCOMPARE(unit.controller.responsesSent(), sent);
}

QTEST_GUILESS_MAIN(TestVirtualXcu)
#include "tst_virtualxcu.moc"
