// SPDX-License-Identifier: GPL-3.0-or-later

// A black-box record: every channel that it names is one of the chart's, and every frame has its
// line in the conversion.
#include "formats/blackboxreader.h"
#include "formats/channelcount.h"

#include <QBuffer>
#include <cstdlib>
#include <google/protobuf/stubs/logging.h>
#include <sstream>

using namespace formats;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    google::protobuf::SetLogHandler(nullptr);
    std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
    QVector<CanFrames> frames;
    QBuffer conversion;
    conversion.open(QIODevice::WriteOnly);
    TraceImport import{frames};
    import.candumpFile = &conversion;
    const BlackboxContent content = readBlackbox(stream, import);
    const int channels = content.points.channelCount();
    if (channels > ChannelTotal || content.channelTexts.size() != channels ||
        conversion.data().count('\n') != frames.size()) {
        std::abort();
    }
    return 0;
}
