// SPDX-License-Identifier: GPL-3.0-or-later

// bench_chart: what the live chart costs with 128 channels, however long the drive is. "GUI thread"
// is processor time, what is waited for is real time.
#include "bench/benchmark.h"
#include "chart/livechart.h"
#include "formats/channels.h"

#include <QApplication>
#include <cmath>
#include <malloc.h>
#include <numeric>
#include <random>

namespace {

constexpr int channels = 128;

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
            plot.addChannel()->setPen(QPen(formats::channelColour(channel)));
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
            plot.addRecord(double(float(records) / 1000.0F), record);
        }
    }

    void show(double seconds)
    {
        plot.xAxis->setRange(0, seconds);
        plot.replot();
        plot.grab(); // waits for the exact picture
    }

    chart::LiveChart plot;
    int records = 0;

private:
    std::vector<int> values;
    std::vector<int> record = std::vector<int>(channels);
};

void measureViews(Data data, const char* name, int records, double boundMs, double boundBytes)
{
    malloc_trim(0); // what earlier measurements left would hide what this one takes
    const double before = ownMemory();
    Chart chart(data);
    const double packing = secondsOf([&] { chart.addRecords(records); }, threadTime);
    const double bytes = 1048576 * (ownMemory() - before);
    const QString what = QStringLiteral(", %1, %2 records").arg(name).arg(records);
    chart.show(records / 1000.0);
    double gui = 0;
    double exact = 0;
    for (int i = 0; i < 5; ++i) {
        chart.plot.xAxis->moveRange(i % 2 == 0 ? 0.3 : -0.3);
        gui = std::max(gui, secondsOf([&] { chart.plot.replot(); }, threadTime));
        exact = std::max(exact, secondsOf([&] { chart.plot.grab(); }));
    }
    atMost("GUI thread for a change of the view" + what, 1e3 * gui, 5, "ms");
    atMost("exact picture" + what, 1e3 * exact, boundMs, "ms");
    atMost("memory" + what, bytes / channels / records, boundBytes, "bytes a value");
    figure("taken in" + what, 1e9 * packing / channels / records, "ns a value");
}

// A log is opened while a session goes on: its records are late.
void measureAlternation()
{
    malloc_trim(0);
    const double before = ownMemory();
    constexpr int records = 60'000; // of each
    chart::LiveChart plot;
    for (int channel = 0; channel < channels; ++channel) {
        plot.addChannel();
    }
    std::vector<int> record(channels);
    const double taken = secondsOf(
        [&] {
            for (int i = 0; i < records; ++i) {
                std::iota(record.begin(), record.end(), i & 1023);
                plot.addRecord(1000 + i * 1e-3, record);
                plot.addRecord(i * 1e-3, record);
            }
        },
        threadTime);
    const double values = 2.0 * channels * records;
    atMost(
        "memory, late and live records", 1048576 * (ownMemory() - before) / values, 4.5,
        "bytes a value");
    figure("taken in, late and live records", 1e9 * taken / values, "ns a value");
}

void measureSession()
{
    constexpr double seconds = 10;
    Chart chart(Data::Waves);
    chart.addRecords(48'000);
    chart.show(60);
    QEventLoop loop;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QElapsedTimer wall;
    const int before = chart.records;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        chart.addRecords(before + int(wall.elapsed()) - chart.records);
        chart.plot.requestNews();
        if (wall.elapsed() >= 1000 * seconds) {
            loop.quit();
        }
    });
    wall.start();
    timer.start(1);
    double gui = 0;
    const double all =
        secondsOf([&] { gui = secondsOf([&] { loop.exec(); }, threadTime); }, processTime);
    atMost("1 kHz, 60 s in view, GUI thread", 100 * gui / seconds, 10, "% of a core");
    atMost("1 kHz, 60 s in view, all threads", 100 * all / seconds, 30, "% of a core");
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    measureViews(Data::Waves, "waves", 60'000, 400, 4.5);
    measureViews(Data::Waves, "waves", 600'000, 400, 1.6);
    measureViews(Data::Waves, "waves", 3'600'000, 2000, 1.6);
    measureViews(Data::Noise, "noise", 600'000, 2000, 4.5);
    measureViews(Data::FullNoise, "32-bit noise", 600'000, 2000, 4.5);
    measureAlternation();
    measureSession();
    return exitCode();
}
