// SPDX-License-Identifier: GPL-3.0-or-later

// One configuration block: only channels of the logger are named, and what stands behind the stored
// length changes nothing.
#include "formats/configurationblock.h"
#include "formats/channelcount.h"

#include <QtEndian>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <google/protobuf/stubs/logging.h>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Entries without a name and names that are not UTF-8 are reported, millions of them here.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    google::protobuf::SetLogHandler(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string block(reinterpret_cast<const char*>(data), size);
    const std::vector<ChannelLabel> labels = readChannelLabels(block);
    const bool inRange = std::all_of(labels.begin(), labels.end(), [](const ChannelLabel& label) {
        return label.channel >= 0 && label.channel < ChannelTotal;
    });
    const bool whole = size >= 4 && qFromLittleEndian<quint32>(data) <= size - 4;
    if (!inRange || (whole && readChannelLabels(block + "\x0a\x02\x0a").size() != labels.size()) ||
        (isEmptyConfigurationBlock(block) && !labels.empty())) {
        std::abort();
    }
    return 0;
}
