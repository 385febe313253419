// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/connectedconsole.h"

class ConsoleSessionTest : public QObject
{
    Q_OBJECT

private:
    static QString log(ConsoleHome& home) { return contents(home.files("*.log").value(0)); }

private slots:
    void connectingPreparesFoldersAndReadsTheConfiguration()
    {
        ConsoleHome home;
        simulator::ControllerOptions options;
        options.serialNumber = "XCU0007";
        options.mode = simulator::Mode::Bootloader;
        PortRig rig(options);
        ConsoleRig console;
        auto* list = console.child<QComboBox>("xcuSerialNumber");
        console.click("pushButton_2");
        QCOMPARE(console.status(), "Failed to connect");
        emit console.window.pongReceived(5); // there is no clock before the first connection
        QCOMPARE(console.status(), "ReceivedPong 5 after 0 ms");
        rig.port.plug();
        QTRY_COMPARE(list->currentText(), "XCU0007"); // a bootloader by its bare number
        console.click("pushButton_2");
        QCOMPARE(console.status(), "Connected");
        // A unit that restarts is gone, and what comes back is not connected by itself.
        rig.port.restartIn(simulator::Mode::Device);
        QTRY_COMPARE(console.text("pushButton_2"), "Connect");
        QTRY_COMPARE(list->currentText(), "XCU0007 XCU");
        QCOMPARE(console.status(), "Disconnected");
        rig.received.clear();
        console.click("pushButton_2");
        QTRY_COMPARE(rig.count(xcu::Command::kReadConfiguration), 2);
        QCOMPARE(rig.received[0].read_configuration().config_id(), 0U);
        QCOMPARE(rig.received[1].read_configuration().config_id(), 6U);
        const QDir folder = home.controllerFolder("XCU0007");
        QVERIFY(folder.exists("extLoggerBackup") && folder.exists("extLoggerLogs"));
        QCOMPARE(folder.count(), 4U); // with "." and ".."
        console.click("pushButton_2");
        QStatusTipEvent menuEntryWithoutTip{QString()};
        QCoreApplication::sendEvent(&console.window, &menuEntryWithoutTip);
        QCOMPARE(console.status(), "Disconnected");
        QTRY_VERIFY(!rig.port.isInUse());
        QCOMPARE(rig.received.size(), std::size_t(2)); // nothing else was sent
    }

    void noSerialNumberLeadsOutOfTheConsolesFolder()
    {
        const QMap<QString, QString> folders = {
            {"", "no serial number"},   {".", "no serial number"}, {"..", "__"},
            {"../../out", "______out"}, {"/tmp/out", "_tmp_out"},
        };
        for (const QString& serialNumber : folders.keys()) {
            ConnectedConsole console(serialNumber);
            console.window.loggerStarted();
            const QDir folder = console.controllerFolder(folders[serialNumber]);
            QCOMPARE(
                QFileInfo(console.files("*.log").value(0)).path(),
                folder.filePath("extLoggerLogs"));
        }
    }

    void theSelectedOneOfTwoIsOpened()
    {
        ConsoleHome home;
        PortRig rig;
        simulator::ControllerOptions options;
        options.serialNumber = "XCU0002";
        simulator::MockedPort chosen(rig.testbed, options);
        rig.port.plug();
        chosen.plug();
        ConsoleRig console;
        auto* list = console.child<QComboBox>("xcuSerialNumber");
        QTRY_COMPARE(list->count(), 2);
        const int index = list->findText("XCU0002 XCU");
        list->setCurrentIndex(index);
        const quint64 before = chosen.controller().responsesSent();
        // An unchanged list leaves the selection alone.
        QMetaObject::invokeMethod(&console.window, "refreshPorts");
        QCOMPARE(list->currentIndex(), index);
        console.click("pushButton_2");
        QTRY_COMPARE(chosen.controller().responsesSent(), before + 2);
        QCOMPARE(rig.count(xcu::Command::kReadConfiguration), 0);
        // The other cable: the list is made anew, the connection stays.
        rig.port.unplug();
        QTRY_COMPARE(list->count(), 1);
        QCOMPARE(list->currentText(), "XCU0002 XCU");
        rig.port.plug();
        QTRY_COMPARE(list->count(), 2);
        QCOMPARE(list->currentIndex(), 0);
        QCOMPARE(console.text("pushButton_2"), "Disconnect");
    }

