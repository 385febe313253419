// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/blackboxreader.h"

#include "formats/channels.h"
#include "formats/logrecords.h"
#include "formats/traceimport.h"
#include "schema/blackbox.pb.h"

#include <QIODevice>
#include <algorithm>
#include <cstring>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl.h>
#include <google/protobuf/wire_format_lite.h>
#include <utility>

namespace formats {

namespace {

constexpr std::size_t ClassicSize = 8;            // bytes that are kept of a frame
constexpr std::uint32_t LongestElement = 1 << 20; // bytes, hundreds of times what a record takes

constexpr int LogField = xcu::BlackboxFileL::kLogLinesFieldNumber;
constexpr int FrameField = xcu::BlackboxFileL::kCandumpLinesFieldNumber;

using Values = google::protobuf::RepeatedField<int>;

void append(std::vector<int>& values, const Values& more, int limit)
{
    values.insert(values.end(), more.begin(), more.begin() + std::min(more.size(), limit));
}

class DeviceStream : public google::protobuf::io::CopyingInputStream
{
public:
    bool isAtEnd = true; // as is an empty file, which nobody reads

    explicit DeviceStream(QIODevice& source)
        : device(source)
    {}
    int Read(void* buffer, int size) override
    {
        const auto count = static_cast<int>(device.read(static_cast<char*>(buffer), size));
        isAtEnd = count >= 0 && count < size;
        return count;
    }

private:
    QIODevice& device;
};

// Gives the elements of a BlackboxFileL one by one to take(field number, bytes). As with a message
// that is parsed whole, one that the end of the file cuts is given as far as it goes. So is a
// longer one than makes sense: noise, that states gigabytes. Returns whether the file is whole.
template <typename Take>
bool readElements(DeviceStream& device, Take take)
{
    using google::protobuf::internal::WireFormatLite;
    google::protobuf::io::CopyingInputStreamAdaptor stream(&device);
    std::string bytes;
    while (true) {
        google::protobuf::io::CodedInputStream input(&stream); // anew: one reads at most 2 GiB
        const std::uint32_t tag = input.ReadTag();
        if (tag == 0) {
            return input.ConsumedEntireMessage();
        }
        const int field = WireFormatLite::GetTagFieldNumber(tag);
        const bool isElement = field == LogField || field == FrameField;
        const auto type = WireFormatLite::GetTagWireType(tag);
        if (!isElement || type != WireFormatLite::WIRETYPE_LENGTH_DELIMITED) {
            if (!WireFormatLite::SkipField(&input, tag)) {
                return false;
            }
            continue;
        }
        std::uint32_t size = 0;
        bytes.clear();
        bool isWhole = input.ReadVarint32(&size) &&
                       size <= static_cast<std::uint32_t>(std::numeric_limits<int>::max());
        if (isWhole) {
            const std::uint32_t kept = std::min(size, LongestElement);
            isWhole = input.ReadString(&bytes, static_cast<int>(kept)) &&
                      input.Skip(static_cast<int>(size - kept));
        }
        take(field, bytes);
        if (!isWhole) {
            return false;
        }
    }
}

// A frame of a record, as the converter takes it; none for one that has too many bytes.
std::optional<TraceFrame> traceFrame(
    const xcu::BlackboxCandumpFileLine& record, const WarningFunction& warn)
{
    TraceFrame frame;
    frame.time = record.timestamp() / 1000.0;
    const std::uint32_t bus = record.busnumber();
    frame.bus = bus <= TraceFrame::LargestBus ? static_cast<int>(bus) : -1;
    frame.id = static_cast<std::uint32_t>(record.canid()) & 0x1fffffff;
    frame.isExtended = frame.id > 0x7ff;
    const std::size_t size = record.framedata().size();
    frame.isFd = size > ClassicSize;
    if (frame.isFd) {
        warn("more than 8 bytes, taken for CAN FD", 0);
    }
    if (size > TraceFrame::MostBytes) {
        warn("more than 64 bytes in a frame, left out", 0);
        return std::nullopt;
    }
    frame.length = static_cast<int>(size);
    std::memcpy(frame.bytes, record.framedata().data(), size);
    return frame;
}

} // namespace

BlackboxRecord::BlackboxRecord(QIODevice& source)
    : device(source)
{
    DeviceStream stream(device);
    xcu::BlackboxFileLine first;
    qint64 frameCount = 0;
    if (device.isOpen()) {
        readElements(stream, [&](int field, const std::string& bytes) {
            if (field == FrameField) {
                ++frameCount;
            } else if (recordCount++ == 0) {
                first.ParseFromString(bytes);
            }
        });
    }
    status = QStringLiteral("Read log file. %4 log points (%1 IN/%2 OUT), %3 canbus frames, %5")
                 .arg(first.inputs_size())
                 .arg(first.outputs_size())
                 .arg(frameCount)
                 .arg(recordCount)
                 .arg(stream.isAtEnd ? 1 : 0);
    firstTime = first.timestamp();
    inputCount = std::min(first.inputs_size(), ChannelTotal);
    outputCount = std::min(first.outputs_size(), ChannelTotal - inputCount);
}

template <typename Take>
void BlackboxRecord::readAgain(int wanted, Take take) const
{
    if (device.isOpen() && device.seek(0)) {
        DeviceStream stream(device);
        readElements(stream, [&](int field, const std::string& bytes) {
            if (field == wanted) {
                take(bytes);
            }
        });
    }
}

QStringList BlackboxRecord::channelTexts() const
{
    QStringList texts;
    for (int i = 0; i < inputCount + outputCount; ++i) {
        texts.append(
            i < inputCount ? QStringLiteral("In%1").arg(i)
                           : QStringLiteral("Out%1").arg(i - inputCount));
    }
    return texts;
}

void BlackboxRecord::readFrames(TraceImport& import) const
{
    xcu::BlackboxCandumpFileLine record;
    readAgain(FrameField, [&](const std::string& bytes) {
        if (!record.ParseFromString(bytes)) {
            return;
        }
        CanFrames frame;
        frame.frameTime = record.timestamp() / 1000.0;
        frame.busNumber = static_cast<int>(record.busnumber());
        frame.frameId = record.canid();
        const std::size_t size = std::min(record.framedata().size(), ClassicSize);
        frame.length = static_cast<int>(size);
        std::memcpy(frame.payload, record.framedata().data(), size);
        import.addFrame(frame);
        import.convert(frame.frameTime / 1000.0, frame);
    });
}

void BlackboxRecord::readRecords(
    const std::function<void(int timestamp, int firstChannel, const std::vector<int>& values)>&
        take) const
{
    xcu::BlackboxFileLine record;
    std::vector<int> values;
    readAgain(LogField, [&](const std::string& bytes) {
        record.ParseFromString(bytes); // a damaged record keeps what came before the damage
        values.clear();
        append(values, record.inputs(), inputCount);
        const int inputs = static_cast<int>(values.size());
        if (inputs < inputCount) {
            take(record.timestamp(), 0, values);
            values.clear();
        }
        append(values, record.outputs(), outputCount);
        take(record.timestamp(), inputs < inputCount ? inputCount : 0, values);
    });
}

std::int64_t readBlackboxRecords(
    QIODevice& device, RecordingTarget& target, const WarningFunction& warn)
{
    xcu::BlackboxFileLine record;
    xcu::BlackboxCandumpFileLine frame;
    int inputs = 0; // of the widest records
    int outputs = 0;
    DeviceStream firstReading(device);
    readElements(firstReading, [&](int field, const std::string& bytes) {
        if (field == LogField && record.ParseFromString(bytes)) {
            inputs = std::max(inputs, record.inputs_size());
            outputs = std::max(outputs, record.outputs_size());
        }
    });
    device.seek(0);
    const int width = inputs + outputs;
    std::vector<std::string> labels;
    labels.reserve(static_cast<std::size_t>(width));
    for (int i = 0; i < width; ++i) {
        labels.push_back(
            i < inputs ? "In" + std::to_string(i) : "Out" + std::to_string(i - inputs));
    }
    target.addHeader(labels);
    std::string text;
    const auto put = [&text](const Values& values, int count) {
        for (const int value : values) {
            text += std::to_string(value) + ';';
        }
        text.append(static_cast<std::size_t>(std::max(count - values.size(), 0)), ';');
    };
    std::uint32_t number = 0;
    std::int64_t frames = 0;
    std::optional<std::uint32_t> latest;
    DeviceStream stream(device);
    const bool isWhole = readElements(stream, [&](int field, const std::string& bytes) {
        if (field == LogField && record.ParseFromString(bytes)) {
            const auto time = static_cast<std::uint32_t>(record.timestamp());
            warnOfClock(std::exchange(latest, time), time, warn, 0);
            text.clear();
            put(record.inputs(), inputs);
            put(record.outputs(), outputs);
            const bool hasGaps = record.inputs_size() < inputs || record.outputs_size() < outputs;
            target.addRecord({number++, time, text, static_cast<std::size_t>(width), hasGaps, 0});
        } else if (field == FrameField && frame.ParseFromString(bytes)) {
            if (const auto wholeFrame = traceFrame(frame, warn)) {
                ++frames;
                target.addFrame(*wholeFrame);
            }
        } else {
            warn("damaged record, left out", 0);
        }
    });
    if (!isWhole) {
        warn("the file breaks off", 0);
    }
    return frames;
}

} // namespace formats
