// SPDX-License-Identifier: GPL-3.0-or-later
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <sys/stat.h>

namespace {

// virtual-xcu with these arguments.
class Run
{
public:
    explicit Run(const QStringList& arguments)
    {
        process.start(QStringLiteral(XCU_BIN_DIR "/virtual-xcu"), arguments);
    }
    ~Run() { process.kill(); }

    int exitCode()
    {
        process.waitForFinished(60000);
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

} // namespace

class TestVirtualXcu : public QObject
{
    Q_OBJECT

private slots:
    void exitCodes()
    {
        const std::pair<QStringList, int> rows[] = {
            {{"sh", "-c", "exit 7"}, 7},
            {{"sh", "-c", "kill -TERM $$"}, 128 + SIGTERM},
            {{"sh", "-c", "trap 'exit 3' TERM; kill -TERM $PPID; while :; do read x; done"}, 3},
            {{"sh", "-c", "read line; test \"$line\" = hello"}, 0}, // the input is the program's
            {{"true", "--such"}, 0},                                // and so is the option
            {{"--such", "true"}, 2},
            {{"--drop", "x", "true"}, 2},
            {{"--channels", "129", "true"}, 2},
            {{"--maps", "-1", "true"}, 2},
            {{"--frames-per-second", "-1", "true"}, 2},
            {{"--map-size", "0x4", "true"}, 2},
            {{"--commands", "/such", "true"}, 2},
            {{"/such"}, 127},
        };
        for (const auto& [arguments, exitCode] : rows) {
            Run run(arguments);
            run.process.write("hello\n");
            QCOMPARE(run.exitCode(), exitCode);
        }
    }

    void followsLineCommands()
    {
        const QTemporaryDir directory;
        const QByteArray pipe = QFile::encodeName(directory.filePath(QStringLiteral("pipe")));
        QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
        Run run(
            {"--commands", pipe, "--controllers", "2", "--bootloader-after", "1", "sh", "-c",
             "while read x; do echo $(cat /sys/bus/usb/devices/*/idProduct).; done"});
        const auto bus = [&] {
            run.output.clear();
            run.process.write("look\n");
            return run.waitForOutput(".\n") ? run.output : QByteArray("nothing");
        };
        const std::pair<const char*, const char*> rows[] = {
            {"", "eeefeeef.\n"}, // by the option
            {"device\n", "eef0eef0.\n"},
            {"nonsense\n2 plug now\n3 unplug\n1 unplug\n", "eef0.\n"},
            {"wait 1\n2 bootloader\n", "eeef.\n"},
            {"plug\n", "eef0eeef.\n"},
        };
        QFile commands(pipe);
        QVERIFY(commands.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
        for (const auto& [lines, expected] : rows) {
            commands.write(lines);
            QTRY_COMPARE(bus(), QByteArray(expected));
        }
        commands.write("quit\n");
        QCOMPARE(run.exitCode(), 128 + SIGTERM);

        Run interactive({"--interactive", "sleep", "100"});
        interactive.process.write("wait 1\nquit"); // the last line may lack its end
        interactive.process.closeWriteChannel();
        QCOMPARE(interactive.exitCode(), 128 + SIGTERM);
    }
};

QTEST_GUILESS_MAIN(TestVirtualXcu)
#include "tst_virtualxcu.moc"
