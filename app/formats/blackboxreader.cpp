// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/blackboxreader.h"

#include "formats/channelcount.h"
#include "formats/tracereaders.h"
#include "schema/blackbox.pb.h"

#include <algorithm>
#include <cstring>
#include <google/protobuf/arena.h>

namespace formats {

namespace {

constexpr std::size_t ClassicSize = 8; // bytes that are kept of a frame
constexpr int FramesBetweenPauses = 256;

using Values = google::protobuf::RepeatedField<int>;

void append(std::vector<int>& values, const Values& more, int limit)
{
    values.insert(values.end(), more.begin(), more.begin() + std::min(more.size(), limit));
}

} // namespace

struct BlackboxRecord::Content
{
    google::protobuf::Arena arena;
    xcu::BlackboxFileL& file = *google::protobuf::Arena::CreateMessage<xcu::BlackboxFileL>(&arena);
};

BlackboxRecord::BlackboxRecord(std::istream& stream, std::function<void()> pauseFunction)
    : content(std::make_unique<Content>())
    , pause(std::move(pauseFunction))
{
    content->file.ParseFromIstream(&stream);
    xcu::BlackboxFileLine first;
    if (hasLog()) {
        first.ParseFromString(content->file.loglines(0));
    }
    status = QStringLiteral("Read log file. %4 log points (%1 IN/%2 OUT), %3 canbus frames, %5")
                 .arg(first.inputs_size())
                 .arg(first.outputs_size())
                 .arg(content->file.candumplines_size())
                 .arg(content->file.loglines_size())
                 .arg(stream.eof() ? 1 : 0);
    firstTime = first.timestamp();
    inputCount = std::min(first.inputs_size(), ChannelTotal);
    outputCount = std::min(first.outputs_size(), ChannelTotal - inputCount);
}

BlackboxRecord::~BlackboxRecord() = default;

bool BlackboxRecord::hasLog() const
{
    return content->file.loglines_size() > 0;
}

QStringList BlackboxRecord::channelTexts() const
{
    QStringList texts;
    for (int i = 0; i < inputCount; ++i) {
        texts.append(QStringLiteral("In%1").arg(i));
    }
    for (int i = 0; i < outputCount; ++i) {
        texts.append(QStringLiteral("Out%1").arg(i));
    }
    return texts;
}

void BlackboxRecord::readFrames(TraceSink& sink) const
{
    xcu::BlackboxCandumpFileLine record;
    int count = 0;
    for (const std::string& bytes : content->file.candumplines()) {
        if (++count % FramesBetweenPauses == 0) {
            pause();
        }
        if (!record.ParseFromString(bytes)) {
            continue;
        }
        CanFrames frame;
        frame.frameTime = record.timestamp() / 1000.0;
        frame.busNumber = static_cast<int>(record.busnumber());
        frame.frameId = record.canid();
        const std::size_t size = std::min(record.framedata().size(), ClassicSize);
        frame.length = static_cast<int>(size);
        std::memcpy(frame.payload, record.framedata().data(), size);
        sink.addFrame(frame);
        sink.convert(frame.frameTime / 1000.0, frame);
    }
}

void BlackboxRecord::readRecords(const RecordFunction& take) const
{
    xcu::BlackboxFileLine record;
    std::vector<int> values;
    for (const std::string& bytes : content->file.loglines()) {
        pause();
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
    }
}

} // namespace formats
