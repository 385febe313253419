// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/programrun.h"

// The workbench as it is shipped.
class TestWorkbenchJob : public QObject
{
    Q_OBJECT

private slots:
    void scriptOfTheMainJob();
    void consoleAndWorkbenchNeverShareAPort_data();
    void consoleAndWorkbenchNeverShareAPort();
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

void TestWorkbenchJob::consoleAndWorkbenchNeverShareAPort_data()
{
    QTest::addColumn<QStringList>("programs"); // the first one gets the port
    QTest::newRow("console first") << QStringList{"datalogger", "tuning-workbench"};
    QTest::newRow("workbench first") << QStringList{"tuning-workbench", "datalogger"};
}

void TestWorkbenchJob::consoleAndWorkbenchNeverShareAPort()
{
    QFETCH(QStringList, programs);
    ProgramRun run;
    const auto connect = [&](const QString& program, const QString& expected, const QString& last) {
        const bool isConsole = program == "datalogger";
        QFile file(run.home.root().filePath(program + ".drive"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QTextStream(&file) << (isConsole ? "wait xcuSerialNumber currentText XCU\n"
                                           "click pushButton_2\n"
                                         : "menu menuConnection 0\n")
                           << "wait " << (isConsole ? "statusBar" : "statusbar") << " message \""
                           << expected << "\"\n"
                           << last.arg(isConsole ? "DataLoggerApp" : "MainWindow");
    };
    connect(programs[0], ".", "wait %1 windowTitle never\n");
    connect(programs[1], "Failed to connect", "close %1\n");
    const QString both =
        QStringLiteral("XCU_DRIVE_SCRIPT=%1.drive %3/%1 >one & until grep -q '>>X' one; do "
                       "sleep 0.1; done; XCU_DRIVE_SCRIPT=%2.drive %3/%2 >two; code=$?; kill $!; "
                       "exit $code")
            .arg(programs[0], programs[1], XCU_BIN_DIR);
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_PLUGIN_PATH", XCU_BIN_DIR "/../plugins");
    environment.insert("QT_QPA_GENERIC_PLUGINS", "xcudrive");
    process.setProcessEnvironment(environment);
    process.start(XCU_BIN_DIR "/virtual-xcu", {"--", "sh", "-c", both});
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(!run.contents(run.home.root().filePath("two")).contains(">>X"));
}

QTEST_GUILESS_MAIN(TestWorkbenchJob)

#include "tst_workbenchjob.moc"
