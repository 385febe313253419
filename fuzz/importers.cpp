// SPDX-License-Identifier: GPL-3.0-or-later

// One file through all readers. None gives out more than a file of that size can hold, and every
// value of a black box is one of a channel that the record names.
#include "formats/blackboxreader.h"
#include "formats/channels.h"
#include "formats/lenienttraces.h"
#include "formats/logfile.h"
#include "formats/logrecords.h"
#include "formats/stricttraces.h"
#include "formats/textfield.h"
#include "formats/traceimport.h"

#include <QBuffer>
#include <cstdlib>
#include <google/protobuf/stubs/logging.h>

namespace {

bool readsBlackbox(QIODevice& device)
{
    const formats::BlackboxRecord record(device);
    const auto channels = static_cast<std::size_t>(record.channelTexts().size());
    bool isRight = channels <= formats::ChannelTotal;
    record.readRecords([&](int, int firstChannel, const std::vector<int>& values) {
        isRight &= static_cast<std::size_t>(firstChannel) + values.size() <= channels;
    });
    QVector<CanFrames> frames;
    formats::TraceImport import(frames);
    record.readFrames(import);
    return isRight;
}

// A log that the converter reads gives numbers and nothing else, as many as it says.
struct StrictTarget : formats::RecordingTarget
{
    bool isRight = true;
    void addRecord(const formats::LogRecord& record) override
    {
        std::size_t width = 0;
        for (auto rest = record.values; !rest.empty(); ++width) {
            const auto field = formats::takeField(rest, ';');
            const bool isMissing = field.empty() && record.hasGaps;
            isRight &= isMissing || formats::plainNumber<std::int32_t>(field).has_value();
        }
        isRight &= width == record.width;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    google::protobuf::SetLogHandler(nullptr);
    QBuffer device;
    device.setData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    device.open(QIODevice::ReadOnly);
    std::size_t count = 0;
    const auto takeHeader = [&](const QStringList& labels) { count += unsigned(labels.size()); };
    const auto takeTag = [&](int, const QString&) { ++count; };
    const auto takeRecord = [&](int, const std::vector<int>& values) { count += values.size(); };
    formats::readLog(device, 131, {takeHeader, takeTag, takeRecord});
    bool isRight = count <= size;
    device.seek(0);
    isRight &= readsBlackbox(device);
    const auto take = [&](const formats::TraceFrame& frame) {
        ++count;
        isRight &= frame.length >= 0 && frame.length <= formats::TraceFrame::MostBytes;
    };
    const auto warn = [](const std::string&, std::int64_t) {};
    for (const formats::TraceFormat& format : formats::traceFormats()) {
        device.seek(0);
        QVector<CanFrames> frames;
        formats::TraceImport import(frames);
        const int read = format.read(device, import);
        isRight &= read == frames.size() && static_cast<std::size_t>(read) <= size;
        device.seek(0);
        count = 0;
        formats::readFrames(device, format.kind, take, warn);
        isRight &= count <= size;
    }
    StrictTarget target;
    device.seek(0);
    formats::readRecords(device, target, warn);
    device.seek(0);
    formats::readBlackboxRecords(device, target, warn);
    if (!isRight || !target.isRight) {
        std::abort();
    }
    return 0;
}
