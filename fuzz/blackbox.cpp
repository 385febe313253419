// SPDX-License-Identifier: GPL-3.0-or-later

// A black-box record: every value is one of a channel that the record names.
#include "formats/blackboxreader.h"
#include "formats/channels.h"
#include "formats/traceimport.h"

#include <QBuffer>
#include <cstdlib>
#include <google/protobuf/stubs/logging.h>

namespace {

struct LengthCheck : formats::BlackboxSink
{
    bool isRight = true;

    void addRecord(quint32, const std::vector<int>&, const std::vector<int>&) override {}
    void addFrame(const formats::TraceFrame& frame) override
    {
        isRight &= frame.length <= formats::TraceFrame::MostBytes;
    }
    void addOddity(const char*, std::int64_t) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    google::protobuf::SetLogHandler(nullptr);
    QBuffer device;
    device.setData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    device.open(QIODevice::ReadOnly);
    const formats::BlackboxRecord record(device);
    const auto channels = static_cast<std::size_t>(record.channelTexts().size());
    bool isRight = channels <= formats::ChannelTotal;
    record.readRecords([&](int, int firstChannel, const std::vector<int>& values) {
        isRight &= static_cast<std::size_t>(firstChannel) + values.size() <= channels;
    });
    QVector<CanFrames> frames;
    formats::TraceImport import(frames);
    record.readFrames(import);
    device.seek(0);
    LengthCheck check;
    formats::readBlackbox(device, check);
    if (!isRight || !check.isRight) {
        std::abort();
    }
    return 0;
}
