// SPDX-License-Identifier: GPL-3.0-or-later

// bench_link [--frames N]: what each stage costs a record of 128 values on its way from the line to
// the interface, and whether memory stays where it is over N frames on a serial port.
#include "bench/benchmark.h"
#include "comm/commandsresponsereceiver.h"
#include "comm/commandssender.h"
#include "comm/comport.h"
#include "comm/frame.h"
#include "comm/idataloggercommandsresponse.h"
#include "comm/portdiscovery.h"
#include "comm/trace.h"
#include "schema/link.pb.h"
#include "simulator/pseudoterminal.h"
#include "simulator/testbed.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QIODevice>
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
    return comm::makeFrame(response.SerializeAsString());
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
    quint32 readState = comm::AwaitsHeader;
    quint32 frameLength = 0;
    while (std::optional<std::string> payload = comm::takeFrame(line, readState, frameLength)) {
        sink(*payload);
        readState = comm::AwaitsHeader;
    }
}

// The plain way to read a frame: the payload as a byte array, then as a string, then a copy of it.
template <typename Sink>
void readAllPlainly(Line& line, Sink sink)
{
    while (line.bytesAvailable() > 0) {
        comm::traceLine("dataAvaliable ", line.bytesAvailable());
        quint32 length = 0;
        line.startTransaction();
        line.read(reinterpret_cast<char*>(&length), sizeof length);
        line.commitTransaction();
        comm::traceLine("Header:  ", length);
        comm::traceLine("Wait for data:  ", length, "/", line.bytesAvailable());
        line.startTransaction();
        const QByteArray bytes = line.read(length);
        const std::string payload(bytes.constData(), static_cast<std::size_t>(bytes.size()));
        line.commitTransaction();
        comm::traceLine("Red:  ", payload.size());
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
            comm::traceLine("dataAvaliable ", i);
            comm::traceLine("Header:  ", i);
            comm::traceLine("Wait for data:  ", i, "/", i);
            comm::traceLine("Red:  ", i);
            comm::traceLine("kLoggerData");
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
    // The trace lines cost most in both; this is to find a reader that has become slower.
    constexpr double nanoseconds = 1e9 / framesPerRun;
    bench.compare(
        "frame of a record read from the line", "ns", reading * nanoseconds,
        {{naiveRoad, plainReading * nanoseconds}}, 0.95);
    // The whole road to the file is to carry 40,000 records; the link may take a fifth of the time.
    bench.atLeast("frame reader and dispatcher", framesPerRun / road, 200'000, "records/s");
}

// The far end of a port, which sends the same frame for ever and swallows what it is sent.
class Chatterbox : public QObject
{
public:
    explicit Chatterbox(const std::string& frame)
    {
        for (int i = 0; i < 64; ++i) {
            bytes += frame;
        }
        connect(&terminal, &simulator::PseudoTerminal::readable, this, [this] { terminal.read(); });
        connect(&terminal, &simulator::PseudoTerminal::writable, this, [this] {
            const auto left = static_cast<int>(bytes.size() - position);
            position += static_cast<std::size_t>(terminal.write(bytes.data() + position, left));
            position %= bytes.size();
        });
        terminal.setWriteNotification(true);
    }

    simulator::PseudoTerminal terminal;

private:
    std::string bytes;
    std::size_t position = 0;
};

// The whole link on a real serial port, a request for every tenth record included.
void measurePort(Benchmark& bench, const std::string& frame, qint64 frames)
{
    simulator::Testbed testbed;
    Chatterbox controller(frame);
    const QString name = QStringLiteral("ttyACM%1").arg(QCoreApplication::applicationPid());
    testbed.addPort(
        name, controller.terminal.path(), QStringLiteral("XCU1"), simulator::Guise::Device);

    Logger logger;
    CommandsResponseReceiver receiver(
        nullptr, &logger, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    ComPort port;
    CommandsSender sender(port);
    qint64 received = 0;
    QObject::connect(&port, &ComPort::commandRead, &port, [&](const std::string& data) {
        receiver.decodeResponse(data);
        if (++received % 10 == 0) {
            sender.sendLoggerDataRequest();
        }
    });
    QString serial = QStringLiteral("XCU1");
    if (!port.open(getPortBySerialNumber(serial))) {
        qFatal("the mocked port does not open");
    }
    const auto run = [&](qint64 count) {
        QElapsedTimer timer;
        timer.start();
        for (const qint64 end = received + count; received < end;) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return static_cast<double>(count) / (static_cast<double>(timer.nsecsElapsed()) / 1e9);
    };
    run(framesPerRun); // what is allocated once and kept
    const qint64 atStart = residentSize();
    // The far end shares this thread, so that its cost is in the figure.
    bench.figure("over a serial port, both ends in one thread", run(frames), "records/s");
    bench.figure("frames for the memory figure", static_cast<double>(frames), "");
    bench.figure("resident size at the start", static_cast<double>(atStart), "KiB");
    bench.atMost("growth", static_cast<double>(residentSize() - atStart), 256, "KiB");
}

} // namespace

int main(int argc, char** argv)
{
    needPreload(argv);
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption frames("frames", "Frames for the memory figure.", "N", "1000000");
    parser.addOption(frames);
    parser.addHelpOption();
    parser.process(application);

    Benchmark bench;
    const std::string frame = recordFrame();
    measureStages(bench, frame);
    measurePort(bench, frame, parser.value(frames).toLongLong());
    return bench.exitCode();
}
