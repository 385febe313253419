// SPDX-License-Identifier: GPL-3.0-or-later

// bench_link [--frames N]: records of 128 values through frame reader and dispatcher, what each
// stage costs, and whether memory stays where it is over N frames.
#include "bench/benchmark.h"
#include "comm/commandsresponsereceiver.h"
#include "comm/frame.h"
#include "comm/idataloggercommandsresponse.h"
#include "comm/portlist.h"
#include "comm/trace.h"
#include "schema/link.pb.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QIODevice>
#include <QtEndian>
#include <cstring>

namespace {

constexpr int channels = 128;
constexpr int framesPerRun = 100'000;

std::string recordFrame()
{
    xcu::Response response;
    response.set_protocol_version(1);
    xcu::DataloggerDataResp& record = *response.mutable_logger_data();
    for (int channel = 0; channel < channels; ++channel) {
        // A third of the channels is negative: ten bytes each on the wire.
        record.add_values(channel % 3 == 0 ? -channel : channel * 517);
    }
    record.set_sample_number(1'000'000);
    record.set_timestamp(100'000'000);
    return makeFrame(response.SerializeAsString());
}

// A line that delivers the same frame so many times, at most 4 KiB a read, as a terminal does.
class Line : public QIODevice
{
public:
    Line(const std::string& frameBytes, qint64 frames)
        : frame(frameBytes)
        , left(frames * static_cast<qint64>(frameBytes.size()))
    {
        open(QIODevice::ReadOnly);
    }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return left + QIODevice::bytesAvailable(); }

protected:
    qint64 readData(char* data, qint64 wanted) override
    {
        const qint64 size = std::min({wanted, left, qint64(4096)});
        for (qint64 done = 0; done < size;) {
            const std::size_t part =
                std::min(static_cast<std::size_t>(size - done), frame.size() - position);
            std::memcpy(data + done, frame.data() + position, part);
            position = (position + part) % frame.size();
            done += static_cast<qint64>(part);
        }
        left -= size;
        return size;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    const std::string& frame;
    std::size_t position = 0;
    qint64 left;
};

class Logger : public IDataLoggerCommandsResponse
{
public:
    void loggerStarted() override {}
    void loggerDataReceived(unsigned int, unsigned int, std::vector<int>&& values) override
    {
        sum += values.back();
    }
    void loggerStopped() override {}

    qint64 sum = 0;
};

template <typename Sink>
void readAll(Line& line, Sink sink)
{
    quint32 readState = AwaitsHeader;
    quint32 frameLength = 0;
    while (std::optional<std::string> payload = takeFrame(line, readState, frameLength)) {
        sink(*payload);
        readState = AwaitsHeader;
    }
}

// The plain way to read a frame: the payload as a byte array, then as a string, then a copy of it.
template <typename Sink>
void readAllPlainly(Line& line, Sink sink)
{
    while (line.bytesAvailable() > 0) {
        traceLine("dataAvaliable ", line.bytesAvailable());
        quint32 length = 0;
        line.startTransaction();
        line.read(reinterpret_cast<char*>(&length), sizeof length);
        line.commitTransaction();
        traceLine("Header:  ", length);
        traceLine("Wait for data:  ", length, "/", line.bytesAvailable());
        line.startTransaction();
        const QByteArray bytes = line.read(length);
        const std::string payload(bytes.constData(), static_cast<std::size_t>(bytes.size()));
        line.commitTransaction();
        traceLine("Red:  ", payload.size());
        sink(std::string(payload));
    }
}

void measureStages(Benchmark& bench, const std::string& frame)
{
    Logger logger;
    CommandsResponseReceiver heard(
        nullptr, &logger, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    CommandsResponseReceiver unheard(
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    const std::string payload = frame.substr(sizeof(quint32));

    const double traces = fastest([] {
        for (int i = 0; i < framesPerRun; ++i) {
            traceLine("dataAvaliable ", i);
            traceLine("Header:  ", i);
            traceLine("Wait for data:  ", i, "/", i);
            traceLine("Red:  ", i);
            traceLine("kLoggerData");
        }
    });
    const double reading = fastest([&] {
        Line line(frame, framesPerRun);
        readAll(line, [](const std::string&) {});
    });
    const double plainReading = fastest([&] {
        Line line(frame, framesPerRun);
        readAllPlainly(line, [](const std::string&) {});
    });
    const double parsing = fastest([&] {
        for (int i = 0; i < framesPerRun; ++i) {
            unheard.decodeResponse(payload);
        }
    });
    const double road = fastest([&] {
        Line line(frame, framesPerRun);
        readAll(line, [&](const std::string& data) { heard.decodeResponse(data); });
    });

    const auto share = [&](const char* name, double seconds) {
        bench.figure(QLatin1String(name), 100 * seconds / road, QStringLiteral("% of the road"));
    };
    bench.figure("size of a record", static_cast<double>(frame.size()), "bytes");
    share("stage: the five trace lines, flushed", traces);
    share("stage: reading, four of the lines included", reading);
    share("stage: parsing, one of the lines included", parsing);
    share("stage: copy of the values and the call", road - reading - parsing);
    bench.atLeast("reading, against the plain way", plainReading / reading, 1.0, "times");
    // The whole road to the file is to carry 40,000 records; the link may take a fifth of the time.
    bench.atLeast("frame reader and dispatcher", framesPerRun / road, 200'000, "records/s");
}

void measureMemory(Benchmark& bench, const std::string& frame, qint64 frames)
{
    Logger logger;
    CommandsResponseReceiver receiver(
        nullptr, &logger, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    const auto run = [&](qint64 count) {
        Line line(frame, count);
        readAll(line, [&](const std::string& data) { receiver.decodeResponse(data); });
    };
    run(framesPerRun); // what is allocated once and kept
    const qint64 atStart = residentSize();
    run(frames);
    bench.figure("frames for the memory figure", static_cast<double>(frames), "");
    bench.figure("resident size at the start", static_cast<double>(atStart), "KiB");
    bench.atMost("growth", static_cast<double>(residentSize() - atStart), 256, "KiB");
}

void measurePortList(Benchmark& bench)
{
    constexpr int ticks = 30;
    const double enumeration = fastest([] { QSerialPortInfo::availablePorts(); });
    qint64 now = 0;
    PortList::Source source = PortList::systemSource();
    source.milliseconds = [&now] { return now; };
    PortList list(source);
    list.availablePorts();
    now += 3000; // nothing settles any more
    const double watching = fastest([&] {
        for (int tick = 0; tick < ticks; ++tick) {
            now += 100;
            list.availablePorts();
        }
    });
    const double names = fastest([&] { source.names(); });
    bench.figure("availablePorts()", enumeration * 1e3, "ms");
    bench.figure("tick of the port list without enumeration", names * 1e3, "ms");
    bench.atMost("tick of the port list, on average", watching / ticks * 1e3, 1.0, "ms");
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption frames("frames", "Frames for the memory figure.", "N", "1000000");
    parser.addOption(frames);
    parser.addHelpOption();
    parser.process(application);

    Benchmark bench;
    const std::string frame = recordFrame();
    measureStages(bench, frame);
    measureMemory(bench, frame, parser.value(frames).toLongLong());
    measurePortList(bench);
    return bench.exitCode();
}
