// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/commandssender.h"
#include "support/connectedworkbench.h"
#include "support/testhome.h"
#include "workbench/idatapresenter.h"

#include <functional>

constexpr auto pollRequest = xcu::Command::kDataloggerData;

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void recordsReachAllSinks()
    {
        struct Sink final : IDataPresenter
        {
            void update(unsigned int, unsigned int, std::vector<int>&) override { onRecord(); }
            void updateLabels(std::vector<std::string>&) override {}
            void showData(std::vector<bool>&) override {}
            std::function<void()> onRecord;
        };
        ComPort port;
        CommandsSender sender(port);
        LoggerDataDistributor distributor(sender);
        QString calls;
        Sink a, b, leaving;
        a.onRecord = [&] { calls += 'a'; };
        b.onRecord = [&] { calls += 'b'; };
        leaving.onRecord = [&] {
            distributor.removeSink(&leaving);
            distributor.removeSink(&b);
            calls += 'l';
        };
        for (IDataPresenter* sink : {&b, &a, &leaving, &leaving, &b, &a}) {
            distributor.addSink(sink);
        }
        distributor.loggerDataReceived(1, 2, {3});
        QCOMPARE(calls, QString("bala"));
        distributor.loggerDataReceived(2, 3, {4});
        distributor.loggerDataReceived(3, 4, std::vector<int>(1025)); // no controller means that
        QCOMPARE(calls, QString("balaaa"));
    }

    void connectingStartsLoggerAndMaps()
    {
        ConnectedWorkbench bench;
        QStatusTipEvent menuEntryWithoutTip{QString()};
        QCoreApplication::sendEvent(bench.window.get(), &menuEntryWithoutTip);
        QCOMPARE(bench.status(), QString("Connected"));
        const QStringList maps{"Map 0", "Map 1", "Map 2", "Map 3"};
        QTRY_COMPARE(bench.entries("menuMap_Tuning"), maps);
        const auto& start = bench.received[0].datalogger_start();
        QCOMPARE(start.channels_size(), 32);
        QCOMPARE(start.channels(31), 31U);
        QCOMPARE(start.passive(), 0U);
        bench.choose("menuDataViewer", "Value Viewer");
        QTRY_COMPARE(bench.window->findChildren<QCheckBox*>().size(), 32);
        bench.choose("menuDataViewer", "Plot Viewer");
        bench.choose("menuMap_Tuning", "Map 0");
        for (const QMdiSubWindow* opened : bench.subWindows()) {
            QTRY_COMPARE(opened->widget()->size(), QSize(400, 300));
        }
        for (const char* count : {"1", "0", "65537"}) {
            bench.answer(std::string("map_tuner_started { map_count: ") + count + "}");
        }
        const int requests = bench.count(pollRequest);
        QTRY_VERIFY(bench.count(pollRequest) > requests + 1);
        QCOMPARE(bench.entries("menuMap_Tuning"), maps);
    }

    void controllersComeAndGo()
    {
        ConnectedWorkbench bench;
        simulator::VirtualController& unit = bench.controller;
        QTRY_VERIFY(bench.count(pollRequest) > 1);
        unit.receive(QByteArray("\x08\0\0", 3)); // half a frame goes with its link
        bench.port.unplug();
        QCOMPARE(bench.entries("menuConnection"), QStringList());
        QAction stranger;
        bench.window->portConnect(&stranger);
        QCOMPARE(bench.status(), QString("Failed to connect"));
        xcu::Command toBootloader, toDevice;
        toBootloader.mutable_reset_to_bootloader();
        toDevice.mutable_reset();
        for (const xcu::Command& reset : {toBootloader, toDevice}) {
            QByteArray frame;
            simulator::appendFrame(frame, reset);
            for (const char byte : frame) { // pieces are put together
                unit.receive({1, byte});
            }
            const QString serialNumber = unit.options().serialNumber;
            QTRY_COMPARE(bench.entries("menuConnection"), QStringList(serialNumber));
            bench.received.clear();
            const quint64 answers = unit.responsesSent();
            bench.choose("menuConnection", serialNumber);
            QCOMPARE(bench.status(), QString("Connected"));
            QTRY_VERIFY(bench.count(pollRequest) > 4);
            // A bootloader has no answer for the workbench.
            QCOMPARE(unit.responsesSent() > answers, reset.has_reset());
            QCOMPARE(unit.logger().isRunning(), reset.has_reset());
        }
    }

    void viewersAndWindowGoWhileWorkersPoll()
    {
        ConnectedWorkbench bench;
        for (int round = 0; round < 30; ++round) {
            bench.choose("menuDataViewer", "Value Viewer");
            bench.choose("menuDataViewer", "Plot Viewer");
            bench.controller.pushRecord();
            QCoreApplication::processEvents();
            const QList<QMdiSubWindow*> viewers = bench.subWindows();
            // Both ways to go: closed by the operator, and destroyed from inside.
            viewers[round % 2]->close();
            delete viewers[(round + 1) % 2]->widget();
            bench.controller.pushRecord();
            for (QMdiSubWindow* left : bench.subWindows()) {
                left->close();
            }
        }
        const quint64 records = bench.controller.recordsSent();
        QTRY_VERIFY(bench.controller.recordsSent() > records + 1);
        QCOMPARE(bench.window->findChildren<QLabel*>("seqNo").size(), 0);
        for (int start = 0; start < 20; ++start) {
            bench.answer("logger_started {}");
        }
        // This one stops none of them. One worker alone would need 20 s for what follows.
        bench.answer("logger_stopped {}");
        const int requests = bench.count(pollRequest);
        QTRY_VERIFY(bench.count(pollRequest) > requests + 200);
        bench.choose("menuMap_Tuning", "Map 0");
        bench.choose("menuDataViewer", "Value Viewer");
        bench.choose("menuDataViewer", "Plot Viewer");
        bench.subWindows().last()->close(); // it is still there when the window goes
        bench.window.reset();
        QTRY_VERIFY(!bench.port.isInUse());
    }

private:
    TestHome home;
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
