// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/trace.h"

#include <cstdio>

namespace platform {

void traceText(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

} // namespace platform
