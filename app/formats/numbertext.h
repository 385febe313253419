// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <charconv>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string_view>

namespace formats {

// Writers for text lines that are composed many thousand times a second. Each writes at `out` and
// returns the place behind what it wrote; the caller provides the room.

// Characters of the longest 32-bit number in decimal, sign included.
constexpr std::size_t MaxDecimalLength = std::numeric_limits<int>::digits10 + 2;

template <typename Integer>
inline char* putDecimal(char* out, Integer value)
{
    static_assert(sizeof(Integer) <= sizeof(int));
    return std::to_chars(out, out + MaxDecimalLength, value).ptr;
}

inline char* putText(char* out, std::string_view text)
{
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

} // namespace formats
