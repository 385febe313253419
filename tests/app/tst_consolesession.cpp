// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/consolerig.h"
#include "support/portrig.h"

#include <QSpinBox>

// A controller whose clock the test turns, a console that is connected to it.
class Session
{
public:
    Session()
    {
        rig.controller().setClock([this] { return now; });
        rig.plug();
        connect();
    }

    void connect()
    {
        const int before = count(xcu::Command::kReadConfiguration);
        QTRY_COMPARE(console.child<QComboBox>("xcuSerialNumber")->count(), 1);
        console.click("pushButton_2");
        QTRY_COMPARE(count(xcu::Command::kReadConfiguration), before + 2);
        settle();
    }

    // Waits until the console has seen everything that was sent to it.
    void settle()
    {
        xcu::Response last;
        last.mutable_fault_count()->set_first_count(++mark);
        rig.controller().send(last);
        QTRY_VERIFY(console.text("faultStatus").startsWith(QString("Faults: %1/").arg(mark)));
    }

    void record(qint64 at)
    {
        now = at;
        rig.controller().pushRecord();
    }

    int count(xcu::Command::ReqCase member) { return rig.count(member); }

    qint64 now = 0;
    PortRig rig;
    ConsoleRig console;

private:
    int mark = 1000;
};

class ConsoleSessionTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<ConsoleHome> home;

    QByteArrayList logLines() { return contents(home->files("*.log").value(0)).split('\n'); }

