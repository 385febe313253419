// SPDX-License-Identifier: GPL-3.0-or-later

// bench_records: session logs and black-box records onto a chart, and signals out of frames,
// against reading value by value and adding point by point.
#include "bench/benchmark.h"
#include "bench/slowroad.h"
#include "formats/arrivalorder.h"
#include "formats/blackboxreader.h"
#include "formats/logreader.h"
#include "formats/signaldecoder.h"
#include "schema/blackbox.pb.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <qcustomplot.h>
#include <sstream>

using namespace formats;

namespace {

constexpr int channels = 128;

// The chart of the console, seen by nobody.
class Chart : public QCustomPlot
{
public:
    Chart()
    {
        resize(1200, 750);
        for (int channel = 0; channel < channels; ++channel) {
            addGraph();
        }
        xAxis->setRange(0, 60);
        yAxis->setRange(0, 1024);
        show();
    }

    void addPoint(int channel, GraphPoint point)
    {
        graph(channel)->addData(point.key, point.value);
    }

    void addPoints(const RecordPoints& points)
    {
        for (int channel = 0; channel < points.channelCount(); ++channel) {
            addInArrivalOrder(*graph(channel)->data(), points.points(channel));
        }
    }

    void clearPoints()
    {
        for (int channel = 0; channel < channels; ++channel) {
            graph(channel)->data()->clear();
        }
    }

