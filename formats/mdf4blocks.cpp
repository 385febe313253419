// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/mdf4blocks.h"

#include <algorithm>
#include <ctime>

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "Numbers are written as they stand in memory, which has to be little-endian."
#endif

namespace formats {

namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

constexpr std::size_t HeadSize = 24;
constexpr std::size_t HeaderSize = 104;
constexpr std::size_t ChannelDataSize = 72;
constexpr double Nano = 1e-9;

template <typename... Values>
std::string bytesOf(Values... values)
{
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return bytes;
}

// Blocks begin at multiples of 8.
std::string padded(std::string bytes)
{
    bytes.resize((bytes.size() + 7) / 8 * 8);
    return bytes;
}

// Head, links and data, of which there may be `more`.
std::string block(
    const char* id, const std::vector<u64>& links, std::string_view data, std::size_t more = 0)
{
    const u64 length = HeadSize + 8 * links.size() + data.size() + more;
    std::string bytes = std::string("##") + id + bytesOf(u32{0}, length, u64{links.size()});
    for (const u64 link : links) {
        bytes += bytesOf(link);
    }
    return bytes.append(data);
}

std::string xml(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if (c == '&' || c == '<' || c == '>') {
            result += c == '&' ? "&amp;" : c == '<' ? "&lt;" : "&gt;";
        } else if (static_cast<unsigned char>(c) >= ' ') {
            result += c;
        }
    }
    return result;
}

struct ChannelRole
{
    u8 type = 0; // 2: the time
    u8 sync = 0; // 1: seconds
    u32 flags = 0;
    u64 composition = 0; // first member
};

std::string channelData(const Mdf4Channel& channel, const ChannelRole& role)
{
    const u32 flags = role.flags | (channel.gapBit >= 0 ? 2U : 0U);
    std::string data = bytesOf(
        role.type, role.sync, u8(channel.type), u8{0}, u32(channel.offset), u32(8 * channel.size),
        flags, u32(std::max(channel.gapBit, 0)));
    data.resize(ChannelDataSize); // neither precision nor ranges
    return data;
}

} // namespace

Mdf4Blocks::Mdf4Blocks(std::function<void(std::string_view)> take)
    : write(std::move(take))
{
    std::string id = "MDF     4.10    xcu-conv" + bytesOf(u32{0}, u16{410});
    id.resize(HeaderPlace + HeaderSize);
    write(id);
    end = id.size();
}

u64 Mdf4Blocks::put(const char* id, const Links& links, std::string_view data)
{
    const std::string bytes = padded(block(id, links, data));
    write(bytes);
    return std::exchange(end, end + bytes.size());
}

u64 Mdf4Blocks::putData(std::string_view packed, std::size_t size, std::size_t rowSize)
{
    constexpr u8 transposed = 1;
    const std::string data =
        bytesOf('D', 'T', transposed, u8{0}, u32(rowSize), u64{size}, u64{packed.size()});
    const std::string head = block("DZ", {}, data, packed.size());
    const std::string behind((8 - packed.size() % 8) % 8, '\0');
    write(head);
    write(packed);
    write(behind);
    return std::exchange(end, end + head.size() + packed.size() + behind.size());
}

// Equal texts share a block; none for no text.
u64 Mdf4Blocks::putText(const std::string& text, const char* id)
{
    u64& place = texts[id + text];
    if (place == 0 && !text.empty()) {
        place = put(id, {}, padded(text + '\0'));
    }
    return place;
}

// Texts show where a value has one, and the number where it has none.
u64 Mdf4Blocks::putConversion(const Mdf4Channel& channel)
{
    constexpr std::size_t most = 0xfffe;
    constexpr u8 toText = 7;
    const auto count = static_cast<u16>(std::min(channel.texts.size(), most));
    if (count == 0) {
        return 0;
    }
    Links links(4);
    std::string data = bytesOf(toText, u8{0}, u16{0}, u16(count + 1), count, 0.0, 0.0);
    for (u16 i = 0; i < count; ++i) {
        data += bytesOf(channel.texts[i].first);
        links.push_back(putText(channel.texts[i].second));
    }
    links.push_back(put("CC", Links(4), std::string(HeadSize, '\0')));
    return put("CC", links, data);
}

