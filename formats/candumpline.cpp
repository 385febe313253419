// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/candumpline.h"

#include "formats/framelines.h"
#include "formats/textfield.h"

#include <QByteArray>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace formats {

namespace {

// Room for everything but time and payload: brackets, words, bus, identifier, marker, line feed.
constexpr std::size_t MaxFixedLength = 64;
constexpr std::size_t MaxSecondsLength = 24;

char* putId(char* out, int canId, int width, char fill)
{
    std::array<char, 16> digits;
    const auto value = static_cast<std::uint64_t>(std::int64_t{canId});
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
    out = std::fill_n(out, std::max<std::ptrdiff_t>(0, width - (end - digits.data())), fill);
    return std::copy(digits.data(), end, out);
}

// Everything behind the time.
char* putFrame(
    char* out, int busNumber, int canId, int idWidth, char idFill, std::string_view fdMarker,
    std::string_view payload)
{
    out = putText(out, ") can");
    out = putDecimal(out, busNumber);
    *out++ = ' ';
    out = putId(out, canId, idWidth, idFill);
    *out++ = '#';
    out = putText(out, fdMarker);
    for (const char byte : payload) {
        out = putHexByte(out, static_cast<unsigned char>(byte));
    }
    *out++ = '\n';
    return out;
}

} // namespace

void composeCandumpLine(
    std::string& line, int busNumber, int timestampMs, int canId, bool isExtended, bool isFd,
    bool isBitrateSwitch, std::string_view payload)
{
    line.resize(MaxFixedLength + MaxSecondsLength + 2 * payload.size());
    const std::string_view fdMarker = !isFd ? "" : isBitrateSwitch ? "#1" : "#0";
    char* out = putMicroseconds(putText(line.data(), "("), timestampMs / 1000.0);
    out = putFrame(out, busNumber, canId, isExtended ? 8 : 3, '0', fdMarker, payload);
    line.resize(static_cast<std::size_t>(out - line.data()));
}

char* putCandumpLine(char* out, const TraceFrame& frame)
{
    const int id =
        static_cast<int>(frame.id) | static_cast<int>(frame.isError ? TraceFrame::ErrorMark : 0);
    const bool isLong = frame.isExtended || frame.isError;
    std::array<char, 2> mark{'#', LowerHexDigits[frame.flags & 0x0f]};
    std::size_t markSize = frame.isFd ? 2 : 0;
    std::string_view payload(
        reinterpret_cast<const char*>(frame.bytes), static_cast<std::size_t>(frame.length));
    if (frame.isRemote) { // the length that was asked for, if it is not 0
        mark = {'R', LowerHexDigits[frame.length & 0x0f]};
        markSize = frame.length > 0 ? 2 : 1;
        payload = {};
    }
    out = putMicroseconds(putText(out, "("), frame.time);
    return putFrame(
        out, std::max(frame.bus, 0), id, isLong ? 8 : 3, '0', {mark.data(), markSize}, payload);
}

char* putMicroseconds(char* out, double seconds)
{
    constexpr std::int64_t million = 1'000'000;
    std::int64_t rest = std::llround(seconds * million);
    if (rest < 0) {
        *out++ = '-';
        rest = -rest;
    }
    out = std::to_chars(out, out + MaxSecondsLength, rest / million).ptr;
    char* const point = out;
    out =
        putDecimal(out, static_cast<int>(million + rest % million)); // the 1 keeps zeros behind it
    *point = '.';
    return out;
}

void composeImportedFrameLine(
    std::string& line, double seconds, int busNumber, int canId, std::string_view payload)
{
    const std::string time = QByteArray::number(seconds, 'f', 6).toStdString();
    line.resize(MaxFixedLength + time.size() + 2 * payload.size());
    char* out = putText(putText(line.data(), "("), time);
    out = putFrame(out, busNumber, canId, 3, ' ', "", payload);
    line.resize(static_cast<std::size_t>(out - line.data()));
}

QString candumpStatusText(int canId, int busNumber)
{
    // Not by QString::arg(), which takes seven times as long: frames come by the hundred thousand.
    std::array<char, MaxFixedLength> text;
    char* out = putDecimal(putText(text.data(), "Received can"), busNumber);
    out = putId(putText(out, " frame #"), canId, 3, ' ');
    return QString::fromLatin1(text.data(), static_cast<int>(out - text.data()));
}

} // namespace formats
