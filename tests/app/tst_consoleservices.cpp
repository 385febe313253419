// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/connectedconsole.h"

class ConsoleServicesTest : public QObject
{
    Q_OBJECT

private slots:
    void blockZeroIsBackedUpAndNamesChannels()
    {
        ConnectedConsole console;
        auto& blocks = console.controller.configuration();
        const QString backup = console.files("*.xcu").value(0);
        QVERIFY(backup.contains("/XCU0001/extLoggerBackup/"));
        QCOMPARE(contents(backup), QByteArray::fromStdString(blocks[0]));
        QVERIFY(QFile::remove(backup));
        xcu::ConfigData named;
        named.add_inputs()->set_logchannel(127);
        named.mutable_inputs(0)->set_name("Oil pressure");
        console.window.readConfiguration(0, 6, simulator::configurationBlock(named));
        console.window.readConfiguration(0, 0, std::string(4, '\xff'));
        console.window.readConfiguration(0, 0, std::string(3, '\0'));
        QVERIFY(console.files("*.xcu").isEmpty());
        // A length beyond the end: what came is kept.
        console.window.readConfiguration(0, 0, std::string("\x10\0\0\0\x0a", 5));
        QCOMPARE(contents(console.files("*.xcu").value(0)), QByteArray("\x10\0\0\0\x0a", 5));
        // The name reaches the strip, but neither graph nor settings.
        QCOMPARE(console.channelBox(127)->text(), "Oil pressure (ADC0)");
        QCOMPARE(console.plot()->graph(127)->name(), "data 128");
        QVERIFY(!console.keys().contains("ui/channels/127/label"));
    }

    void autostartNeedsBothBlocks()
    {
        ConnectedConsole console;
        const QMap<QList<int>, int> startsOf = {
            {{0, 6}, 1}, {{6, 0}, 1}, {{0, 0, 5}, 0}, {{0, 6, 9}, 2}};
        for (const QList<int>& blocks : startsOf.keys()) {
            ConsoleRig fresh;
            fresh.click("autostart");
            QCOMPARE(console.stored("ui/autostart").toInt(), 2);
            QSignalSpy log(&fresh.window, SIGNAL(addLog(QString)));
            for (const int block : blocks) {
                fresh.window.readConfiguration(0, block, std::string(4, '\xff'));
            }
            fresh.click("autostart");
            fresh.window.readConfiguration(0, 0, "");
            QCOMPARE(log.count(), startsOf[blocks]);
        }
        // The blocks of a reconnect each find the other's flag set, and each starts a session.
        console.click("autostart");
        console.click("pushButton_2");
        console.connect();
        QTRY_COMPARE(console.count(xcu::Command::kDataloggerStart), 2);
    }

    void everyFrameReachesTableAndFile()
    {
        ConnectedConsole console;
        xcu::CandumpFrame frame;
        frame.set_bus(1);
        frame.set_id(0x12);
        console.controller.pushFrame(frame); // no capture yet: into the table alone
        QTRY_COMPARE(console.status(), "Received can1 frame # 12");
        console.click("candump");
        QTRY_COMPARE(console.status(), "Candump started");
        frame.set_extended(true);
        console.controller.pushFrame(frame);
        QTRY_COMPARE(console.status(), "Received can1 frame # 12");
        QCOMPARE(inOpenWindow<QTableView>("CandumpWindow")->model()->rowCount(), 1);
        const QString file = console.files("*.candump").value(0);
        QVERIFY(file.contains("/XCU0001/extLoggerLogs/can-"));
        QCOMPARE(contents(file), "(0.000000) can1 00000012#\n");
        // Unchecking asks once more, and stops nothing.
        console.click("candump");
        QTRY_COMPARE(console.count(xcu::Command::kCandumpStart), 2);
        QCOMPARE(console.count(xcu::Command::kCandumpStop), 0);
    }