    bool shows(const Chart& other)
    {
        for (int channel = 0; channel < channels; ++channel) {
            const auto equal = [](const QCPGraphData& a, const QCPGraphData& b) {
                return a.key == b.key && a.value == b.value;
            };
            const QCPGraphDataContainer& ours = *graph(channel)->data();
            const QCPGraphDataContainer& others = *other.graph(channel)->data();
            if (!std::equal(
                    ours.constBegin(), ours.constEnd(), others.constBegin(), others.constEnd(),
                    equal)) {
                return false;
            }
        }
        return true;
    }
};

QByteArray logFile(int records, int recordsPerTag)
{
    QByteArray log("#;timestamp;");
    for (int channel = 0; channel < channels; ++channel) {
        log += "Channel " + QByteArray::number(channel) + ";";
    }
    for (int i = 0; i < records; ++i) {
        log += "\n" + QByteArray::number(i) + ";" + QByteArray::number(10 * i) + ";";
        for (int channel = 0; channel < channels; ++channel) {
            log += QByteArray::number((i * 31 + channel * 977) % 4096 - 100) + ";";
        }
        if (i % recordsPerTag == 0) {
            log += "\n$;" + QByteArray::number(10 * i) + ";Hard shift";
        }
    }
    return log + "\n";
}

// A drive with a tag every thirty seconds. On the slow road each tag draws the chart.
void measureLog(Benchmark& bench)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("a.log"));
    file.open(QIODevice::ReadWrite);
    file.write(logFile(30'000, 3000));
    const double slowReading = fastest([&] {
        file.seek(0);
        slowroad::Log log;
        slowroad::readLog(file, channels, log, [](int, GraphPoint) {});
    });
    const double reading = fastest([&] {
        file.seek(0);
        readLog(file, channels, -1, -1);
    });
    const double megabytes = static_cast<double>(file.size()) / 1e6;
    bench.compare(
        ".log read", "MB/s", megabytes / reading, {{naiveRoad, megabytes / slowReading}}, 8);

    Chart slow;
    const double slowTime = fastest([&] {
        slow.clearPoints();
        file.seek(0);
        slowroad::Log log;
        int drawn = 0;
        slowroad::readLog(file, channels, log, [&](int channel, GraphPoint point) {
            for (; drawn < log.tags.size(); ++drawn) {
                slow.replot(QCustomPlot::rpRefreshHint);
            }
            slow.addPoint(channel, point);
        });
        slow.replot(QCustomPlot::rpRefreshHint);
    });
    Chart fast;
    const auto open = [&] {
        file.seek(0);
        fast.addPoints(readLog(file, channels, -1, -1).points);
        fast.replot(QCustomPlot::rpRefreshHint);
    };
    const double fastTime = fastest([&] {
        fast.clearPoints();
        open();
    });
    const bool isSame = fast.shows(slow);
    const double twice = fastest([&] {
        fast.clearPoints();
        open();
        open();
    });
    bench.compare(
        ".log of 30,000 records on the chart", "ms", fastTime * 1e3, {{naiveRoad, slowTime * 1e3}},
        8, isSame);
    bench.atMost(".log opened twice against once", twice / fastTime, 5, "times");
}

std::string blackboxFile()
{
    xcu::BlackboxFileL file;
    for (int i = 0; i < 5000; ++i) {
        xcu::BlackboxFileLine record;
        for (int channel = 0; channel < channels / 2; ++channel) {
            record.add_inputs((i * channel) % 5000);
            record.add_outputs(channel - i);
        }
        record.set_timestamp(10 * i);
        *file.add_loglines() = record.SerializeAsString();
    }
    for (int i = 0; i < 50'000; ++i) {
        xcu::BlackboxCandumpFileLine record;
        record.set_framedata("12345678");
        record.set_timestamp(static_cast<unsigned>(i));
        record.set_busnumber(static_cast<unsigned>(i % 3));
        record.set_canid(0x100 + i % 200);
        *file.add_candumplines() = record.SerializeAsString();
    }
    return file.SerializeAsString();
}

// The slow road: one record, one point, one line at a time.
void readSlowly(std::istream& stream, QFile& converted, Chart& chart)
{
    xcu::BlackboxFileL file;
    file.ParseFromIstream(&stream);
    xcu::BlackboxFileLine first;
    first.ParseFromString(file.loglines(0));
    const int inputs = first.inputs_size();
    QVector<CanFrames> frames;
    for (const std::string& bytes : file.candumplines()) {
        xcu::BlackboxCandumpFileLine record;
        record.ParseFromString(bytes);
        CanFrames frame;
        frame.frameTime = record.timestamp() / 1000.0;
        frame.busNumber = static_cast<int>(record.busnumber());
        frame.frameId = record.canid();
        frame.length = static_cast<int>(std::min<std::size_t>(record.framedata().size(), 8));
        std::copy_n(record.framedata().begin(), frame.length, frame.payload);
        frames.append(frame);
        converted.write(slowroad::convertedLine(frame.frameTime / 1000.0, frame));
        converted.flush();
    }
    for (const std::string& bytes : file.loglines()) {
        xcu::BlackboxFileLine record;
        record.ParseFromString(bytes);
        const double x = static_cast<double>(static_cast<float>(record.timestamp()) / 1000.0F);
        for (int k = 0; k < record.inputs_size(); ++k) {
            chart.addPoint(k, {x, static_cast<double>(record.inputs(k))});
        }
        for (int k = 0; k < record.outputs_size(); ++k) {
            chart.addPoint(inputs + k, {x, static_cast<double>(record.outputs(k))});
        }
    }
}

void measureBlackbox(Benchmark& bench)
{
    const QTemporaryDir folder;
    const std::string content = blackboxFile();
    Chart slow;
    Chart fast;
    const auto timeOf = [&](Chart& chart, auto read) {
        return fastest([&] {
            QFile converted(folder.filePath("converted"));
            converted.open(QIODevice::WriteOnly);
            chart.clearPoints();
            std::istringstream stream(content);
            read(stream, converted, chart);
        });
    };
    const double slowTime = timeOf(slow, readSlowly);
    const double fastTime = timeOf(fast, [](std::istream& stream, QFile& converted, Chart& chart) {
        QVector<CanFrames> frames;
        TraceImport import{frames};
        import.candumpFile = &converted;
        chart.addPoints(readBlackbox(stream, import).points);
    });
    bench.compare(
        ".rbx of 5,000 records and 50,000 frames", "ms", fastTime * 1e3,
        {{naiveRoad, slowTime * 1e3}}, 3, fast.shows(slow));
}

// A signal of 16 bits over a million frames, of which one in `identifiers` carries it.
void measureSignal(Benchmark& bench, int identifiers)
{
    QVector<CanFrames> frames(1'000'000);
    for (int i = 0; i < frames.size(); ++i) {
        CanFrames& frame = frames[i];
        frame.frameTime = i / 1000.0;
        frame.frameId = i % identifiers;
        frame.length = 8;
        frame.payload[2] = static_cast<unsigned char>(i);
        frame.payload[3] = static_cast<unsigned char>(i >> 8);
    }
    CanSignalData signal;
    signal.bitOffset = 16;
    signal.bitLength = 16;
    signal.multiplier = 0.1;
    signal.showMode = SignedLeastFirst;
    signal.plotted = true;
    Chart slow;
    Chart fast;
    const double slowTime = fastest([&] {
        slow.graph(0)->data()->clear();
        slowroad::readSignal(
            signal, frames, [&slow](int, GraphPoint point) { slow.addPoint(0, point); });
    });
    FrameIndex index;
    index.extend(frames);
    const double fastTime = fastest([&] {
        fast.graph(0)->data()->clear();
        addInArrivalOrder(*fast.graph(0)->data(), *signalCurve(signal, frames, index));
    });
    bench.compare(
        QStringLiteral("signal in 1 of %1 of a million frames").arg(identifiers), "ms",
        fastTime * 1e3, {{naiveRoad, slowTime * 1e3}}, 5, fast.shows(slow));
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    Benchmark bench;
    measureLog(bench);
    measureBlackbox(bench);
    measureSignal(bench, 200);
    measureSignal(bench, 1);
    return bench.exitCode();
}
