// SPDX-License-Identifier: GPL-3.0-or-later

// A black-box record: every channel that it names is one of the chart's, every value one of those
// channels', and every frame has its line in the conversion.
#include "formats/blackboxreader.h"
#include "formats/channelcount.h"
#include "formats/traceimport.h"

#include <QBuffer>
#include <cstdlib>
#include <google/protobuf/stubs/logging.h>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    google::protobuf::SetLogHandler(nullptr);
    std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
    const formats::BlackboxRecord record(stream);
    const auto channels = static_cast<std::size_t>(record.channelTexts().size());
    bool isRight = channels <= formats::ChannelTotal;
    record.readRecords([&](int /*timestamp*/, int firstChannel, const std::vector<int>& values) {
        isRight &= static_cast<std::size_t>(firstChannel) + values.size() <= channels;
    });
    QVector<CanFrames> frames;
    QBuffer conversion;
    conversion.open(QIODevice::WriteOnly);
    {
        formats::TraceImport import(frames, &conversion);
        record.readFrames(import);
    }
    if (!isRight || conversion.data().count('\n') != frames.size()) {
        std::abort();
    }
    return 0;
}
