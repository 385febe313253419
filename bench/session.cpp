// SPDX-License-Identifier: GPL-3.0-or-later

// bench_session: the whole console on a virtual controller, through the real serial port and the
// real window to the file: floods that come as fast as the line takes them, and the requests of a
// session that leave while the operator looks back at ten minutes at 1 kHz. A run counts if the
// files are complete.
#include "bench/benchmark.h"
#include "bench/rigthread.h"
#include "schema/link.pb.h"
#include "support/consolerig.h"

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

// One console, connected, with all that comes counted by its status text.
class Session
{
public:
    Session()
        : rig(options())
    {
        fillPast();
        rig.plug();
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
        constexpr int items = 200'000;
        constexpr int parts = 5;
        double best = 0;
        setRates(records, frames);
        for (int part = 0; part < parts; ++part) {
            const int before = texts;
            const double start = realTime();
            runUntil([&] { return texts >= before + items / parts; });
            best = std::max(best, (texts - before) / (realTime() - start));
        }
        setRates(0, 0);
        int seen = -1;
        runUntil([&] { return std::exchange(seen, texts) == texts; });
        return best;
    }

    // Requests a second of a session with this pace.
    double requests(int paceMs)
    {
        constexpr int seconds = 5;
        console.child<QSpinBox>("refreshRate")->setValue(paceMs);
        const auto count = [&] { return rig.count(xcu::Command::kDataloggerData); };
        console.click("startLogging");
        const int before = count();
        runUntil([&] { return count() > before; });
        const int first = count();
        const double start = realTime();
        runUntil([&] { return realTime() - start >= seconds; });
        const double rate = (count() - first) / (realTime() - start);
        console.click("stopLogging");
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
    RigThread rig;
    ConsoleRig console;
    int texts = 0;

private:
    static ControllerOptions options()
    {
        ControllerOptions options;
        options.recordsPerSecond = 0;
        options.framesPerSecond = 0;
        options.identifiers = 300;
        return options;
    }

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
        rig.run([=](VirtualController& unit) {
            unit.setRecordRate(records);
            unit.setFrameRate(frames);
            return 0;
        });
    }
};

// Drags the chart to and fro by a mouse that reports 125 times a second.
class Drag : public QTimer
{
public:
    explicit Drag(QCustomPlot* customPlot)
        : plot(customPlot)
    {
        QTest::mousePress(plot, Qt::LeftButton, {}, place());
        callOnTimeout([this] {
            ++step;
            QMouseEvent move(
                QEvent::MouseMove, place(), plot->mapToGlobal(place()), Qt::NoButton,
                Qt::LeftButton, {});
            QApplication::sendEvent(plot, &move);
        });
        start(8);
    }
    ~Drag() override { QTest::mouseRelease(plot, Qt::LeftButton, {}, place()); }

private:
    QPoint place() const { return {200 + 10 * qAbs(step % 60 - 30), 100}; }

    QCustomPlot* plot;
    int step = 0;
};

} // namespace

int main(int argc, char* argv[])
{
    needPreload(argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    Benchmark bench;
    Session session;
    for (const int pace : {10, 1}) {
        session.show(false);
        const double hidden = session.requests(pace);
        const auto kept = [&](const char* what, double bound) {
            bench.atLeast(
                QStringLiteral("requests every %1 ms, %2").arg(pace).arg(what),
                100 * session.requests(pace) / hidden, bound, "% of those with no curves");
        };
        session.show(true);
        kept("ten minutes in view", pace == 1 ? 90 : 99);
        const Drag drag(session.plot());
        kept("ten minutes dragged", pace == 1 ? 85 : 97);
    }

    const auto recordsSent = [&] {
        return double(session.rig.run([](VirtualController& unit) { return unit.recordsSent(); }));
    };
    const int logs = session.home.files("*.log").size();
    const double before = recordsSent();
    session.console.click("passiveDatalogger");
    session.console.click("startLogging"); // a second and more after the last start: another file
    runUntil([&] { return session.home.files("*.log").size() > logs; });
    const auto flood = [&](const char* name, double records, double frames, double bound) {
        bench.atLeast(name, session.flood(records, frames), bound, "1/s");
    };
    flood("records of 128 values, curves in view", asFastAsTheLineTakes, 0, 60'000);
    for (int step = 0; step < tagCount; ++step) {
        session.console.slider(1)->setValue(step % 1024);
    }
    const double start = realTime();
    session.plot()->xAxis->moveRange(1);
    session.plot()->replot();
    bench.atMost("pan with 3000 tags", 1e3 * (realTime() - start), 10, "ms");

    session.console.click("candump");
    flood("captured frames, table open", 0, asFastAsTheLineTakes, 100'000);

    const QByteArray log = contents(session.home.files("*.log").last());
    const int written = log.count('\n') - log.count("\n$") - 1; // without the tags and the header
    bench.atMost("records missing in the log", recordsSent() - before - written, 0, "");
    const quint64 framesSent = session.rig.run([](VirtualController& u) { return u.framesSent(); });
    const QByteArray capture = contents(session.home.files("*.candump").value(0));
    bench.atMost("frames missing in the capture", double(framesSent) - capture.count('\n'), 0, "");
    return bench.exitCode();
}
