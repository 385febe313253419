// SPDX-License-Identifier: GPL-3.0-or-later

// bench_road [--records N]: the road of a log record from a virtual controller through the real
// serial port and the real window to the file, and what each stage of it costs. The controller
// pushes as fast as the line takes; no curve is shown.
#include "bench/benchmark.h"
#include "comm/commandsresponsereceiver.h"
#include "comm/idataloggercommandsresponse.h"
#include "formats/logline.h"
#include "schema/link.pb.h"
#include "support/consolerig.h"
#include "support/portrig.h"

#include <QCommandLineParser>
#include <unistd.h>

namespace {

constexpr int channels = 128;
constexpr int stageRuns = 20'000;

// The mocked port is seen by programs that were started under the preload alone.
void restartUnderPreload(char* argv[])
{
    const QByteArray preload = "libumockdev-preload.so.0";
    if (qgetenv("LD_PRELOAD").contains(preload)) {
        return;
    }
    qputenv("LD_PRELOAD", preload);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    execv("/proc/self/exe", argv);
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

template <typename Condition>
void runUntil(Condition condition)
{
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
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

void connectTo(ConsoleRig& console)
{
    runUntil([&] { return console.child<QComboBox>("xcuSerialNumber")->count() > 0; });
    console.click("pushButton_2");
}

// Seconds for so many records of a passive session.
double road(ConsoleRig& console, PortRig& rig, int records)
{
    console.child<QComboBox>("channelCount")->setCurrentIndex(3);
    console.click("passiveDatalogger");
    rig.run([](VirtualController& unit) { unit.setRecordRate(asFastAsTheLineTakes); });
    console.click("startLogging");
    const auto received = [&] { return console.plot()->graph(0)->dataCount(); };
    runUntil([&] { return received() > 0; });
    const int before = received();
    QElapsedTimer timer;
    timer.start();
    runUntil([&] { return received() >= before + records; });
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    rig.run([](VirtualController& unit) { unit.setRecordRate(0); });
    return seconds * records / (received() - before);
}

// The records of a log that do not follow on the one before.
int gaps(const QString& path)
{
    int found = 0;
    qint64 expected = -1;
    const QByteArrayList lines = contents(path).split('\n');
    for (int i = 1; i + 1 < lines.size(); ++i) {
        const qint64 number = lines[i].left(lines[i].indexOf(';')).toLongLong();
        found += number != expected && expected >= 0 ? 1 : 0;
        expected = number + 1;
    }
    return found;
}

void stages(Benchmark& bench, ConsoleRig& console, PortRig& rig, double whole)
{
    xcu::Response response;
    rig.run([&](VirtualController& unit) {
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
        emit console.window.addLog(QStringLiteral("Received logger data %1").arg(i));
    });
    QFile file("stage.log");
    file.open(QIODevice::WriteOnly);
    std::string line;
    const double write = microseconds([&](int i) {
        composeLogLine(line, i, i, values);
        file.write(line.data(), static_cast<qint64>(line.size()));
        file.flush();
    });
    QCustomPlot plot;
    while (plot.graphCount() < channels) {
        plot.addGraph();
    }
    double x = 0;
    const double points = microseconds([&](int) {
        x += 0.001;
        for (int channel = 0; channel < channels; ++channel) {
            plot.graph(channel)->addData(x, values[static_cast<std::size_t>(channel)]);
        }
    });
    const auto share = [&](const char* name, double cost) {
        bench.figure(
            name, cost, QStringLiteral("us a record, %1 %").arg(100 * cost / whole, 0, 'f', 0));
    };
    share("  message and dispatch", decode);
    share("  status text", status);
    share("  line, write and flush", write);
    share("  points into the chart", points);
    share("  port, frame and all the rest", whole - decode - status - write - points);
}

} // namespace

int main(int argc, char* argv[])
{
    restartUnderPreload(argv);
    QApplication application(argc, argv);
    QCommandLineParser options;
    options.addHelpOption();
    options.addOption({"records", "records on the road", "N", "200000"});
    options.process(application);
    const int records = options.value("records").toInt();

    Benchmark bench;
    ConsoleHome home;
    PortRig rig(ControllerOptions(), PortRig::Lives::InOwnThread);
    rig.plug();
    ConsoleRig console;
    console.window.resize(1400, 800);
    console.window.show();
    console.click("mapTuner"); // no curve is shown
    connectTo(console);

    const double seconds = road(console, rig, records);
    bench.atLeast("records a second, 128 values, no curves", records / seconds, 40'000, "1/s");
    bench.atMost("records missing in the log", gaps(home.files("*.log").value(0)), 0, "");
    stages(bench, console, rig, 1e6 * seconds / records);
    return bench.exitCode();
}
