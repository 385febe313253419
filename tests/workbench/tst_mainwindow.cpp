// SPDX-License-Identifier: GPL-3.0-or-later
#include "connectedworkbench.h"
#include "support/stdoutcapture.h"
#include "support/testhome.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QCheckBox>
#include <QLabel>
#include <QMetaMethod>
#include <QProcess>
#include <QSerialPort>
#include <QTextStream>

namespace {

constexpr auto pollRequest = xcu::Command::kDataloggerData;

// What this program does when it is started with "--hold" and the name of a port.
int holdPort(const QString& name)
{
    QSerialPort port(name);
    QTextStream(stdout) << (port.open(QIODevice::ReadWrite) ? "open" : "refused") << Qt::endl;
    return QTextStream(stdin).readLine().size();
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void slotsInOrder();
    void menusFollowTheBus();
    void connectingStartsLoggerAndMaps();
    void portThatIsNotThere();
    void portThatAnotherProgramHolds();
    void surplusMapsStay();
    void viewersShowRecords();
    void viewersComeAndGoWhileRecordsArrive();
    void cableIsPulledWhileTheWorkerPolls();
    void windowIsClosedWhileWorkersPoll();

private:
    TestHome home;
};

void TestMainWindow::slotsInOrder()
{
    const QMetaObject& meta = MainWindow::staticMetaObject;
    QStringList methods;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        methods << meta.method(index).methodSignature();
    }
    QCOMPARE(
        methods,
        QStringList(
            {"commandResponseRead(std::string)", "portRefresher()", "portConnect(QAction*)",
             "createValueViewer(bool)", "createPlotViewer(bool)", "viewerDestroyed(QObject*)",
             "mapMenuFill()", "mapMenuShowMapEditor(QAction*)"}));
}

void TestMainWindow::menusFollowTheBus()
{
    ConnectedWorkbench bench({{2, 2}});
    QCOMPARE(bench.entries("menuConnection"), QStringList(bench.rig.serialNumber()));
    QCOMPARE(bench.entries("menuDataViewer"), QStringList({"Value Viewer", "Plot Viewer"}));
    QCOMPARE(bench.entries("menuPid_Tuning"), QStringList());
    bench.rig.changeGuise(Guise::Bootloader);
    QTRY_COMPARE(bench.entries("menuConnection"), QStringList(bench.rig.serialNumber()));
    bench.rig.unplug();
    QCOMPARE(bench.entries("menuConnection"), QStringList());
}

void TestMainWindow::connectingStartsLoggerAndMaps()
{
    ConnectedWorkbench bench({{2, 2}, {1, 1}});
    QCOMPARE(bench.status(), QString("Connected"));
    QTRY_COMPARE(bench.entries("menuMap_Tuning"), QStringList({"Map 0", "Map 1"}));
    const xcu::DataloggerStart start =
        bench.controller().last(xcu::Command::kDataloggerStart)->datalogger_start();
    QCOMPARE(start.channels_size(), 32);
    QCOMPARE(start.channels(31), 31U);
    QCOMPARE(start.passive(), 0U);
}

void TestMainWindow::portThatIsNotThere()
{
    ConnectedWorkbench bench({});
    QAction stranger;
    bench.window->portConnect(&stranger);
    QCOMPARE(bench.status(), QString("Failed to connect"));
    bench.window->viewerDestroyed(nullptr);
}

// Console and workbench must never talk on one line.
void TestMainWindow::portThatAnotherProgramHolds()
{
    ConnectedWorkbench bench({});
    QProcess other;
    const auto startOther = [&] {
        other.start(QCoreApplication::applicationFilePath(), {"--hold", bench.rig.portName()});
        QTRY_VERIFY(other.canReadLine());
    };
    startOther();
    QCOMPARE(other.readLine(), QByteArray("refused\n"));
    other.closeWriteChannel();
    QVERIFY(other.waitForFinished());

    bench.window = std::make_unique<MainWindow>();
    startOther();
    QCOMPARE(other.readLine(), QByteArray("open\n"));
    bench.choose("menuConnection", bench.rig.serialNumber());
    QCOMPARE(bench.status(), QString("Failed to connect"));
    other.closeWriteChannel();
    QVERIFY(other.waitForFinished());
    bench.choose("menuConnection", bench.rig.serialNumber());
    QCOMPARE(bench.status(), QString("Connected"));
}

void TestMainWindow::surplusMapsStay()
{
    ConnectedWorkbench bench({{1, 1}, {1, 1}, {1, 1}});
    QTRY_COMPARE(bench.entries("menuMap_Tuning").size(), 3);
    for (const unsigned int count : {0U, 1U}) {
        xcu::Response response;
        response.mutable_map_tuner_started()->set_map_count(count);
        bench.controller().send(response);
    }
    const int requests = bench.controller().count(pollRequest);
    QTRY_VERIFY(bench.controller().count(pollRequest) > requests);
    QCOMPARE(bench.entries("menuMap_Tuning"), QStringList({"Map 0", "Map 1", "Map 2"}));
}

void TestMainWindow::viewersShowRecords()
{
    ConnectedWorkbench bench({});
    QVERIFY(bench.choose("menuDataViewer", "Value Viewer"));
    QVERIFY(bench.choose("menuDataViewer", "Plot Viewer"));
    QCOMPARE(bench.subWindows().size(), 2);
    auto* values = bench.window->findChild<ValueViewer*>();
    QTRY_COMPARE(values->findChildren<QCheckBox*>().size(), 32);
    QCOMPARE(bench.window->findChild<PlotViewer*>()->findChildren<QCheckBox*>().size(), 32);
    const QString shown = values->findChild<QLabel*>("seqNo")->text();
    QTRY_VERIFY(values->findChild<QLabel*>("seqNo")->text() != shown);
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
    QTRY_VERIFY(bench.controller().count(pollRequest) > 4); // by two workers now
}

void TestMainWindow::windowIsClosedWhileWorkersPoll()
{
    ConnectedWorkbench bench({{8, 8}});
    for (int start = 0; start < 20; ++start) {
        bench.controller().send([] {
            xcu::Response response;
            response.mutable_logger_started();
            return response;
        }());
    }
    QTRY_VERIFY(bench.controller().count(pollRequest) > 40);
    QTRY_VERIFY(bench.choose("menuMap_Tuning", "Map 0"));
    bench.choose("menuDataViewer", "Value Viewer");
    bench.choose("menuDataViewer", "Plot Viewer");
    bench.subWindows().last()->close(); // it is still there when the window goes
    bench.window.reset();
    QTRY_VERIFY(!bench.rig.port().isInUse());
}

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    if (argc == 3 && application.arguments().at(1) == "--hold") {
        return holdPort(application.arguments().at(2));
    }
    TestMainWindow test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_mainwindow.moc"
