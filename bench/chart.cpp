// SPDX-License-Identifier: GPL-3.0-or-later

// bench_chart: what the live chart costs with 128 channels, beside a chart of the library's own
// graphs that is drawn at every record. Times are processor times of the GUI thread.
#include "app/livechart.h"
#include "app/livegraph.h"
#include "app/replotpacer.h"
#include "bench/benchmark.h"
#include "formats/channelcolour.h"

#include <QApplication>
#include <QTimer>
#include <cmath>
#include <ctime>
#include <random>
#include <vector>

using namespace formats;

namespace {

constexpr int channels = 128;

// Processor time of this thread that the work takes.
template <typename Work>
double milliseconds(Work work)
{
    const auto now = [] {
        timespec time = {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
    };
    const double start = now();
    work();
    return now() - start;
}

// Values of the channels over time: waves of different pace with a little noise, or noise from edge
// to edge. Made before anything is measured.
class Signals
{
public:
    explicit Signals(bool noise)
        : values(length)
    {
        std::mt19937 random(1);
        for (std::size_t i = 0; i < length; ++i) {
            const double wave = 512 + 300 * std::sin(0.001 * static_cast<double>(i));
            const double spread = static_cast<double>(random() % 1024);
            values[i] = noise ? spread : std::floor(wave + spread / 256);
        }
    }

    double at(std::size_t channel, std::size_t record) const
    {
        return values[(channel * 1009 + record * (1 + channel % 7)) % length];
    }

private:
    static constexpr std::size_t length = 65'521; // a prime: no pace falls into step with it
    std::vector<double> values;
};

enum class Graphs { Stock, Live };
enum class Data { Lively, Noise };

// The console's chart.
class Chart
{
public:
    explicit Chart(Graphs graphs, Data data = Data::Lively)
        : live(graphs == Graphs::Live ? new LiveChart(&plot) : nullptr)
        , pacer(new ReplotPacer(&plot))
        , channelSignals(data == Data::Noise)
    {
        plot.resize(1200, 500);
        plot.xAxis->setRange(0, 60);
        plot.yAxis->setRange(0, 1024);
        for (int channel = 0; channel < channels; ++channel) {
            QCPGraph* graph = live ? live->addGraph() : plot.addGraph();
            graph->setName(QStringLiteral("data %1").arg(channel + 1));
            graph->setPen(QPen(channelColour(channel)));
        }
        plot.show();
        QCoreApplication::processEvents();
    }

    // Takes in the next record of a drive at 1 kHz.
    void addRecord()
    {
        const double x = static_cast<float>(records) / 1000.0F;
        for (int channel = 0; channel < channels; ++channel) {
            const double value = channelSignals.at(static_cast<std::size_t>(channel), records);
            if (live) {
                live->addPoint(channel, x, value);
            } else {
                plot.graph(channel)->addData(x, value);
            }
        }
        ++records;
    }

    void draw() { plot.replot(QCustomPlot::rpRefreshHint); }

    // As the console does after a record.
    void drawIfItShows()
    {
        if (live->hasNewInk()) {
            pacer->request();
        }
    }

    QCustomPlot plot;
    LiveChart* live;
    ReplotPacer* pacer;
    std::size_t records = 0;

private:
    Signals channelSignals;
};

// Milliseconds of one record that is drawn at once, while the view holds 59,000 records and more.
double recordInFullView(Graphs graphs, Data data)
{
    Chart chart(graphs, data);
    while (chart.records < 59'000) {
        chart.addRecord();
    }
    chart.draw();
    double best = std::numeric_limits<double>::max();
    const int runs = graphs == Graphs::Live ? 100 : 1; // so that all states of a pixel are met
    for (int part = 0; part < 5; ++part) {
        const double ms = milliseconds([&] {
            for (int i = 0; i < runs; ++i) {
                chart.addRecord();
                chart.draw();
            }
        });
        best = std::min(best, ms / runs);
    }
    return best;
}

void compareRecords(Benchmark& bench, Data data, const QString& name)
{
    const double stock = recordInFullView(Graphs::Stock, data);
    const double live = recordInFullView(Graphs::Live, data);
    bench.compare(
        QStringLiteral("record drawn among 59,000, %1").arg(name), "ms", live, {{naiveRoad, stock}},
        50);
}

// What can only be painted in full.
void compareFullPaintings(Benchmark& bench)
{
    const auto pan = [](Graphs graphs) {
        Chart chart(graphs);
        while (chart.records < 60'000) {
            chart.addRecord();
        }
        double best = std::numeric_limits<double>::max();
        for (int i = 1; i < 8; ++i) {
            chart.plot.xAxis->moveRange(0.01);
            best = std::min(best, milliseconds([&] { chart.draw(); }));
        }
        return best;
    };
    const double stock = pan(Graphs::Stock);
    bench.compare(
        "picture of 60,000 records, panned", "ms", pan(Graphs::Live), {{naiveRoad, stock}}, 0.8);
}

struct Minute
{
    double share = 0;   // of the thread's time, in %
    int ticks = 0;      // of a 1 ms timer
    double longest = 0; // record, in ms
};

// Seconds of real time in a session at 1 kHz; without a chart there is nothing but the timer.
Minute runSession(Chart* chart, int seconds)
{
    Minute result;
    QEventLoop loop;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QElapsedTimer wall;
    const std::size_t before = chart ? chart->records : 0;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        ++result.ticks;
        const auto due = before + static_cast<std::size_t>(wall.elapsed());
        while (chart && chart->records < due) {
            const double record = milliseconds([&] {
                chart->addRecord();
                chart->drawIfItShows();
            });
            result.longest = std::max(result.longest, record);
        }
        if (wall.elapsed() >= 1000 * seconds) {
            loop.quit();
        }
    });
    wall.start();
    timer.start(1);
    result.share = milliseconds([&] { loop.exec(); }) / (10.0 * seconds);
    return result;
}

