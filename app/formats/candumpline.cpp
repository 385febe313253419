// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/candumpline.h"

#include "formats/numbertext.h"

#include <QByteArray>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace formats {

namespace {

constexpr int MaxIdLength = 16;

// Sign, digits before the point of the largest double, point and 6 decimals.
constexpr std::size_t MaxRealLength = 1 + (std::numeric_limits<double>::max_exponent10 + 1) + 1 + 6;

// Room for everything but payload and time: brackets, words, bus, identifier, marker, line feed.
constexpr std::size_t MaxFixedLength = 64;

char* putId(char* out, int canId, int width, char fill)
{
    std::array<char, MaxIdLength> digits;
    const auto value = static_cast<std::uint64_t>(std::int64_t{canId});
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
    const auto length = static_cast<int>(end - digits.data());
    out = std::fill_n(out, std::max(0, width - length), fill);
    return std::copy(std::as_const(digits).data(), end, out);
}

// In integers: the third decimal is the last that differs from 0, and a quotient of doubles would
// print the same digits.
char* putSeconds(char* out, int timestampMs)
{
    const std::int64_t milliseconds = std::abs(std::int64_t{timestampMs});
    if (timestampMs < 0) {
        *out++ = '-';
    }
    out = putDecimal(out, static_cast<int>(milliseconds / 1000));
    const auto fraction = static_cast<int>(milliseconds % 1000);
    *out++ = '.';
    *out++ = static_cast<char>('0' + fraction / 100);
    *out++ = static_cast<char>('0' + fraction / 10 % 10);
    *out++ = static_cast<char>('0' + fraction % 10);
    return putText(out, "000");
}

// Whether Qt prints the number with 6 decimals as the standard library does. Infinity and NaN it
// writes in its own way, a zero has no sign, and odd multiples of 1/128, which lie midway between
// two sixth decimals, are rounded away from zero.
bool isPrintedAlike(double value)
{
    const double halves = value * 128.0;
    return std::isfinite(value) && value != 0.0 &&
           (std::trunc(halves) != halves || std::fmod(halves, 2.0) == 0.0);
}

// Any number that a foreign trace brings, as Qt prints it with 6 decimals.
char* putReal(char* out, double value)
{
    if (isPrintedAlike(value)) {
        return std::to_chars(out, out + MaxRealLength, value, std::chars_format::fixed, 6).ptr;
    }
    const QByteArray text = QByteArray::number(value, 'f', 6);
    return putText(out, {text.constData(), static_cast<std::size_t>(text.size())});
}

char* putHex(char* out, std::string_view bytes)
{
    static constexpr char digits[] = "0123456789abcdef";
    for (const char byte : bytes) {
        *out++ = digits[static_cast<unsigned char>(byte) >> 4];
        *out++ = digits[static_cast<unsigned char>(byte) & 0x0f];
    }
    return out;
}

} // namespace

void composeCandumpLine(
    std::string& line, int busNumber, int timestampMs, int canId, bool isExtended, bool isFd,
    bool isBitrateSwitch, std::string_view payload)
{
    line.resize(MaxFixedLength + 2 * payload.size());
    char* out = line.data();
    *out++ = '(';
    out = putSeconds(out, timestampMs);
    out = putText(out, ") can");
    out = putDecimal(out, busNumber);
    *out++ = ' ';
    out = putId(out, canId, isExtended ? 8 : 3, '0');
    *out++ = '#';
    if (isFd) {
        out = putText(out, isBitrateSwitch ? "#1" : "#0");
    }
    out = putHex(out, payload);
    *out++ = '\n';
    line.resize(static_cast<std::size_t>(out - line.data()));
}

void composeImportedFrameLine(
    std::string& line, double seconds, int busNumber, int canId, std::string_view payload)
{
    line.resize(MaxFixedLength + MaxRealLength + 2 * payload.size());
    char* out = line.data();
    *out++ = '(';
    out = putReal(out, seconds);
    out = putText(out, ") can");
    out = putDecimal(out, busNumber);
    *out++ = ' ';
    out = putId(out, canId, 3, ' ');
    *out++ = '#';
    out = putHex(out, payload);
    *out++ = '\n';
    line.resize(static_cast<std::size_t>(out - line.data()));
}

QString candumpStatusText(int canId, int busNumber)
{
    std::array<char, MaxFixedLength> text;
    char* out = putText(text.data(), "Received can");
    out = putDecimal(out, busNumber);
    out = putText(out, " frame #");
    out = putId(out, canId, 3, ' ');
    return QString::fromLatin1(text.data(), static_cast<int>(out - text.data()));
}

} // namespace formats
