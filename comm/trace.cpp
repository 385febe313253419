// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/trace.h"

#include <cstdio>

namespace comm {

void traceText(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

} // namespace comm
