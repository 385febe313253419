// SPDX-License-Identifier: GPL-3.0-or-later

// One configuration block: only channels of the logger are named.
#include "formats/configurationblock.h"
#include "formats/channels.h"

#include <cstdlib>
#include <google/protobuf/stubs/logging.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    // Entries without a name and names that are not UTF-8 are reported, millions of them here.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    google::protobuf::SetLogHandler(nullptr);
    const std::string block(reinterpret_cast<const char*>(data), size);
    for (const formats::ChannelLabel& label : formats::readChannelLabels(block)) {
        if (label.channel < 0 || label.channel >= formats::ChannelTotal) {
            std::abort();
        }
    }
    return 0;
}
