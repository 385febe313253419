// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/consolerig.h"
#include "support/portrig.h"

namespace {

ControllerOptions unit(const QString& serialNumber)
{
    ControllerOptions options;
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
        PortRig rig(unit("XCU0007"));
        rig.plug();
        ConsoleRig console;
        QTRY_COMPARE(console.child<QComboBox>("xcuSerialNumber")->currentText(), "XCU0007 XCU");
        for (int round = 0; round < 2; ++round) {
            console.click("pushButton_2");
            QCOMPARE(console.text("pushButton_2"), "Disconnect");
            QCOMPARE(console.status(), "Connected");
            QTRY_COMPARE(rig.count(xcu::Command::kReadConfiguration), 2);
            const auto& received = rig.controller().received();
            QCOMPARE(received[0].read_configuration().config_id(), 0U);
            QCOMPARE(received[1].read_configuration().config_id(), 6U);
            QTRY_COMPARE(rig.controller().responsesSent(), quint64(2 * round + 2));
            QCOMPARE(
                home.controllerFolder("XCU0007").entryList(QDir::Dirs | QDir::NoDotAndDotDot),
                QStringList({"extLoggerBackup", "extLoggerLogs"}));
            QVERIFY(!home->controllerFolder("XCU0007").exists("extLoggerLogs/XCU0007"));

            console.click("pushButton_2");
            QCOMPARE(console.text("pushButton_2"), "Connect");
            QCOMPARE(console.status(), "Disconnected");
            QTRY_VERIFY(!rig.port().isInUse());
            QCOMPARE(received.size(), std::size_t(2)); // nothing else was sent
            rig.controller().clearReceived();
        }
    }

    // Nobody calls for this in the console, but whoever does must find it safe.
    void aPromptIsAnsweredByAPing()
    {
        PortRig rig(unit("XCU0007"));
        rig.plug();
        ConsoleRig console;
        emit console.window.pongReceived(5); // no clock before the first connection
        QCOMPARE(console.status(), "ReceivedPong 5 after 0 ms");
        QTRY_COMPARE(console.child<QComboBox>("xcuSerialNumber")->count(), 1);
        console.click("pushButton_2");
        emit console.window.pongReceived(0xFEDCBA00); // and none that runs after it
        QCOMPARE(console.status(), "ReceivedPong 4275878400 after 0 ms");
        QMetaObject::invokeMethod(&console.window, "on_promptReceived");
        QCOMPARE(console.status(), "ReceivedPrompt");
        QTRY_COMPARE(rig.count(xcu::Command::kPing), 1);
        QCOMPARE(rig.controller().last(xcu::Command::kPing)->ping().value(), 0xFEDCBA00);
    }

    void withoutAControllerItFails()
    {
        ConsoleHome home;
        ConsoleRig console;
        console.click("pushButton_2");
        QCOMPARE(console.status(), "Failed to connect");
        QCOMPARE(console.text("pushButton_2"), "Connect");
    }

    void theSelectedOneOfTwoIsOpened()
    {
        ConsoleHome home;
        PortRig rig(std::vector<ControllerOptions>{unit("XCU0001"), unit("XCU0002")});
        rig.plug(0);
        rig.plug(1);
        ConsoleRig console;
        auto* list = console.child<QComboBox>("xcuSerialNumber");
        QTRY_COMPARE(list->count(), 2);
        const int chosen = list->findText("XCU0002 XCU");
        list->setCurrentIndex(chosen);
        const quint64 before = rig.controller(1).responsesSent();
        // An unchanged list leaves the selection alone.
        QMetaObject::invokeMethod(&console.window, "refreshPorts");
        QCOMPARE(list->currentIndex(), chosen);
        console.click("pushButton_2");
        QTRY_COMPARE(rig.controller(1).responsesSent(), before + 2);
        QCOMPARE(rig.count(xcu::Command::kReadConfiguration, 0), 0);
        // The other cable: the list is made anew, the connection stays.
        rig.unplug(0);
        QTRY_COMPARE(list->count(), 1);
        QCOMPARE(list->currentText(), "XCU0002 XCU");
        QCOMPARE(console.text("pushButton_2"), "Disconnect");
        rig.plug(0);
        QTRY_COMPARE(list->count(), 2);
        QCOMPARE(list->currentIndex(), 0);
        QCOMPARE(console.text("pushButton_2"), "Disconnect");
    }

    void aBootloaderIsListedByItsBareNumber()
    {
        ConsoleHome home;
        ControllerOptions options = unit("XCU0009");
        options.guise = Guise::Bootloader;
        PortRig rig(options);
        rig.plug();
        ConsoleRig console;
        auto* list = console.child<QComboBox>("xcuSerialNumber");
        QTRY_COMPARE(list->currentText(), "XCU0009");
        console.click("pushButton_2");
        QCOMPARE(console.status(), "Connected");
        // A unit that changes its guise is gone, and what comes back is not connected by itself.
        rig.changeGuise(Guise::Device);
        QTRY_COMPARE(console.text("pushButton_2"), "Connect");
        QTRY_COMPARE(list->currentText(), "XCU0009 XCU");
        QCOMPARE(console.status(), "Disconnected");
    }

    void aPulledCableDisconnectsAndClosesTheLog()
    {
        ConsoleHome home;
        PortRig rig(unit("XCU0007"));
        rig.plug();
        ConsoleRig console;
        QTRY_COMPARE(console.child<QComboBox>("xcuSerialNumber")->count(), 1);
        console.click("pushButton_2");
        console.click("startLogging");
        QTRY_VERIFY(rig.controller().recordsSent() > 10);
        rig.unplug();
        QTRY_COMPARE(console.text("pushButton_2"), "Connect");
        QCOMPARE(console.child<QComboBox>("xcuSerialNumber")->count(), 0);
        const QStringList logs = home.files("*.log");
        QCOMPARE(logs.size(), 1);
        const QByteArray log = contents(logs.first());
        QVERIFY(log.count('\n') > 5);
        QVERIFY(log.endsWith(";\n"));
        // The session's timers tick on, and tags no longer reach the file.
        QCOMPARE(console.timers(), 2);
        console.window.addTag("late");
        QCOMPARE(contents(logs.first()), log);
    }

    void destroyedInTheMiddleOfASession()
    {
        ConsoleHome home;
        PortRig rig(unit("XCU0007"), PortRig::Lives::InOwnThread);
        rig.plug();
        {
            ConsoleRig console;
            QTRY_COMPARE(console.child<QComboBox>("xcuSerialNumber")->count(), 1);
            console.click("pushButton_2");
            console.click("passiveDatalogger");
            rig.run([](VirtualController& unit) { unit.setRecordRate(2000); });
            console.click("startLogging");
            QTRY_VERIFY(console.status().startsWith("Received logger data"));
            console.window.addTag("end");
        }
        const QByteArray log = contents(home.files("*.log").value(0));
        QVERIFY(log.contains(";end\n"));
        QVERIFY(log.endsWith('\n'));
        QCOMPARE(rig.count(xcu::Command::kDataloggerStop), 0);
    }
};

QTEST_MAIN(ConsoleConnectionTest)
#include "tst_consoleconnection.moc"
