// SPDX-License-Identifier: GPL-3.0-or-later
#include "connectedworkbench.h"
#include "support/stdoutcapture.h"
#include "support/testhome.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QCheckBox>

namespace {

constexpr auto pollRequest = xcu::Command::kDataloggerData;

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void menusFollowTheBus();
    void connectingStartsLoggerAndMaps();
    void viewersComeAndGoWhileRecordsArrive();
    void cableIsPulledWhileTheWorkerPolls();
    void windowIsClosedWhileWorkersPoll();

private:
    TestHome home;
};

void TestMainWindow::menusFollowTheBus()
{
    ConnectedWorkbench bench({});
    const QStringList one(bench.rig.serialNumber());
    QCOMPARE(bench.entries("menuConnection"), one);
    QCOMPARE(bench.entries("menuDataViewer"), QStringList({"Value Viewer", "Plot Viewer"}));
    QCOMPARE(bench.entries("menuPid_Tuning"), QStringList());
    bench.rig.changeGuise(Guise::Bootloader);
    QTRY_COMPARE(bench.entries("menuConnection"), one);
    bench.rig.unplug();
    QCOMPARE(bench.entries("menuConnection"), QStringList());
    QAction stranger;
    bench.window->portConnect(&stranger);
    QCOMPARE(bench.status(), QString("Failed to connect"));
}

void TestMainWindow::connectingStartsLoggerAndMaps()
{
    ConnectedWorkbench bench({{2, 2}, {1, 1}});
    QCOMPARE(bench.status(), QString("Connected"));
    QTRY_COMPARE(bench.entries("menuMap_Tuning"), QStringList({"Map 0", "Map 1"}));
    const auto start = bench.controller().last(xcu::Command::kDataloggerStart)->datalogger_start();
    QCOMPARE(start.channels_size(), 32);
    QCOMPARE(start.channels(31), 31U);
    QCOMPARE(start.passive(), 0U);
    bench.choose("menuDataViewer", "Value Viewer");
    auto* viewer = bench.window->findChild<ValueViewer*>();
    QTRY_COMPARE(viewer->findChildren<QCheckBox*>().size(), 32);
    xcu::Response fewer;
    fewer.mutable_map_tuner_started()->set_map_count(1);
    bench.controller().send(fewer);
    const int requests = bench.controller().count(pollRequest);
    QTRY_VERIFY(bench.controller().count(pollRequest) > requests);
    QCOMPARE(bench.entries("menuMap_Tuning"), QStringList({"Map 0", "Map 1"}));
}

void TestMainWindow::viewersComeAndGoWhileRecordsArrive()
{
    ConnectedWorkbench bench({});
    for (int round = 0; round < 250; ++round) {
        bench.choose("menuDataViewer", "Value Viewer");
        bench.choose("menuDataViewer", "Plot Viewer");
        bench.controller().pushRecord();
        QCoreApplication::processEvents();
        const QList<QMdiSubWindow*> viewers = bench.subWindows();
        // Both ways to go: closed by the operator, and destroyed from inside.
        viewers[round % 2]->close();
        delete viewers[(round + 1) % 2]->widget();
        bench.controller().pushRecord();
        for (QMdiSubWindow* left : bench.subWindows()) {
            left->close();
        }
    }
    const quint64 records = bench.controller().recordsSent();
    QTRY_VERIFY(bench.controller().recordsSent() > records + 1);
    QCOMPARE(bench.window->findChildren<ValueViewer*>().size(), 0);
}

void TestMainWindow::cableIsPulledWhileTheWorkerPolls()
{
    ConnectedWorkbench bench({});
    QTRY_VERIFY(bench.controller().count(pollRequest) > 1);
    {
        const StdoutCapture capture;
        bench.rig.unplug();
        QTRY_VERIFY(capture.text().count("<<==>>X") > 3); // into the void
    }
    bench.rig.plug();
    bench.controller().clearReceived();
    QTRY_VERIFY(bench.choose("menuConnection", bench.rig.serialNumber()));
    QCOMPARE(bench.status(), QString("Connected"));
    QTRY_VERIFY(bench.controller().count(pollRequest) > 4);
}

void TestMainWindow::windowIsClosedWhileWorkersPoll()
{
    ConnectedWorkbench bench({{8, 8}});
    xcu::Response started;
    started.mutable_logger_started();
    for (int start = 0; start < 20; ++start) {
        bench.controller().send(started);
    }
    QTRY_VERIFY(bench.controller().count(pollRequest) > 40);
    QTRY_VERIFY(bench.choose("menuMap_Tuning", "Map 0"));
    bench.choose("menuDataViewer", "Value Viewer");
    bench.choose("menuDataViewer", "Plot Viewer");
    bench.subWindows().last()->close(); // it is still there when the window goes
    bench.window.reset();
    QTRY_VERIFY(!bench.rig.port().isInUse());
}

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
