// SPDX-License-Identifier: GPL-3.0-or-later

// bench_session: the whole console on a virtual controller, through the real serial port and the
// real window to the file: floods that come as fast as the line takes them, and the requests of a
// session that leave while the operator looks back at ten minutes at 1 kHz. A run counts if the
// files are complete.
#include "bench/benchmark.h"
#include "platform/diagnostics.h"
#include "schema/link.pb.h"
#include "support/consolerig.h"
#include "support/portrig.h"

#include <QSemaphore>

using namespace simulator;

namespace {

constexpr int channels = 128;
constexpr int pastRecords = 600'000;
constexpr int tagCount = 3000; // three slider drags from end to end

template <typename Condition>
void runUntil(Condition condition)
{
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

// A virtual controller in a thread of its own: it goes on while the window's thread is busy, as a
// real one does.
class Controller : public QThread
{
public:
    Controller()
    {
        start();
        started.acquire();
    }
    ~Controller() override
    {
        quit();
        wait();
    }

    // Runs a task in the thread and gives the number that it returns.
    double call(const std::function<double(PortRig&)>& task)
    {
        double result = 0;
        const auto work = [&] { result = task(*rig); };
        QMetaObject::invokeMethod(&rig->controller, work, Qt::BlockingQueuedConnection);
        return result;
    }

private:
    void run() override
    {
        ControllerOptions options;
        options.recordsPerSecond = 0;
        options.framesPerSecond = 0;
        options.identifiers = 300;
        PortRig here(options);
        rig = &here;
        started.release();
        exec();
    }

    QSemaphore started;
    PortRig* rig = nullptr;
};

// One console, connected, with all that comes counted by its status text.
class Session
{
public:
    Session()
    {
        fillPast();
        controller.call([](PortRig& rig) { return rig.port.plug(), 0; });
        console.window.resize(1400, 800);
        console.window.show();
        runUntil([&] { return console.child<QComboBox>("xcuSerialNumber")->count() > 0; });
        console.click("pushButton_2");
        console.child<QComboBox>("channelCount")->setCurrentIndex(3);
        QObject::connect(&console.window, &DataLoggerApp::addLog, [this] { ++texts; });
    }

    // Items a second of a flood: the best part of several, for what disturbs only slows it down.
    double flood(double records, double frames)
    {
        constexpr int partSize = 40'000;
        setRates(records, frames);
        const double part = fastest(
            [&] { runUntil([&, end = texts + partSize] { return texts >= end; }); }, realTime);
        setRates(0, 0);
        int seen = -1;
        runUntil([&] { return std::exchange(seen, texts) == texts; });
        return partSize / part;
    }

    // Requests a second of a session with this pace.
    double requests(int paceMs)
    {
        constexpr int seconds = 5;
        console.child<QSpinBox>("refreshRate")->setValue(paceMs);
        const auto count = [&] {
            return controller.call(
                [](PortRig& rig) { return rig.controller.count(xcu::Command::kDataloggerData); });
        };
        console.click("startLogging");
        const double before = count();
        runUntil([&] { return count() > before; });
        const double first = count();
        const double start = secondsOn(realTime);
        runUntil([&] { return secondsOn(realTime) - start >= seconds; });
        const double rate = (count() - first) / (secondsOn(realTime) - start);
        console.click("stopLogging");
        return rate;
    }

    // The same while a mouse drags the chart to and fro and reports 125 times a second.
    double requestsWhileDragging(int paceMs)
    {
        int step = 0;
        const auto place = [&] { return QPoint(200 + 10 * qAbs(step % 60 - 30), 100); };
        QTimer mouse;
        mouse.callOnTimeout([&] {
            ++step;
            QMouseEvent move(
                QEvent::MouseMove, place(), plot()->mapToGlobal(place()), Qt::NoButton,
                Qt::LeftButton, {});
            QApplication::sendEvent(plot(), &move);
        });
        QTest::mousePress(plot(), Qt::LeftButton, {}, place());
        mouse.start(8);
        const double rate = requests(paceMs);
        QTest::mouseRelease(plot(), Qt::LeftButton, {}, place());
        return rate;
    }

    void show(bool visible)
    {
        for (int channel = 0; channel < channels; ++channel) {
            plot()->graph(channel)->setVisible(visible);
        }
        plot()->xAxis->setRange(0, 1.1 * pastRecords / 1000);
        plot()->replot();
    }

    QCustomPlot* plot() { return console.plot(); }

    ConsoleHome home;
    Controller controller;
    ConsoleRig console;
    int texts = 0;

private:
    // Before the session; its clock goes on from there.
    void fillPast()
    {
        const auto handler = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString&) {}); // no file is open
        for (unsigned i = 0; i < pastRecords; ++i) {
            std::vector<int> values;
            for (unsigned channel = 0; channel < channels; ++channel) {
                values.push_back(int(512 + 400 * sin(i * (channel + 1) * 1e-5) + i * 37 % 11));
            }
            console.window.loggerDataReceived(i, i - pastRecords, std::move(values));
        }
        qInstallMessageHandler(handler);
    }

    void setRates(double records, double frames)
    {
        controller.call([=](PortRig& rig) {
            rig.controller.setRecordRate(records);
            rig.controller.setFrameRate(frames);
            return 0;
        });
    }
};

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const platform::StandardStreams streams; // as in the program
    QApplication application(argc, argv);
    Session session;
    for (const int pace : {10, 1}) {
        session.show(false);
        const double hidden = session.requests(pace);
        const auto kept = [&](const char* what, double requests, double bound) {
            atLeast(
                QStringLiteral("requests every %1 ms, %2").arg(pace).arg(what),
                100 * requests / hidden, bound, "% of those with no curves");
        };
        session.show(true);
        kept("ten minutes in view", session.requests(pace), pace == 1 ? 97 : 99);
        kept("ten minutes dragged", session.requestsWhileDragging(pace), pace == 1 ? 85 : 97);
    }

    const auto recordsSent = [](PortRig& rig) { return rig.controller.recordsSent(); };
    const auto framesSent = [](PortRig& rig) { return rig.controller.framesSent(); };
    const int logs = session.home.files("*.log").size();
    const double before = session.controller.call(recordsSent);
    session.console.click("passiveDatalogger");
    session.console.click("startLogging"); // a second and more after the last start: another file
    runUntil([&] { return session.home.files("*.log").size() > logs; });
    const double records = session.flood(asFastAsTheLineTakes, 0);
    atLeast("records of 128 values, curves in view", records, 60'000, "1/s");
    for (int step = 0; step < tagCount; ++step) {
        session.console.slider(1)->setValue(step % 1024);
    }
    const double pan = secondsOf([&] {
        session.plot()->xAxis->moveRange(1);
        session.plot()->replot();
    });
    atMost("pan with 3000 tags", 1e3 * pan, 10, "ms");

    session.console.click("candump");
    const double frames = session.flood(0, asFastAsTheLineTakes);
    atLeast("captured frames, table open", frames, 100'000, "1/s");

    const QByteArray log = contents(session.home.files("*.log").last());
    const int written = log.count('\n') - log.count("\n$") - 1; // without the tags and the header
    const double missing = session.controller.call(recordsSent) - before - written;
    atMost("records missing in the log", missing, 0, "");
    const QByteArray capture = contents(session.home.files("*.candump").value(0));
    const double lost = session.controller.call(framesSent) - capture.count('\n');
    atMost("frames missing in the capture", lost, 0, "");
    return exitCode();
}
