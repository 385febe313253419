// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/programrun.h"

// The workbench as it is shipped.
class TestWorkbenchJob : public QObject
{
    Q_OBJECT

private slots:
    void scriptOfTheMainJob();
    void noTwoProgramsShareAPort_data();
    void noTwoProgramsShareAPort();
};

void TestWorkbenchJob::scriptOfTheMainJob()
{
    ProgramRun run;
    const QByteArray script = run.contents(XCU_SCRIPT_DIR "/drive/tuning-workbench.txt");
    QCOMPARE(run.run({}, "tuning-workbench", QString::fromUtf8(script).split('\n')), 0);
    // A map of 16 by 12 is loaded twice, one cell typed, nine stepped three times and nine pasted.
    QCOMPARE(run.count("received map_tuner_get_map"), 2);
    QCOMPARE(run.count("received map_tuner_set_map_label"), 2 * (16 + 12));
    QCOMPARE(run.count("received map_tuner_set_map_value"), 2 * 16 * 12 + 1 + 3 * 9 + 9);
    QVERIFY(run.count("records sent") > 20);
    const QByteArray again = run.output.mid(run.output.lastIndexOf("Received map data: x: 16"));
    QVERIFY(again.contains("\nv[0, 0] = 777\n"));
    for (const char* picture : {"values.png", "plot.png", "map.png", "map-again.png"}) {
        QVERIFY2(QFile::exists(run.home.root().filePath(picture)), picture);
    }
}

void TestWorkbenchJob::noTwoProgramsShareAPort_data()
{
    QTest::addColumn<QStringList>("programs"); // the first one gets the port
    QTest::newRow("consoles") << QStringList{"datalogger", "datalogger"};
    QTest::newRow("console first") << QStringList{"datalogger", "tuning-workbench"};
    QTest::newRow("workbench first") << QStringList{"tuning-workbench", "datalogger"};
}

void TestWorkbenchJob::noTwoProgramsShareAPort()
{
    QFETCH(QStringList, programs);
    ProgramRun run;
    const auto connect = [&](int index, const QString& expected, const QString& last) {
        const bool isConsole = programs[index] == "datalogger";
        QStringList script{"menu menuConnection 0"};
        if (isConsole) {
            script = QStringList{"wait xcuSerialNumber currentText XCU", "click pushButton_2"};
        }
        script << QStringLiteral("wait %1 message \"%2\"")
                      .arg(isConsole ? "statusBar" : "statusbar", expected);
        script << last.arg(isConsole ? "DataLoggerApp" : "MainWindow");
        run.write(QString::number(index), script);
    };
    connect(0, ".", "wait %1 windowTitle never");
    connect(1, "Failed to connect", "close %1");
    const QString both =
        QStringLiteral("XCU_DRIVE_SCRIPT=0 %3/%1 >one & until grep -q '>>X' one; do "
                       "sleep 0.1; done; XCU_DRIVE_SCRIPT=1 %3/%2 >two; code=$?; kill $!; "
                       "exit $code")
            .arg(programs[0], programs[1], XCU_BIN_DIR);
    QCOMPARE(run.run({"--", "sh", "-c", both}), 0);
    QVERIFY(!run.contents(run.home.root().filePath("two")).contains(">>X"));
}

QTEST_GUILESS_MAIN(TestWorkbenchJob)

#include "tst_workbenchjob.moc"
