// SPDX-License-Identifier: GPL-3.0-or-later

// One file through all readers of traces in text form and the log reader: each gives what the slow
// road gives.
#include "support/importcheck.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<int>(size));
    for (const char* kind : {".txt", ".candump", ".trc", ".csv", ".asc", ".trace"}) {
        if (!traceDifference(kind, content).isEmpty()) {
            std::abort();
        }
    }
    if (!logDifference(content).isEmpty()) {
        std::abort();
    }
    return 0;
}
