// SPDX-License-Identifier: GPL-3.0-or-later

// bench_road [--records N] [--seconds N]: the road of log records and captured frames from a
// virtual controller through the real serial port and the real window to the file, and what each
// stage of it costs. Floods come as fast as the line takes them; a run counts if the file is
// complete.
#include "bench/benchmark.h"
#include "comm/commandsresponsereceiver.h"
#include "comm/responseinterfaces.h"
#include "formats/logline.h"
#include "schema/link.pb.h"
#include "support/consolerig.h"
#include "support/portrig.h"

#include <QCommandLineParser>
#include <ctime>
#include <unistd.h>

using namespace formats;
using namespace simulator;

namespace {

constexpr int channels = 128;
constexpr int stageRuns = 20'000;
constexpr int tagCount = 3000; // three slider drags from end to end

// The mocked port is seen by programs that were started under the preload alone.
void restartUnderPreload(char* argv[])
{
    const QByteArray preload = "libumockdev-preload.so.0";
    if (!qgetenv("LD_PRELOAD").contains(preload)) {
        qputenv("LD_PRELOAD", preload);
        qputenv("QT_QPA_PLATFORM", "offscreen");
        execv("/proc/self/exe", argv);
    }
}

class Sink : public IDataLoggerCommandsResponse
{
public:
    void loggerStarted() override {}
    void loggerDataReceived(unsigned int, unsigned int, std::vector<int>&& values) override
    {
        total += values.size();
    }
    void loggerStopped() override {}

    std::size_t total = 0;
};

// Processor time of the calling thread.
double threadSeconds()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

// How the GUI thread lived from construction to stop(), by a timer of 1 ms that drops the ticks it
// misses, as all timers do.
class Heartbeat
{
public:
    Heartbeat()
    {
        timer.setTimerType(Qt::PreciseTimer);
        timer.callOnTimeout([this] {
            ++ticks;
            longestMs = std::max(longestMs, double(sinceTick.nsecsElapsed()) / 1e6);
            sinceTick.start();
        });
        whole.start();
        sinceTick.start();
        timer.start(1);
    }

    void stop()
    {
        timer.stop();
        const double seconds = double(whole.nsecsElapsed()) / 1e9;
        ticksPerSecond = ticks / seconds;
        busyPercent = 100 * (threadSeconds() - busyBefore) / seconds;
    }