void measureSession(Benchmark& bench)
{
    Chart chart(Graphs::Live);
    while (chart.records < 48'000) {
        chart.addRecord();
    }
    chart.draw();
    Minute with;
    int ticksWithout = 0;
    for (int round = 0; round < 5; ++round) { // in turns, so that both find the same machine
        ticksWithout += runSession(nullptr, 2).ticks;
        const Minute part = runSession(&chart, 2);
        with.ticks += part.ticks;
        with.share += part.share / 5;
        with.longest = std::max(with.longest, part.longest);
    }
    bench.atMost("1 kHz, share of the GUI thread", with.share, 20, "%");
    bench.atMost("1 kHz, longest record", with.longest, 10, "ms");
    bench.atLeast("1 kHz, 1 ms ticks kept", 100.0 * with.ticks / ticksWithout, 90, "%");
}

void measureFlood(Benchmark& bench)
{
    Chart chart(Graphs::Live);
    const double ms = milliseconds([&] {
        while (chart.records < 60'000) {
            chart.addRecord();
            chart.drawIfItShows();
            if (chart.records % 16 == 0) { // as many come in one read
                QCoreApplication::processEvents();
            }
        }
    });
    bench.atLeast("flood, all in view", 60'000 / ms * 1000, 50'000, "records/s");
    // The view is full. One record more leads out of it, those that follow cannot be seen.
    while (chart.records < 60'002) {
        chart.addRecord();
    }
    chart.draw();
    int drawn = 0;
    QObject::connect(&chart.plot, &QCustomPlot::afterReplot, [&] { ++drawn; });
    for (int i = 0; i < 10'000; ++i) {
        chart.addRecord();
        chart.drawIfItShows();
    }
    bench.atMost("replots for 10,000 records out of view", drawn, 0, "");

    for (int channel = 0; channel < channels; ++channel) {
        chart.plot.graph(channel)->setVisible(false);
    }
    bench.atMost("all curves hidden, drawn", milliseconds([&] { chart.draw(); }), 20, "ms");
}

// Past the size where vectors that double copy 2 MB each.
double longestRecord(Chart& chart, std::size_t records)
{
    double longest = 0;
    while (chart.records < records) {
        longest = std::max(longest, milliseconds([&] { chart.addRecord(); }));
    }
    return longest;
}

void measureGrowth(Benchmark& bench)
{
    constexpr std::size_t records = 140'000;
    {
        Chart stock(Graphs::Stock);
        bench.figure("stock, longest record of 140,000", longestRecord(stock, records), "ms");
    }
    Chart live(Graphs::Live);
    const qint64 before = residentSize();
    bench.atMost("live, longest record of 140,000", longestRecord(live, records), 10, "ms");
    const double bytes = 1024.0 * static_cast<double>(residentSize() - before);
    bench.atMost(
        "memory a point", bytes / (channels * static_cast<double>(records)), 16.5, "bytes");
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    Benchmark bench;
    compareRecords(bench, Data::Lively, "lively data");
    compareRecords(bench, Data::Noise, "noise");
    compareFullPaintings(bench);
    measureSession(bench);
    measureFlood(bench);
    measureGrowth(bench);
    return bench.exitCode();
}
