// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/programrun.h"

// The console as it is shipped, from the cable to its files.
class TestMainJob : public QObject
{
    Q_OBJECT

private slots:
    void aDriveIsOnDisk();
    void aPulledCableEndsTheSession();
};

namespace {

// Lines of records, and how many of them do not carry on where the one before ended.
struct Records
{
    int lines = 0;
    int gaps = 0;
    int misshaped = 0;
};

Records records(const QList<QByteArray>& lines, int fields)
{
    Records found;
    for (const QByteArray& line : lines) {
        if (line.startsWith('#') || line.startsWith('$') || line.isEmpty()) {
            continue;
        }
        const QList<QByteArray> parts = line.split(';');
        found.misshaped += parts.size() != fields + 1 || !parts.last().isEmpty() ? 1 : 0;
        found.gaps += parts[0].toInt() != found.lines ? 1 : 0;
        ++found.lines;
    }
    return found;
}

const QStringList Connect = {
    "wait xcuSerialNumber currentText XCU",
    "click pushButton_2",
    "wait pushButton_2 text Disconnect",
};

} // namespace

void TestMainJob::aDriveIsOnDisk()
{
    ProgramRun run;
    const QStringList script = Connect + QStringList{
                                             "pause 300",
                                             "set channelCount currentIndex 3",
                                             "set refreshRate value 5",
                                             "click startLogging",
                                             "wait statusBar message \"Received logger data\"",
                                             "pause 500",
                                             "key H DataLoggerApp",
                                             "click candump",
                                             "pause 1000",
                                             "click stopLogging",
                                             "pause 300",
                                             "click pushButton_2",
                                             "wait statusBar message Disconnected",
                                             "close DataLoggerApp",
                                         };
    QCOMPARE(run.run({"--frames-per-second", "500"}, "datalogger", script), 0);

    const QStringList logs = run.files("*.log");
    QCOMPARE(logs.size(), 1);
    QVERIFY(logs[0].contains("Documents/Corvane Motion Systems/XCU0001/extLoggerLogs/"));
    const QByteArray log = run.contents(logs[0]);
    const QList<QByteArray> lines = log.split('\n');
    QVERIFY(lines[0].startsWith("#;timestamp;Oil pressure (ADC3);"));
    QCOMPARE(lines[0].count(';'), 130);
    const Records written = records(lines, 130);
    QVERIFY(written.lines > 50);
    QCOMPARE(written.gaps, 0);
    QCOMPARE(written.misshaped, 0);
    QCOMPARE(qint64(written.lines), run.count("records sent"));
    QCOMPARE(run.count("received datalogger_data"), run.count("records sent"));
    const QRegularExpression tag("\n\\$;\\d+;Hard shift\n");
    QCOMPARE(QString::fromUtf8(log).count(tag), 1);

    const QStringList captures = run.files("can-*.candump");
    QCOMPARE(captures.size(), 1);
    const QByteArray capture = run.contents(captures[0]);
    QVERIFY(capture.count('\n') > 100);
    // Frames go on until the port closes: a few of the last are still on the line.
    const qint64 onTheLine = run.count("frames sent") - capture.count('\n');
    QVERIFY2(onTheLine >= 0 && onTheLine < 20, qPrintable(QString::number(onTheLine)));

    QCOMPARE(run.files("*.xcu").size(), 1);
    QCOMPARE(run.count("received read_configuration"), 2);
    QVERIFY(run.output.contains("<<==>>X\n"));
    QVERIFY(run.output.contains("\nkLoggerStarted\n"));
}

void TestMainJob::aPulledCableEndsTheSession()
{
    ProgramRun run;
    const QStringList script =
        Connect +
        QStringList{
            "set refreshRate value 20",
            "click startLogging",
            "wait statusBar message \"Received logger data\"",
            "wait statusBar message Disconnected", // the cable goes by itself
            "wait pushButton_2 text ^Connect$",
            "wait xcuSerialNumber currentText XCU", // and comes back
            "click pushButton_2",
            "wait statusBar message \"Received logger data\"", // the old timer polls the new link
            "close DataLoggerApp",
        };
    QCOMPARE(run.run({"--unplug-after", "3000", "--replug-after", "700"}, "datalogger", script), 0);
    const QStringList logs = run.files("*.log");
    QCOMPARE(logs.size(), 1);
    const QByteArray log = run.contents(logs[0]);
    QVERIFY(log.endsWith(";\n"));
    QVERIFY(records(log.split('\n'), 66).lines > 10);
}

QTEST_GUILESS_MAIN(TestMainJob)

#include "tst_mainjob.moc"