    double ticksPerSecond = 0;
    double longestMs = 0; // from tick to tick
    double busyPercent = 0;

private:
    QTimer timer;
    QElapsedTimer whole;
    QElapsedTimer sinceTick;
    double busyBefore = threadSeconds();
    int ticks = 0;
};

template <typename Condition>
void runUntil(Condition condition)
{
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

void runFor(int seconds)
{
    QElapsedTimer timer;
    timer.start();
    runUntil([&] { return timer.elapsed() >= qint64(seconds) * 1000; });
}

template <typename Stage>
double microseconds(Stage stage)
{
    return 1e6 / stageRuns * fastest([&] {
               for (int i = 0; i < stageRuns; ++i) {
                   stage(i);
               }
           });
}

// One console, connected, with a passive session of 128 channels, and everything that comes counted
// by its status text.
class Road
{
public:
    Road()
        : rig(options(), PortRig::Lives::InOwnThread)
    {
        rig.plug();
        console.window.resize(1400, 800);
        console.window.show();
        runUntil([&] { return console.child<QComboBox>("xcuSerialNumber")->count() > 0; });
        console.click("pushButton_2");
        console.child<QComboBox>("channelCount")->setCurrentIndex(3);
        console.click("passiveDatalogger");
        QObject::connect(&console.window, &DataLoggerApp::addLog, [this] { ++texts; });
        console.click("startLogging");
        runUntil([&] { return !home.files("*.log").isEmpty(); });
    }

    void setRates(double records, double frames)
    {
        rig.run([=](VirtualController& unit) {
            unit.setRecordRate(records);
            unit.setFrameRate(frames);
        });
    }

    // Items a second of a flood: the best part of several, for what disturbs only slows it down.
    double flood(double records, double frames, int items)
    {
        constexpr int parts = 5;
        double best = 0;
        const int atStart = texts;
        const double busyBefore = threadSeconds();
        setRates(records, frames);
        for (int part = 0; part < parts; ++part) {
            const int before = texts;
            QElapsedTimer timer;
            timer.start();
            runUntil([&] { return texts >= before + items / parts; });
            best = std::max(best, (texts - before) * 1e9 / double(timer.nsecsElapsed()));
        }
        itemsPerThreadSecond = (texts - atStart) / (threadSeconds() - busyBefore);
        setRates(0, 0);
        int seen = -1;
        runUntil([&] { return std::exchange(seen, texts) == texts; });
        return best;
    }

    // All curves, with the latest records at the left of the view.
    void showCurves()
    {
        QCustomPlot* plot = console.plot();
        for (int channel = 0; channel < channels; ++channel) {
            plot->graph(channel)->setVisible(true);
        }
        const double now = plot->graph(0)->dataMainKey(plot->graph(0)->dataCount() - 1);
        plot->xAxis->setRange(now - 5, now + 55);
        plot->replot();
    }

    ConsoleHome home;
    PortRig rig;
    ConsoleRig console;
    int texts = 0;
    double itemsPerThreadSecond = 0; // of the last flood, by processor time of the GUI thread

private:
    static ControllerOptions options()
    {
        ControllerOptions options;
        options.recordsPerSecond = 0;
        options.framesPerSecond = 0;
        options.identifiers = 300;
        return options;
    }
};

// Records of so many that a log lacks, or has out of turn. There are tags between them.
double missingRecords(const QByteArray& log, quint64 sent)
{
    qint64 next = 0;
    double outOfTurn = 0;
    for (const QByteArray& line : log.split('\n')) {
        if (!line.isEmpty() && line[0] != '#' && line[0] != '$') {
            const qint64 number = line.left(line.indexOf(';')).toLongLong();
            outOfTurn += number == next ? 0 : 1;
            next = number + 1;
        }
    }
    return outOfTurn + double(sent) - double(next);
}

void stages(Benchmark& bench, Road& road, double whole)
{
    xcu::Response response;
    road.rig.run([&](VirtualController& unit) {
        for (unsigned int channel = 0; channel < channels; ++channel) {
            response.mutable_logger_data()->add_values(unit.logger().value(channel, 5000));
        }
    });
    const std::string payload = response.SerializeAsString();
    const std::vector<int> values(
        response.logger_data().values().begin(), response.logger_data().values().end());

    Sink sink;
    CommandsResponseReceiver receiver(
        nullptr, &sink, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    const double decode = microseconds([&](int) { receiver.decodeResponse(payload); });
    const double status = microseconds([&](int i) {
        emit road.console.window.addLog(QStringLiteral("Received logger data %1").arg(i));
    });
    QFile file("stage");
    file.open(QIODevice::WriteOnly);
    std::string line;
    const double write = microseconds([&](int i) {
        composeLogLine(line, i, i, values);
        file.write(line.data(), static_cast<qint64>(line.size()));
        file.flush();
    });
    const auto share = [&](const char* name, double cost) {
        bench.figure(name, cost, QStringLiteral("us, %1 %").arg(100 * cost / whole, 0, 'f', 0));
    };
    share("  message and dispatch", decode);
    share("  status text", status);
    share("  line, write and flush", write);
    share("  port, frame, points and the rest", whole - decode - status - write);
}

} // namespace

int main(int argc, char* argv[])
{
    restartUnderPreload(argv);
    QApplication application(argc, argv);
    QCommandLineParser options;
    options.addHelpOption();
    options.addOption({"records", "records and frames in a flood", "N", "200000"});
    options.addOption({"seconds", "length of a paced run", "N", "5"});
    options.process(application);
    const int items = options.value("records").toInt();
    const int seconds = options.value("seconds").toInt();

    Benchmark bench;
    Road road;
    const auto flood = [&](const char* name, double records, double frames, double bound) {
        const double rate = road.flood(records, frames, items);
        bench.atLeast(name, rate, bound, "1/s");
        bench.figure("  by processor time of the GUI thread", road.itemsPerThreadSecond, "1/s");
        return rate;
    };
    road.console.click("mapTuner"); // no curve is shown
    const double dark = flood("records of 128 values, no curves", asFastAsTheLineTakes, 0, 40'000);
    stages(bench, road, 1e6 / dark);

    constexpr double paced = 1000; // records a second
    road.setRates(paced, 0);
    Heartbeat quiet;
    runFor(seconds);
    quiet.stop();
    road.showCurves();
    const auto paceWithCurves = [&](const QString& what) {
        Heartbeat drawing;
        runFor(seconds);
        drawing.stop();
        bench.atLeast(
            "1 ms ticks kept at 1 kHz, " + what,
            100 * drawing.ticksPerSecond / quiet.ticksPerSecond, 90, "% of those without");
        bench.figure("  GUI thread busy", drawing.busyPercent, "%");
        bench.figure("  longest silence", drawing.longestMs, "ms");
    };
    bench.figure("GUI thread busy at 1 kHz without curves", quiet.busyPercent, "%");
    paceWithCurves("128 curves");
    for (int step = 0; step < tagCount; ++step) {
        road.console.slider(1)->setValue(step % 1024);
    }
    paceWithCurves(QStringLiteral("and %1 tags").arg(tagCount));
    flood("records of 128 values, curves in view", asFastAsTheLineTakes, 0, 50'000);

    QElapsedTimer strip;
    strip.start();
    road.console.click("mapTuner");
    bench.atMost("\"Deselect All\"", double(strip.nsecsElapsed()) / 1e6, 20, "ms");

    road.console.click("candump");
    Heartbeat capturing;
    flood("captured frames, table open", 0, asFastAsTheLineTakes, 100'000);
    capturing.stop();
    bench.atMost("  longest silence with them", capturing.longestMs, 20, "ms");

    const QByteArray log = contents(road.home.files("*.log").value(0));
    const quint64 sent = road.rig.run([](VirtualController& unit) { return unit.recordsSent(); });
    bench.atMost("records missing in the log", missingRecords(log, sent), 0, "");
    const quint64 framesSent = road.rig.run([](VirtualController& u) { return u.framesSent(); });
    const QByteArray capture = contents(road.home.files("*.candump").value(0));
    bench.atMost("frames missing in the capture", double(framesSent) - capture.count('\n'), 0, "");
    return bench.exitCode();
}