    void framesAreSentAsTyped()
    {
        ConnectedConsole console;
        console.child<QSpinBox>("canNetId")->setValue(3);
        console.child<QSpinBox>("canMsgId")->setValue(70000);        // more than the box takes
        console.child<QLineEdit>("canMsgData")->setText("0x1 23:4"); // digits pair from the end
        console.child<QComboBox>("canMsgType")->setCurrentIndex(1);
        console.click("canMsgSend");
        console.child<QLineEdit>("canMsgData")->setText("xyz");
        console.child<QComboBox>("canMsgType")->setCurrentIndex(0);
        console.child<QComboBox>("canMsgMode")->setCurrentIndex(1);
        console.click("canMsgSend");
        console.settle();
        QStringList sent;
        for (const xcu::Command& command : console.received) {
            sent << QString::fromStdString(command.can_send_message().ShortDebugString());
        }
        QVERIFY(sent.contains("data: \"\\000\\0224\" bus: 3 id: 65535 extended: true"));
        QCOMPARE(sent.last(), "bus: 3 id: 65535 fd: true");
    }

    void calibrationIsOneCommand()
    {
        ConnectedConsole console;
        console.click("calibrationStart");
        QTRY_COMPARE(console.status(), "Adptation start response");
        xcu::Response status;
        for (const int value : {1, 0, 1, 7}) { // an unknown status counts as idle
            status.mutable_driver_calibration_status()->set_status(xcu::AdaptationStatus(value));
            console.controller.send(status);
            QTRY_COMPARE(console.status(), value == 1 ? "Adptation Busy" : "Adptation Idle");
        }
        QCOMPARE(console.count(xcu::Command::kDriverCalibrationStart), 1);
        QCOMPARE(console.count(xcu::Command::kDriverCalibrationStatus), 0);
    }

    void faultsAreCountedByPollingAndListedOnDemand()
    {
        ConnectedConsole console;
        console.controller.faults().push_back(xcu::FaultItem());
        console.click("faultStatus");  // the window alone
        console.click("startLogging"); // polls from the start on
        QTRY_COMPARE(console.text("faultStatus"), "Faults: 1/0");
        QCOMPARE(console.count(xcu::Command::kFaultGetFaults), 0);
        inOpenWindow<QPushButton>("FaultsDisplay")->click();
        const auto* table = inOpenWindow<QTableWidget>("FaultsDisplay");
        QTRY_COMPARE(table->rowCount(), 1);

        // Each list replaces the one before.
        const auto listed = [&](std::vector<FaultItemData> items) {
            console.window.faultGetFaultsResp(std::move(items));
            QString rows;
            for (int i = 0; i < table->rowCount() * table->columnCount(); ++i) {
                const auto* item = table->item(i / table->columnCount(), i % table->columnCount());
                rows += (item != nullptr ? item->text() : "never written") + '|';
            }
            return rows;
        };
        QCOMPARE(listed({}), "");
        QCOMPARE(table->horizontalHeaderItem(3)->text(), "Fault ID");
        // In an item the component stands before the fault number, in the table behind it.
        QCOMPARE(
            listed(
                {{1, 1, 65535, 7, 12},
                 {2, 2, 1, 2, 3},
                 {255, 3, 1, 2, 3},
                 {0, 4, 0, 0, 0},
                 {1, 5, 1, 2, 3}}),
            "Warning|Intermitten|65535|12|7||Fault|Continuous|1|3|2||Fault|RunFault|1|3|2||"
            "Fault|Inactive|0|0|0||Warning|never written|1|3|2||");
        // A mode without a name leaves what stood there before, but not in a row that was gone.
        QCOMPARE(listed({{0, 0, 9, 8, 7}}), "Fault|Intermitten|9|7|8||");
        QCOMPARE(listed({}), "");
        QCOMPARE(listed({{0, 9, 9, 8, 7}}), "Fault|never written|9|7|8||");
    }
};

QTEST_MAIN(ConsoleServicesTest)
#include "tst_consoleservices.moc"