// Returns the first one, the time.
u64 Mdf4Blocks::putChannels(const Mdf4Group& group, u64 source)
{
    constexpr u32 busEvent = 0x400;
    u64 next = 0;
    const auto putOne = [&](const Mdf4Channel& channel, const ChannelRole& role, u64 from) {
        const u64 name = putText(channel.name);
        const u64 conversion = putConversion(channel);
        const Links links{next,
                          role.composition,
                          name,
                          from,
                          conversion,
                          0,
                          putText(channel.unit),
                          putText(channel.comment)};
        next = put("CN", links, channelData(channel, role));
    };
    const u32 flags = group.isBusLogging ? busEvent : 0;
    const bool areSignals = group.isCan && !group.isBusLogging;
    for (auto channel = group.channels.rbegin(); channel != group.channels.rend(); ++channel) {
        putOne(*channel, {0, 0, flags, 0}, areSignals ? source : 0);
    }
    if (group.isBusLogging) {
        Mdf4Channel whole{group.name, "", "", Mdf4Channel::Bytes, 8, group.rowSize - 8, -1, {}};
        putOne(whole, {0, 0, flags, std::exchange(next, 0)}, source);
    }
    putOne({"time", "s", "", Mdf4Channel::Real, 0, 8, -1, {}}, {2, 1, 0, 0}, 0);
    return next;
}

void Mdf4Blocks::putGroup(const Mdf4Group& group)
{
    u64 data = 0;
    if (!group.blocks.empty()) {
        Links links{0};
        links.insert(links.end(), group.blocks.begin(), group.blocks.end());
        const u32 equalLengths = 1;
        const std::string list =
            bytesOf(equalLengths, u32(group.blocks.size()), u64{group.blockLength});
        data = put("HL", {put("DL", links, list)}, bytesOf(u16{1}, u8{1}, u8{0}, u32{0}));
    }
    const u64 name = putText(group.source);
    const u64 source =
        put("SI", {name, name, 0},
            bytesOf(u8(group.sourceType), u8(group.isCan ? 2 : 0), u8{0}, u8{0}, u32{0}));
    const u16 flags = group.isBusLogging ? 6 : 0; // of a bus, no more than it says
    const Links links{0, putChannels(group, source), putText(group.name), source, 0, 0};
    const u64 channelGroup =
        put("CG", links,
            bytesOf(
                u64{0}, group.rows, flags, u16{'.'}, u32{0}, u32(group.rowSize - group.gapBytes),
                u32(group.gapBytes)));
    firstGroup = put("DG", {firstGroup, channelGroup, data, 0}, bytesOf(u64{0}));
}

void Mdf4Blocks::putEvent(std::int64_t nanoseconds, const std::string& text)
{
    enum : u8 { Marker = 6, Seconds = 1, Point = 0, ByUser = 4 };
    const std::string data =
        bytesOf(Marker, Seconds, Point, ByUser, u32{0}, u32{0}, u16{0}, u16{0}, nanoseconds, Nano);
    firstEvent = put("EV", {firstEvent, 0, 0, putText(text), 0}, data);
}

std::string Mdf4Blocks::header(const Header& header)
{
    constexpr u8 offsetsCount = 2; // of the time
    std::string comment = "<HDcomment><TX>" + xml(header.comment) + "</TX><common_properties>";
    for (const auto& [name, value] : header.properties) {
        comment +=
            value.empty() ? "" : std::string("<e name=\"") + name + "\">" + xml(value) + "</e>";
    }
    comment += "</common_properties></HDcomment>";
    const std::string tool = "<FHcomment><TX>converted</TX><tool_id>xcu-convert</tool_id>"
                             "<tool_vendor>XCU console</tool_vendor><tool_version>" +
                             header.version + "</tool_version></FHcomment>";
    const std::int64_t now = std::time(nullptr) * std::int64_t{1'000'000'000};
    const u64 history =
        put("FH", {0, putText(tool, "MD")}, bytesOf(now, u32{0}, offsetsCount, u8{0}, u16{0}));
    const Links links{firstGroup, history, 0, 0, firstEvent, putText(comment, "MD")};
    return block(
        "HD", links,
        bytesOf(
            header.start, std::int16_t(header.zone), std::int16_t(header.daylight), offsetsCount,
            u8{0}, u16{0}, 0.0, 0.0));
}

} // namespace formats
