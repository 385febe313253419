// SPDX-License-Identifier: GPL-3.0-or-later

// One payload through the dispatcher with every interface attached: it gives one call or none, and
// the frame behind it arrives whatever it was.
#include "feed.h"
#include "support/responserecorder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string payload(reinterpret_cast<const char*>(data), size);
    const std::string prompt("\x2a\x00", 2); // member 5, empty
    ResponseRecorder recorder;
    CommandsResponseReceiver receiver = recorder.receiver();
    Feed line;
    line.feed(makeFrame(payload) + makeFrame(prompt), [&](const std::string& data) {
        receiver.decodeResponse(data);
    });
    if (recorder.calls.empty() || recorder.calls.size() > 2 ||
        recorder.calls.back() != "promptReceived") {
        std::abort();
    }
    return 0;
}