    void aSessionWritesItsLog()
    {
        ConnectedConsole console;
        console.child<QComboBox>("channelCount")->setCurrentIndex(0);
        console.channelBox(0)->click(); // the strip plays no part
        console.click("passiveDatalogger");
        console.click("startLogging");
        QCOMPARE(console.status(), "Sent start request");
        QTRY_COMPARE(console.status(), "Received logger started");
        QTest::keyClick(&console.window, Qt::Key_H); // before the first record
        QTRY_VERIFY(log(console).endsWith("\n$;-1;Hard shift\n"));
        console.record(4294967295); // unsigned in a record, signed in a tag
        console.window.addTag("-1");
        console.record(1500);
        console.slider(12)->setValue(2000); // more than it takes
        console.slider(12)->setValue(1024); // is there already
        QCOMPARE(console.status(), "Set VI 11 to 1024");
        QTRY_COMPARE(console.controller.logger().value(31, 0), 1024);
        console.click("stopLogging");
        QTRY_COMPARE(console.count(xcu::Command::kDataloggerStop), 1);
        console.record(2500); // still on its way, and the file is open

        const QString written = log(console);
        const QStringList lines = written.split('\n');
        QCOMPARE(lines[0].count(';'), 130);
        QVERIFY(lines[0].count(";x;") < 100); // the configuration came first
        QStringList rows;
        for (const QString& row : lines.mid(1)) {
            QVERIFY(row.count(';') == 34 || row.startsWith('$') || row.isEmpty());
            rows << (row.startsWith('$') ? row : row.section(';', 0, 1));
        }
        QCOMPARE(
            rows.join('|'), "$;-1;Hard shift|0;4294967295|$;-1;-1|1;1500|$;1500;VI11=1024|2;2500|");
        console.click("pushButton_2");
        console.window.loggerDataReceived(3, 3000, {1}); // the line is lost, the point is not
        console.window.addTag("lost");
        QCOMPARE(log(console), written);
        QCOMPARE(console.plot()->graph(0)->dataCount(), 4);
    }

    // Each confirmed start adds timers, and only the newest can be stopped. Users live with it.
    void startsStackTheirTimers()
    {
        ConnectedConsole console;
        console.click("stopLogging"); // before any session: sent all the same
        console.child<QSpinBox>("refreshRate")->setValue(2);
        console.click("startLogging");
        console.click("startLogging");
        QTRY_COMPARE(console.timers(), 4);
        console.click("stopLogging");
        console.click("stopLogging");
        QCOMPARE(console.timers(), 3);
        QTRY_COMPARE(console.count(xcu::Command::kDataloggerStop), 3);
        // A disconnect stops no timer: the new link is polled without a start.
        console.click("pushButton_2");
        console.connect();
        console.received.clear();
        QTRY_VERIFY(console.count(xcu::Command::kDataloggerData) > 5);
        QTRY_VERIFY(console.count(xcu::Command::kFaultGetFaultCount) > 1);
        QCOMPARE(console.count(xcu::Command::kDataloggerStart), 0);
    }

    void aPassiveSessionAsksForNothing()
    {
        ConnectedConsole console;
        console.click("passiveDatalogger");
        console.click("startLogging");
        QTRY_VERIFY(console.count(xcu::Command::kFaultGetFaultCount) > 1);
        QCOMPARE(console.timers(), 1); // of the faults
        QCOMPARE(console.count(xcu::Command::kDataloggerData), 0);
        QVERIFY(console.controller.logger().isPassive());
        QVERIFY(log(console).startsWith("#;timestamp;"));
        // The box is read once more when the answer comes. A passive start leaves a request timer
        // that runs alone, and Stop finds it.
        console.click("passiveDatalogger");
        console.window.loggerStarted();
        console.click("passiveDatalogger");
        console.window.loggerStarted();
        QCOMPARE(console.timers(), 4);
        console.click("stopLogging");
        QCOMPARE(console.timers(), 3);
        // Of two sessions in one second the later one takes the file over.
        QCOMPARE(log(console).count("#;timestamp;"), 1);
    }

    // Records are asked for and written while a log is read, until the cable is pulled.
    void aSessionGoesOnWhileALogIsRead()
    {
        ConnectedConsole console;
        console.child<QSpinBox>("refreshRate")->setValue(1);
        console.click("startLogging");
        QTRY_COMPARE(console.timers(), 2);
        QByteArray opened = "#;timestamp;" + QByteArray(128, ';') + '\n';
        for (int i = 0; i < 20'000; ++i) {
            opened += "1;" + QByteArray::number(i) + QByteArray(";7").repeated(128) + ";\n";
        }
        const QString path = console.write("a.log", opened + "$;1;the end\n");
        int before = std::numeric_limits<int>::max() - 10; // unless it runs in the midst
        console.open(path, [&] { before = log(console).count('\n'); });
        QVERIFY(log(console).count('\n') > before + 10);
        QVERIFY(log(console).contains("$;1;the end\n"));
        QCOMPARE(console.plot()->graph(127)->dataMainValue(0), 7.0);

        console.open(path, [&] {
            console.port.unplug();
            while (console.text("pushButton_2") == "Disconnect") {
                QMetaObject::invokeMethod(&console.window, "refreshPorts");
            }
        });
        QCOMPARE(log(console).count("the end"), 1); // the log was closed before
        QCOMPARE(console.status(), "Disconnected");
        QTRY_VERIFY(!console.port.isInUse());
    }
};

QTEST_MAIN(ConsoleSessionTest)
#include "tst_consolesession.moc"
