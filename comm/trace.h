// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace comm {

// The diagnostic channel: standard output. Every call is flushed before it returns, so that after a
// crash the last trace tells how far the program came. A reader of the pipe that does not drain it
// therefore stops the caller. Whole calls never interleave, from whatever thread.
inline void traceText(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

inline void appendTracePart(std::string& line, std::string_view text)
{
    line += text;
}

template <typename Number>
auto appendTracePart(std::string& line, Number value) -> decltype(std::to_string(value), void())
{
    line += std::to_string(value);
}

// One line of the given texts and decimal numbers, with nothing between them.
template <typename... Parts>
void traceLine(const Parts&... parts)
{
    std::string line;
    (appendTracePart(line, parts), ...);
    line += '\n';
    traceText(line);
}

} // namespace comm
