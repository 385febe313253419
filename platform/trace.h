// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <type_traits>

namespace platform {

// The diagnostic channel: standard output. Every call is flushed before it returns, so that after a
// crash the last line tells how far the program came. A reader of the pipe that does not drain it
// therefore stops the caller. Whole calls never interleave, from whatever thread.
void traceText(std::string_view text);

// One line of the given texts and decimal numbers, with nothing between them.
template <typename... Parts>
void traceLine(const Parts&... parts)
{
    std::string line;
    const auto append = [&line](const auto& part) {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(part)>>) {
            line += std::to_string(part);
        } else {
            line += part;
        }
    };
    (append(parts), ...);
    traceText(line += '\n');
}

} // namespace platform
