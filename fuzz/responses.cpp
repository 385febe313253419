// SPDX-License-Identifier: GPL-3.0-or-later

// One payload through the dispatcher with every interface attached: it gives one call or none.
#include "support/responserecorder.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    ResponseRecorder recorder;
    recorder.receiver().decodeResponse({reinterpret_cast<const char*>(data), size});
    if (recorder.calls.size() > 1) {
        std::abort();
    }
    return 0;
}
