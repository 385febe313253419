// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/mdf4blocks.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "Numbers are written as they stand in memory, which has to be little-endian."
#endif

namespace convert {

namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

constexpr std::size_t HeadSize = 24;
constexpr std::size_t HeaderPlace = 64;
constexpr std::size_t HeaderSize = 104;
constexpr std::int64_t Second = 1'000'000'000; // ns

constexpr u8 DataTypes[] = {4, 2, 0, 10}; // by Field::Type
constexpr u8 TextType = 7;

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

std::string property(const char* name, const std::string& value)
{
    return value.empty() ? "" : std::string("<e name=\"") + name + "\">" + xml(value) + "</e>";
}

struct ChannelRole
{
    u8 type = 0; // 2: the time
    u8 sync = 0; // 1: seconds
    u32 flags = 0;
    u64 composition = 0; // first member
};

std::string channelData(const Field& field, u8 dataType, const ChannelRole& role)
{
    constexpr std::size_t size = 72;
    const u32 flags = role.flags | (field.gapBit >= 0 ? 2U : 0U);
    std::string data = bytesOf(
        role.type, role.sync, dataType, u8{0}, u32(field.offset), u32(8 * field.size), flags,
        u32(std::max(field.gapBit, 0)));
    data.resize(size); // neither precision nor ranges
    return data;
}

} // namespace

Mdf4Blocks::Mdf4Blocks(PartFile& output)
    : file(output)
{
    std::string id = "MDF     4.10    xcu-conv" + bytesOf(u32{0}, u16{410});
    id.resize(HeaderPlace + HeaderSize);
    file.write(id);
    end = id.size();
}

u64 Mdf4Blocks::put(const char* id, const Links& links, std::string_view data)
{
    const std::string bytes = padded(block(id, links, data));
    file.write(bytes);
    return std::exchange(end, end + bytes.size());
}

