// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/consolerig.h"
#include "support/portrig.h"

#include <QLineEdit>
#include <QSpinBox>
#include <QTableView>
#include <QTableWidget>

// The smaller services of the console, each against a controller that is connected.
class ConsoleServicesTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<ConsoleHome> home;
    std::unique_ptr<PortRig> rig;
    std::unique_ptr<ConsoleRig> console;

    VirtualController& controller() { return rig->controller(); }

    template <typename Widget>
    static Widget* windowChild(const char* windowName)
    {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->objectName() == windowName && window->isVisible()) {
                return window->findChild<Widget*>();
            }
        }
        return nullptr;
    }

private slots:
    void init()
    {
        home = std::make_unique<ConsoleHome>();
        ControllerOptions options;
        options.framesPerSecond = 0;
        options.calibrationMs = 0;
        rig = std::make_unique<PortRig>(options);
        rig->plug();
        console = std::make_unique<ConsoleRig>();
        QTRY_COMPARE(console->child<QComboBox>("xcuSerialNumber")->count(), 1);
        console->click("pushButton_2");
        QTRY_COMPARE(home->files("*.xcu").size(), 1);
        QTRY_VERIFY(console->channelBox(39)->text() != "data 40"); // block 6 has come as well
    }

    void cleanup()
    {
        console.reset();
        rig.reset();
        home.reset();
    }

    void blockZeroIsBackedUpByteForByte()
    {
        const QString backup = home->files("*.xcu").first();
        QVERIFY(backup.contains("/XCU0001/extLoggerBackup/"));
        QCOMPARE(
            contents(backup), QByteArray::fromStdString(controller().configuration().block(0)));
        QVERIFY(QFile::remove(backup));
        console->window.readConfiguration(0, 6, controller().configuration().block(6));
        console->window.readConfiguration(0, 0, std::string(4, '\xff'));
        console->window.readConfiguration(0, 0, std::string(3, '\0'));
        QCOMPARE(home->files("*.xcu"), QStringList());
        // A length beyond the end: what came is kept.
        console->window.readConfiguration(0, 0, std::string("\x10\0\0\0\x0a", 5));
        QCOMPARE(contents(home->files("*.xcu").value(0)), QByteArray("\x10\0\0\0\x0a", 5));
    }

    void labelsReachStripAndLogButNoGraph()
    {
        xcu::ConfigData named;
        auto* input = named.add_inputs();
        input->set_name("Oil pressure");
        input->set_logchannel(127);
        input->set_type(xcu::Input::ADC);
        input->set_number(3);
        controller().configuration().setBlock(0, named);
        console->window.readConfiguration(0, 0, controller().configuration().block(0));
        QCOMPARE(console->channelBox(127)->text(), "Oil pressure (ADC3)");
        QCOMPARE(console->plot()->graph(127)->name(), "data 128");
        QVERIFY(!home->keys().contains("ui/channels/127/label"));
        console->window.loggerStarted();
        QVERIFY(contents(home->files("*.log").value(0)).endsWith(";x;Oil pressure (ADC3);\n"));
    }

    void autostartNeedsBothBlocks_data()
    {
        QTest::addColumn<QList<int>>("blocks");
        QTest::addColumn<int>("starts");
        QTest::newRow("in order") << QList<int>{0, 6} << 1;
        QTest::newRow("in reverse order") << QList<int>{6, 0} << 1;
        QTest::newRow("one twice") << QList<int>{0, 0, 5} << 0;
        QTest::newRow("any block starts again") << QList<int>{0, 6, 9} << 2;
    }

    void autostartNeedsBothBlocks()
    {
        QFETCH(QList<int>, blocks);
        ConsoleRig fresh;
        fresh.click("autostart");
        QSignalSpy log(&fresh.window, SIGNAL(addLog(QString)));
        for (const int block : blocks) {
            fresh.window.readConfiguration(0, block, std::string(4, '\xff'));
        }
        QTEST(log.count(), "starts");
    }

    void everyFrameReachesTableAndFile()
    {
        xcu::CandumpFrame frame;
        frame.set_bus(1);
        frame.set_timestamp(12345);
        frame.set_id(0x12);
        frame.set_data(std::string("\x01\x02\xaa", 3));
        controller().pushFrame(frame); // no capture yet: into the table alone
        QTRY_COMPARE(console->status(), "Received can1 frame # 12");
        QVERIFY(!windowChild<QTableView>("CandumpWindow"));

        console->click("candump");
        QTRY_COMPARE(console->status(), "Candump started");
        const auto* table = windowChild<QTableView>("CandumpWindow");
        QVERIFY(table);
        QCOMPARE(table->model()->rowCount(), 1);
        controller().pushFrame(frame);
        frame.set_fd(true);
        frame.set_brs(true);
        controller().pushFrame(frame);
        frame.set_id(0x18daf110);
        frame.set_extended(true);
        frame.set_fd(false);
        frame.clear_data();
        controller().pushFrame(frame);
        QTRY_COMPARE(console->status(), "Received can1 frame #18daf110");
        QCOMPARE(table->model()->rowCount(), 2);
        const QStringList files = home->files("*.candump");
        QCOMPARE(files.size(), 1);
        QVERIFY(files.first().contains("/XCU0001/extLoggerLogs/can-"));
        QCOMPARE(
            contents(files.first()), QByteArray("(12.345000) can1 012#0102aa\n"
                                                "(12.345000) can1 012##10102aa\n"
                                                "(12.345000) can1 18daf110#\n"));
        // Unchecking asks once more, and stops nothing.
        console->click("candump");
        QTRY_COMPARE(rig->count(xcu::Command::kCandumpStart), 2);
        QCOMPARE(rig->count(xcu::Command::kCandumpStop), 0);
    }

    void framesAreSentAsTyped_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("mode");
        QTest::newRow("digits") << "0102" << QByteArray("\x01\x02") << 0 << 0;
        QTest::newRow("blanks and colons") << "01 02:03" << QByteArray("\1\2\3") << 1 << 0;
        QTest::newRow("odd count pairs from the end") << "123" << QByteArray("\x01\x23") << 0 << 1;
        QTest::newRow("prefixes are digits") << "0x01" << QByteArray("\0\1", 2) << 1 << 1;
        QTest::newRow("nothing") << "xyz" << QByteArray() << 0 << 0;
    }

    void framesAreSentAsTyped()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        QFETCH(int, type);
        QFETCH(int, mode);
        console->child<QSpinBox>("canNetId")->setValue(3);
        console->child<QSpinBox>("canMsgId")->setValue(70000); // more than the box takes
        console->child<QLineEdit>("canMsgData")->setText(text);
        console->child<QComboBox>("canMsgType")->setCurrentIndex(type);
        console->child<QComboBox>("canMsgMode")->setCurrentIndex(mode);
        const QString status = console->status();
        console->click("canMsgSend");
        QTRY_COMPARE(rig->count(xcu::Command::kCanSendMessage), 1);
        const auto sent = controller().last(xcu::Command::kCanSendMessage)->can_send_message();
        QCOMPARE(QByteArray::fromStdString(sent.data()), bytes);
        QCOMPARE(sent.bus(), 3);
        QCOMPARE(sent.id(), 0xffffU);
        QCOMPARE(sent.extended(), type == 1);
        QCOMPARE(sent.fd(), mode == 1);
        QCOMPARE(console->status(), status);
    }

    void calibrationIsOneCommand()
    {
        console->click("calibrationStart");
        QTRY_COMPARE(console->status(), "Adptation start response");
        xcu::Response status;
        for (const int value : {1, 0, 1, 7}) { // an unknown status counts as idle
            status.mutable_driver_calibration_status()->set_status(
                static_cast<xcu::AdaptationStatus>(value));
            controller().send(status);
            QTRY_COMPARE(console->status(), value == 1 ? "Adptation Busy" : "Adptation Idle");
        }
        QCOMPARE(rig->count(xcu::Command::kDriverCalibrationStart), 1);
        QCOMPARE(rig->count(xcu::Command::kDriverCalibrationStatus), 0);
    }

    void faultsAreCountedByPollingAndListedOnDemand()
    {
        xcu::FaultItem fault;
        fault.set_category(7);
        controller().faults().add(fault);
        QCOMPARE(console->text("faultStatus"), "Faults: 0/0");
        console->click("faultStatus"); // the window alone
        auto* refresh = windowChild<QPushButton>("FaultsDisplay");
        QVERIFY(refresh);
        console->click("startLogging"); // polls from the start on
        QTRY_COMPARE(console->text("faultStatus"), "Faults: 1/0");
        QCOMPARE(rig->count(xcu::Command::kFaultGetFaults), 0);
        refresh->click();
        auto* list = windowChild<QTableWidget>("FaultsDisplay");
        QTRY_COMPARE(list->rowCount(), 1);
        QCOMPARE(list->item(0, 2)->text(), "7");
        console->window.faultGetFaultCountResp(-1, 3);
        QCOMPARE(console->text("faultStatus"), "Faults: -1/3");
    }
};

QTEST_MAIN(ConsoleServicesTest)
#include "tst_consoleservices.moc"