private slots:
    void init() { home = std::make_unique<ConsoleHome>(); }
    void cleanup() { home.reset(); }

    // From the button to the last byte of the file.
    void aSessionWritesItsLog()
    {
        Session session;
        ConsoleRig& console = session.console;
        console.child<QComboBox>("channelCount")->setCurrentIndex(0);
        console.click("passiveDatalogger");
        session.rig.controller().setRecordRate(0);
        console.click("startLogging");
        QCOMPARE(console.status(), "Sent start request");
        QTRY_COMPARE(console.status(), "Received logger started");
        QTest::keyClick(&console.window, Qt::Key_H); // before the first record
        QVERIFY(contents(home->files("*.log").value(0)).endsWith("\n$;-1;Hard shift\n"));
        session.record(4294967295); // unsigned in a record, signed in a tag
        QTRY_COMPARE(console.status(), "Received logger data 4294967295");
        console.window.addTag("-1");
        session.record(1500);
        QTRY_COMPARE(console.status(), "Received logger data 1500");
        console.slider(3)->setValue(40);
        QTRY_COMPARE(session.rig.controller().virtualInputs().value(2), 40);
        console.click("stopLogging");
        QTRY_COMPARE(session.count(xcu::Command::kDataloggerStop), 1);
        session.record(2500); // still on its way: the file is open
        QTRY_COMPARE(console.status(), "Received logger data 2500");

        QString header = "#;timestamp;";
        for (int channel = 0; channel < 128; ++channel) {
            const QString label = console.channelBox(channel)->text();
            header += label.startsWith("data ") ? "x;" : label + ";";
        }
        QVERIFY(header.count("x;") < 100); // the configuration came first
        Datalogger& logger = session.rig.controller().logger();
        const auto line = [&logger](int number, quint32 time, int third) {
            QString text = QString("%1;%2;").arg(number).arg(time);
            for (unsigned int channel = 0; channel < 32; ++channel) {
                text += QString("%1;").arg(channel == 22 ? third : logger.value(channel, time));
            }
            return text;
        };
        const QStringList expected = {
            header,           "$;-1;Hard shift", line(0, 4294967295U, 0), "$;-1;-1",
            line(1, 1500, 0), "$;1500;VI2=40",   line(2, 2500, 40),       QString()};
        QCOMPARE(logLines().join('\n'), expected.join('\n').toUtf8());

        console.click("pushButton_2");
        console.window.loggerDataReceived(3, 3000, {1}); // the line is lost, the point is not
        console.window.addTag("lost");
        QCOMPARE(logLines().size(), expected.size());
        QCOMPARE(console.plot()->graph(0)->dataCount(), 4);
    }

    void theChoiceOfChannelsTravels_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("channels");
        QTest::newRow("first") << 0 << 32;
        QTest::newRow("last") << 3 << 128;
        QTest::newRow("none") << -1 << 64;
    }

    void theChoiceOfChannelsTravels()
    {
        QFETCH(int, index);
        QFETCH(int, channels);
        Session session;
        session.console.child<QComboBox>("channelCount")->setCurrentIndex(index);
        session.console.channelBox(0)->click(); // the strip plays no part
        session.console.click("startLogging");
        QTRY_COMPARE(session.count(xcu::Command::kDataloggerStart), 1);
        const auto start =
            session.rig.controller().last(xcu::Command::kDataloggerStart)->datalogger_start();
        QCOMPARE(start.channels_size(), channels);
        QCOMPARE(start.channels(0), 0U);
        QCOMPARE(start.channels(channels - 1), unsigned(channels - 1));
        QCOMPARE(start.passive(), 0U);
    }

    // Each confirmed start adds timers, and only the newest can be stopped. Users live with it.
    void startsStackTheirTimers()
    {
        Session session;
        ConsoleRig& console = session.console;
        QCOMPARE(console.timers(), 0);
        console.child<QSpinBox>("refreshRate")->setValue(2);
        console.click("startLogging");
        console.click("startLogging");
        QTRY_COMPARE(console.timers(), 4);
        console.click("stopLogging");
        QCOMPARE(console.timers(), 3);
        const int asked = session.count(xcu::Command::kDataloggerData);
        QTRY_VERIFY(session.count(xcu::Command::kDataloggerData) > asked + 5);
        console.click("stopLogging"); // finds no timer, and is sent all the same
        QCOMPARE(console.timers(), 3);
        QTRY_COMPARE(session.count(xcu::Command::kDataloggerStop), 2);
        // A disconnect stops no timer: the new link is polled without a start.
        console.click("pushButton_2");
        session.connect();
        session.rig.controller().clearReceived();
        QTRY_VERIFY(session.count(xcu::Command::kDataloggerData) > 5);
        QTRY_VERIFY(session.count(xcu::Command::kFaultGetFaultCount) > 1);
    }

    void aPassiveSessionAsksForNothing()
    {
        Session session;
        ConsoleRig& console = session.console;
        console.click("stopLogging"); // before any session
        console.click("passiveDatalogger");
        console.click("startLogging");
        QTRY_COMPARE(console.timers(), 1); // of the faults
        QTRY_VERIFY(session.count(xcu::Command::kFaultGetFaultCount) > 1);
        QCOMPARE(session.count(xcu::Command::kDataloggerData), 0);
        QCOMPARE(
            session.rig.controller()
                .last(xcu::Command::kDataloggerStart)
                ->datalogger_start()
                .passive(),
            1U);
        QVERIFY(logLines().size() > 1);
        // The box is read once more when the answer comes.
        console.window.loggerStarted();
        console.click("passiveDatalogger");
        console.window.loggerStarted();
        QCOMPARE(console.timers(), 4);
        console.click("passiveDatalogger");
        console.window.loggerStarted(); // leaves the running request timer alone
        QCOMPARE(console.timers(), 5);
        console.click("stopLogging");
        QCOMPARE(console.timers(), 4);
        // Of two sessions in one second the later one takes the file over.
        for (const QString& log : home->files("*.log")) {
            QCOMPARE(contents(log).count("#;timestamp;"), 1);
        }
    }

    // The blocks of a reconnect each find the other's flag set, and each starts a session.
    void autostartStartsOnceAndTwiceAfterAReconnect()
    {
        home->store("ui/autostart", 2);
        Session session;
        QTRY_COMPARE(session.count(xcu::Command::kDataloggerStart), 1);
        session.settle();
        QVERIFY(logLines().first().startsWith("#;timestamp;"));
        QVERIFY(!logLines().first().startsWith("#;timestamp;x;")); // the labels are final
        session.console.click("pushButton_2");
        session.connect();
        QTRY_COMPARE(session.count(xcu::Command::kDataloggerStart), 3);
        session.console.click("autostart");
        QCOMPARE(home->stored("ui/autostart").toInt(), 0);
        session.console.window.readConfiguration(0, 9, "");
        session.settle();
        QCOMPARE(session.count(xcu::Command::kDataloggerStart), 3);
    }

    void aVanishedFolderStopsNothing()
    {
        Session session;
        QVERIFY(home->controllerFolder("XCU0001").removeRecursively());
        session.console.click("startLogging");
        QTRY_VERIFY(session.console.plot()->graph(0)->dataCount() > 3);
        QVERIFY(home->files("*.log").isEmpty());
        QVERIFY(session.console.status().startsWith("Received logger data"));
    }
};

QTEST_MAIN(ConsoleSessionTest)
#include "tst_consolesession.moc"
