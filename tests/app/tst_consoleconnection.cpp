// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/consolerig.h"
#include "support/portrig.h"

namespace {

simulator::ControllerOptions unit(const QString& serialNumber)
{
    simulator::ControllerOptions options;
    options.serialNumber = serialNumber;
    return options;
}

} // namespace

class ConsoleConnectionTest : public QObject
{
    Q_OBJECT

private slots:
    void connectingPreparesFoldersAndReadsTheConfiguration()
    {
        ConsoleHome home;
        simulator::ControllerOptions options = unit("XCU0007");
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
        QCOMPARE(received.size(), std::size_t(2)); // nothing else was sent
    }

    void noSerialNumberLeadsOutOfTheConsolesFolder()
    {
        const QMap<QString, QString> folders = {
            {"", "no serial number"},   {".", "no serial number"}, {"..", "__"},
            {"../../out", "______out"}, {"/tmp/out", "_tmp_out"},
        };
        for (const QString& serialNumber : folders.keys()) {
            ConsoleHome home;
            PortRig rig(unit(serialNumber));
            rig.port.plug();
            ConsoleRig console;
            QTRY_COMPARE(console.child<QComboBox>("xcuSerialNumber")->count(), 1);
            console.click("pushButton_2");
            console.window.loggerStarted();
            const QDir folder = home.controllerFolder(folders[serialNumber]);
            QCOMPARE(
                QFileInfo(home.files("*.log").value(0)).dir().path(),
                folder.filePath("extLoggerLogs"));
        }
    }

    void theSelectedOneOfTwoIsOpened()
    {
        ConsoleHome home;
        PortRig rig;
        simulator::MockedPort chosen(rig.testbed, unit("XCU0002"));
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
};

QTEST_MAIN(ConsoleConnectionTest)
#include "tst_consoleconnection.moc"
