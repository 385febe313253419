// SPDX-License-Identifier: GPL-3.0-or-later

// A black-box record: every channel that it names is one of the chart's and has its points, and
// every frame has its line in the conversion.
#include "formats/blackboxreader.h"
#include "formats/channelcount.h"

#include <QBuffer>
#include <cstdint>
#include <cstdlib>
#include <google/protobuf/stubs/logging.h>
#include <sstream>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    google::protobuf::SetLogHandler(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
    QVector<CanFrames> frames;
    QBuffer conversion;
    conversion.open(QIODevice::WriteOnly);
    TraceImport import{frames};
    import.candumpFile = &conversion;
    const BlackboxContent content = readBlackbox(stream, import);
    const int channels = content.points.channelCount();
    bool hasPoints = false;
    for (int channel = 0; channel < channels; ++channel) {
        hasPoints = hasPoints || !content.points.points(channel).empty();
    }
    if (channels > ChannelTotal || content.channelTexts.size() != channels ||
        hasPoints != (channels > 0) || conversion.data().count('\n') != frames.size()) {
        std::abort();
    }
    return 0;
}
