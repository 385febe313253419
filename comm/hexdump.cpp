// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/hexdump.h"

#include "comm/trace.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

void hexdump(const void* data, std::size_t size)
{
    constexpr std::size_t bytesPerLine = 16;
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::array<char, 24> field{};
    for (std::size_t offset = 0; offset < size; offset += bytesPerLine) {
        std::snprintf(field.data(), field.size(), "%08zx ", offset);
        std::string line = field.data();
        std::string characters;
        for (std::size_t i = offset; i < std::min(offset + bytesPerLine, size); ++i) {
            std::snprintf(field.data(), field.size(), " %02x", bytes[i]);
            line += field.data();
            const bool isPrintable = bytes[i] >= 0x20 && bytes[i] < 0x7f; // in no locale more
            characters += isPrintable ? static_cast<char>(bytes[i]) : '.';
        }
        line.append(3 * (bytesPerLine - characters.size()), ' ');
        comm::traceLine(line, "  |", characters, "|");
    }
}
