// SPDX-License-Identifier: GPL-3.0-or-later

// One payload through the dispatcher with every interface attached: it gives one call or none. And
// as a configuration block: only channels of the logger are named.
#include "formats/channels.h"
#include "formats/configurationblock.h"
#include "support/responserecorder.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    // Entries without a name are reported, millions of them here.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const std::string payload(reinterpret_cast<const char*>(data), size);
    ResponseRecorder recorder;
    recorder.receiver().decodeResponse(payload);
    bool isRight = recorder.calls.size() <= 1;
    for (const formats::ChannelLabel& label : formats::readChannelLabels(payload)) {
        isRight &= label.channel >= 0 && label.channel < formats::ChannelTotal;
    }
    if (!isRight) {
        std::abort();
    }
    return 0;
}
