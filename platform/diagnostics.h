// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <type_traits>

namespace platform {

// The diagnostic channel: standard output. With a reader that reads, every call is out before it
// returns, so that after a crash the last line tells how far the program came. No reader holds the
// caller up: what standard output does not take at once waits in order, 4 MB at most, and goes out
// as it can. What is beyond that is left out, in whole lines, and standard error tells how many.
// Whole calls never interleave, from whatever thread.
void printText(std::string_view text);

// The same for standard error, which tells the user what cannot be helped.
void errorText(std::string_view text);

// One line of the given texts and decimal numbers, with nothing between them.
template <typename... Parts>
std::string lineOf(const Parts&... parts)
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
    return line += '\n';
}

template <typename... Parts>
void printLine(const Parts&... parts)
{
    printText(lineOf(parts...));
}

template <typename... Parts>
void errorLine(const Parts&... parts)
{
    errorText(lineOf(parts...));
}

// To be made at the start of main, before anything opens a file, and to go last. Standard streams
// that are closed lead nowhere from here on, rather than into the next file that is opened. A
// reader that goes away does not end the program. Qt's messages take the way of errorText(). In the
// end what waits gets half a second to go out.
class StandardStreams
{
public:
    StandardStreams();
    ~StandardStreams();
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;
};

} // namespace platform
