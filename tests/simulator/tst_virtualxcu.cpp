// SPDX-License-Identifier: GPL-3.0-or-later

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
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

} // namespace

class TestVirtualXcu : public QObject
{
    Q_OBJECT

private slots:
    void endsLikeItsProgram()
    {
        const std::pair<const char*, int> rows[] = {
            {"exit 7", 7},
            {"kill -TERM $$", 128 + SIGTERM},
            {"read line; test \"$line\" = hello", 0}, // the input is the program's own
        };
        for (const auto& [script, exitCode] : rows) {
            Run run({}, script);
            run.process.write("hello\n");
            QCOMPARE(run.exitCode(), exitCode);
        }
    }

    void refusesWrongOptions()
    {
        const std::pair<QStringList, int> rows[] = {
            {{"--such"}, 2},
            {{"--drop", "x", "true"}, 2},
            {{"--channels", "129", "true"}, 2},
            {{"--frames-per-second", "-1", "true"}, 2},
            {{"--map-size", "0x4", "true"}, 2},
            {{"--commands", "/such", "true"}, 2},
            {{"/such"}, 127},
            {{"true", "--such"}, 0}, // an option of the program
        };
        for (const auto& [arguments, exitCode] : rows) {
            QCOMPARE(QProcess::execute(XCU_BIN_DIR "/virtual-xcu", arguments), exitCode);
        }
    }

    void passesSignalsOn()
    {
        Run run(
            {},
            QStringLiteral("trap 'echo told; exit 3' TERM; echo ready; while :; do read x; done"));
        QVERIFY(run.waitForOutput("ready"));
        run.process.terminate();
        QVERIFY(run.waitForOutput("told"));
        QCOMPARE(run.exitCode(), 3);
    }

    void followsLineCommands()
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
        QVERIFY(command("nonsense\n2 plug now\n3 unplug\n1 unplug\n"));
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
};

QTEST_GUILESS_MAIN(TestVirtualXcu)
#include "tst_virtualxcu.moc"
