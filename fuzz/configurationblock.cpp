// SPDX-License-Identifier: GPL-3.0-or-later

// One configuration block: only channels of the logger are named, and what stands behind the stored
// length changes nothing.
#include "formats/configurationblock.h"
#include "formats/channelcount.h"

#include <QtEndian>
#include <cstdlib>
#include <google/protobuf/stubs/logging.h>

using namespace formats;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    // Entries without a name and names that are not UTF-8 are reported, millions of them here.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    google::protobuf::SetLogHandler(nullptr);
    const std::string block(reinterpret_cast<const char*>(data), size);
    const std::vector<ChannelLabel> labels = readChannelLabels(block);
    const bool isWhole = size >= 4 && qFromLittleEndian<quint32>(data) <= size - 4;
    bool isRight = labels.empty() || !isEmptyConfigurationBlock(block);
    isRight &= !isWhole || readChannelLabels(block + "\x0a\x02\x0a").size() == labels.size();
    for (const ChannelLabel& label : labels) {
        isRight &= label.channel >= 0 && label.channel < ChannelTotal;
    }
    if (!isRight) {
        std::abort();
    }
    return 0;
}
