// SPDX-License-Identifier: GPL-3.0-or-later

// bench_chart: what the live chart costs with 128 channels, however long the drive is. "GUI thread"
// is processor time, what is waited for is real time.
#include "bench/benchmark.h"
#include "chart/livechart.h"
#include "formats/channels.h"

#include <QApplication>
#include <cmath>
#include <ctime>
#include <malloc.h>
#include <random>

namespace {

constexpr int channels = 128;

double seconds(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

template <typename Work>
double milliseconds(clockid_t clock, Work work)
{
    const double start = seconds(clock);
    work();
    return 1e3 * (seconds(clock) - start);
}

enum class Data { Waves, Noise, FullNoise };

// The console's chart in a drive at 1 kHz.
class Chart
{
public:
    explicit Chart(Data data)
        : values(65'521) // a prime: no pace of a channel falls into step with it
    {
        std::mt19937 random(1);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double wave = 512 + 300 * std::sin(0.001 * double(i));
            const auto noise = static_cast<int>(random());
            values[i] = data == Data::FullNoise ? noise
                        : data == Data::Noise   ? noise & 1023
                                                : int(wave) + (noise & 3);
        }
        plot.resize(1200, 500);
        plot.yAxis->setRange(0, 1024);
        for (int channel = 0; channel < channels; ++channel) {
            chart->addChannel()->setPen(QPen(formats::channelColour(channel)));
        }
        plot.show();
        QCoreApplication::processEvents();
    }

    void addRecords(int count)
    {
        for (; count > 0; --count, ++records) {
            for (std::size_t channel = 0; channel < channels; ++channel) {
                record[channel] = values
                    [(channel * 1009 + std::size_t(records) * (1 + channel % 7)) % values.size()];
            }
            chart->addRecord(double(float(records) / 1000.0F), record);
        }
    }

    // Shows all records.
    void showAll()
    {
        plot.xAxis->setRange(0, records / 1000.0);
        plot.replot();
        plot.grab(); // waits for the exact picture
    }

    QCustomPlot plot;
    chart::LiveChart* chart = new chart::LiveChart(&plot);
    int records = 0;

private:
    std::vector<int> values;
    std::vector<int> record = std::vector<int>(channels);
};

void measureViews(
    Benchmark& bench, Data data, const char* name, int records, double boundMs, double boundBytes)
{
    malloc_trim(0); // what earlier measurements left would hide what this one takes
    const qint64 before = residentSize();
    Chart chart(data);
    const double packing =
        milliseconds(CLOCK_THREAD_CPUTIME_ID, [&] { chart.addRecords(records); });
    const double bytes = 1024.0 * double(residentSize() - before);
    const QString what = QStringLiteral(", %1, %2 records").arg(name).arg(records);
    chart.showAll();
    double gui = 0;
    double exact = 0;
    for (int i = 0; i < 5; ++i) {
        chart.plot.xAxis->moveRange(i % 2 == 0 ? 0.3 : -0.3);
        const double moved = milliseconds(CLOCK_THREAD_CPUTIME_ID, [&] { chart.plot.replot(); });
        const double waited = milliseconds(CLOCK_MONOTONIC, [&] { chart.plot.grab(); });
        gui = std::max(gui, moved);
        exact = std::max(exact, waited);
    }
    bench.atMost("GUI thread for a change of the view" + what, gui, 5, "ms");
    bench.atMost("exact picture" + what, exact, boundMs, "ms");
    bench.atMost("memory" + what, bytes / channels / records, boundBytes, "bytes a value");
    bench.figure("taken in" + what, 1e6 * packing / channels / records, "ns a value");
}

void measureSession(Benchmark& bench)
{
    Chart chart(Data::Waves);
    chart.plot.xAxis->setRange(0, 60);
    chart.addRecords(48'000);
    chart.plot.replot();
    chart.plot.grab();
    QEventLoop loop;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QElapsedTimer wall;
    const int before = chart.records;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        chart.addRecords(before + int(wall.elapsed()) - chart.records);
        if (chart.chart->hasNews()) {
            chart.chart->requestReplot();
        }
        if (wall.elapsed() >= 10'000) {
            loop.quit();
        }
    });
    wall.start();
    timer.start(1);
    double gui = 0;
    const double all = milliseconds(CLOCK_PROCESS_CPUTIME_ID, [&] {
        gui = milliseconds(CLOCK_THREAD_CPUTIME_ID, [&] { loop.exec(); });
    });
    bench.atMost("1 kHz, 60 s in view, GUI thread", gui / 100, 10, "% of a core");
    bench.atMost("1 kHz, 60 s in view, all threads", all / 100, 30, "% of a core");
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    Benchmark bench;
    measureViews(bench, Data::Waves, "waves", 60'000, 400, 4.5);
    measureViews(bench, Data::Waves, "waves", 600'000, 400, 1.6);
    measureViews(bench, Data::Waves, "waves", 3'600'000, 2000, 1.6);
    measureViews(bench, Data::Noise, "noise", 600'000, 2000, 4.5);
    measureViews(bench, Data::FullNoise, "32-bit noise", 600'000, 2000, 4.5);
    measureSession(bench);
    return bench.exitCode();
}
