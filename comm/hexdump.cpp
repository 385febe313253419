// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/hexdump.h"

#include "comm/trace.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace {

constexpr std::size_t bytesPerLine = 16;

bool isPrintable(unsigned char byte)
{
    return byte >= 0x20 && byte < 0x7f; // whatever the locale calls printable
}

std::string dumpLine(std::size_t offset, const unsigned char* bytes, std::size_t count)
{
    std::array<char, 24> field{};
    std::snprintf(field.data(), field.size(), "%08zx ", offset);
    std::string hex = field.data();
    std::string characters;
    for (std::size_t i = 0; i < count; ++i) {
        std::snprintf(field.data(), field.size(), " %02x", bytes[i]);
        hex += field.data();
        characters += isPrintable(bytes[i]) ? static_cast<char>(bytes[i]) : '.';
    }
    hex.append(3 * (bytesPerLine - count), ' ');
    return hex + "  |" + characters + '|';
}

} // namespace

void hexdump(const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t offset = 0; offset < size; offset += bytesPerLine) {
        comm::traceLine(dumpLine(offset, bytes + offset, std::min(bytesPerLine, size - offset)));
    }
}
