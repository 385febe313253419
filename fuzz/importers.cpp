// SPDX-License-Identifier: GPL-3.0-or-later

// One file through all readers of traces in text form and the log reader: each gives what the slow
// road gives.
#include "support/importcheck.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<int>(size));
    for (const char* kind : {".txt", ".candump", ".trc", ".csv", ".asc", ".trace", ".log"}) {
        const Readings read = qstrcmp(kind, ".log") == 0 ? logReadings(content, 3, 1000)
                                                         : traceReadings(kind, content);
        if (read.fast != read.slow) {
            std::abort();
        }
    }
    return 0;
}