u64 Mdf4Blocks::putData(std::string_view packed, std::size_t size, std::size_t rowSize)
{
    constexpr u8 transposed = 1;
    const std::string data =
        bytesOf('D', 'T', transposed, u8{0}, u32(rowSize), u64{size}, u64{packed.size()});
    const std::string head = block("DZ", {}, data, packed.size());
    const std::string behind((8 - packed.size() % 8) % 8, '\0');
    file.write(head);
    file.write(packed);
    file.write(behind);
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
u64 Mdf4Blocks::putConversion(const Field& field)
{
    constexpr std::size_t most = 0xfffe;
    constexpr u8 toText = 7;
    const auto count = static_cast<u16>(std::min(field.texts.size(), most));
    if (count == 0) {
        return 0;
    }
    Links links(4);
    std::string data = bytesOf(toText, u8{0}, u16{0}, u16(count + 1), count, 0.0, 0.0);
    for (u16 i = 0; i < count; ++i) {
        data += bytesOf(field.texts[i].first);
        links.push_back(putText(field.texts[i].second));
    }
    links.push_back(put("CC", Links(4), std::string(HeadSize, '\0')));
    return put("CC", links, data);
}

// Returns the first one, the time.
u64 Mdf4Blocks::putChannels(const Mdf4Group& group, u64 source)
{
    constexpr u32 busEvent = 0x400;
    const TableInfo& info = group.info;
    const bool isBus = info.content == TableInfo::Frames;
    const u32 flags = isBus ? busEvent : 0;
    u64 next = 0;
    const auto putOne = [&](const Field& field, const std::string& prefix, u8 dataType,
                            const ChannelRole& role, u64 from) {
        const u64 name = putText(prefix + field.name);
        const u64 conversion = putConversion(field);
        const u64 unit = putText(field.unit);
        const u64 comment =
            putText(field.channel < 0 ? "" : "channel " + std::to_string(field.channel));
        const Links links{next, role.composition, name, from, conversion, 0, unit, comment};
        next = put("CN", links, channelData(field, dataType, role));
    };
    for (auto field = info.fields.rbegin(); field != info.fields.rend(); ++field) {
        putOne(
            *field, isBus ? info.name + '.' : "",
            info.content == TableInfo::Tags ? TextType : DataTypes[field->type], {0, 0, flags, 0},
            info.content == TableInfo::Signals ? source : 0);
    }
    const Field time(Field::Real, sizeof(double), "time", "s");
    if (isBus) { // the fields are members of one that is called like the group
        Field whole(Field::Bytes, group.rowSize - time.size, info.name);
        whole.offset = time.size;
        putOne(whole, "", DataTypes[whole.type], {0, 0, flags, std::exchange(next, 0)}, source);
    }
    putOne(time, "", DataTypes[time.type], {2, 1, 0, 0}, 0);
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
    enum : u8 { Ecu = 1, Bus = 2, Tool = 4, Can = 2 };
    const TableInfo& info = group.info;
    const bool isBus = info.content == TableInfo::Frames;
    const bool isCan = isBus || info.content == TableInfo::Signals;
    const u8 sourceType = isBus ? Bus : info.content == TableInfo::Tags ? Tool : Ecu;
    const u64 name = putText(info.source);
    const u64 source =
        put("SI", {name, name, 0}, bytesOf(sourceType, u8(isCan ? Can : 0), u8{0}, u8{0}, u32{0}));
    const u16 flags = isBus ? 6 : 0; // of a bus, no more than it says
    const Links links{0, putChannels(group, source), putText(info.name), source, 0, 0};
    const u64 channelGroup =
        put("CG", links,
            bytesOf(
                u64{0}, group.rows, flags, u16{'.'}, u32{0}, u32(group.rowSize - group.gapBytes),
                u32(group.gapBytes)));
    firstGroup = put("DG", {firstGroup, channelGroup, data, 0}, bytesOf(u64{0}));
}

void Mdf4Blocks::putEvent(const Tag& tag)
{
    enum : u8 { Marker = 6, Seconds = 1, Point = 0, ByUser = 4 };
    const std::int64_t time = std::llround(tag.seconds * Second);
    const std::string data =
        bytesOf(Marker, Seconds, Point, ByUser, u32{0}, u32{0}, u16{0}, u16{0}, time, 1.0 / Second);
    firstEvent = put("EV", {firstEvent, 0, 0, putText(tag.text), 0}, data);
}

void Mdf4Blocks::putHeader(const Origin& origin)
{
    constexpr u8 offsetsCount = 2; // of the time
    std::int64_t start = 0;        // ns since 1970, UTC, at which times are 0
    std::int16_t zone = 0;         // min east of Greenwich, without daylight saving
    std::int16_t daylight = 0;     // min
    if (origin.start) {
        std::tm local = {};
        localtime_r(&*origin.start, &local);
        // Times are those of the controller's clock; the file begins where that stood at 0.
        start = *origin.start * Second - std::llround(origin.clock * Second);
        daylight = local.tm_isdst > 0 ? 60 : 0;
        zone = static_cast<std::int16_t>(local.tm_gmtoff / 60 - daylight);
    }
    const std::string comment =
        "<HDcomment><TX>" + xml(origin.inputs) + "</TX><common_properties>" +
        property("subject", origin.serial) +
        property("recording started", origin.start ? shownTime(*origin.start) : "") +
        "</common_properties></HDcomment>";
    const std::string tool = "<FHcomment><TX>converted</TX><tool_id>xcu-convert</tool_id>"
                             "<tool_vendor>XCU console</tool_vendor><tool_version>" XCU_VERSION
                             "</tool_version></FHcomment>";
    const std::int64_t now = std::time(nullptr) * Second;
    const u64 history =
        put("FH", {0, putText(tool, "MD")}, bytesOf(now, u32{0}, offsetsCount, u8{0}, u16{0}));
    const Links links{firstGroup, history, 0, 0, firstEvent, putText(comment, "MD")};
    const std::string data = bytesOf(start, zone, daylight, offsetsCount, u8{0}, u16{0}, 0.0, 0.0);
    file.writeAt(HeaderPlace, block("HD", links, data));
}

} // namespace convert
