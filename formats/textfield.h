// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace formats {

// Fields and numbers of text lines in UTF-8. They read as QString does (split, trimmed, toInt,
// toDouble, QByteArray::fromHex), also where a text is no number, but much faster: a number that
// the standard library reads alike does not go through Qt.

// The text of some bytes. Unlike QString::fromUtf8 a byte order mark is a character.
QString textOf(std::string_view bytes);

// Characters of a text from a file that go into a window, more than a screen shows. A file that is
// not what it seems may have a million in a line, which take gigabytes and seconds to paint.
constexpr int LongestShownText = 1000;

// QString::toInt with what Qt 5 accepts and Qt 6 does not: white space of Unicode at either end and
// the minus sign U+2212. A zero character is an error in both, and not the end of the number.
int wholeNumber(QString text, int base = 10, bool* isNumber = nullptr);

// Without white space at either end, Unicode's included. `scratch` may hold the result.
std::string_view trimmed(std::string_view text, QByteArray& scratch);

// Takes the first field, and the separator behind it, off `rest`. Once nothing is left the fields
// are empty, as those that a short line does not have.
inline std::string_view takeField(std::string_view& rest, char separator)
{
    // For a few characters a call of memchr costs more than it saves.
    std::size_t size = 0;
    while (size < rest.size() && rest[size] != separator) {
        ++size;
    }
    const std::string_view field = rest.substr(0, size);
    rest.remove_prefix(std::min(size + 1, rest.size()));
    return field;
}

// The same, passing over empty fields.
inline std::string_view takeWord(std::string_view& rest, char separator)
{
    rest.remove_prefix(std::min(rest.find_first_not_of(separator), rest.size()));
    return takeField(rest, separator);
}

inline void skipWords(std::string_view& rest, char separator, int count)
{
    for (int i = 0; i < count; ++i) {
        takeWord(rest, separator);
    }
}

// `text` with every `from` replaced by `to`. `scratch` may hold the result.
std::string_view replaced(std::string_view text, char from, char to, std::string& scratch);

// What the standard library takes for a number as a whole; of whole numbers also with a base.
template <typename Number, typename... Base>
std::optional<Number> plainNumber(std::string_view text, Base... base)
{
    Number value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base...);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

// 0 for what is not a number or does not fit.
int decimalInt(std::string_view text);
int hexInt(std::string_view text); // takes "0x" in front; 0 above 0x7fffffff
double realNumber(std::string_view text);

// Decodes hexadecimal digits, passing over all other characters; an odd first digit is a byte of
// its own. Stores at most `capacity` bytes and returns how many there are.
int decodeHex(std::string_view text, unsigned char* bytes, int capacity);

// The same for text that is two digits a byte and nothing else, in which case there are at most
// `capacity` bytes.
std::optional<int> plainHex(std::string_view text, unsigned char* bytes, int capacity);

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

constexpr char LowerHexDigits[] = "0123456789abcdef";

// A byte as two of these digits.
inline char* putHexByte(char* out, unsigned char byte, const char* digits = LowerHexDigits)
{
    *out++ = digits[byte >> 4];
    *out++ = digits[byte & 0x0f];
    return out;
}

inline char* putText(char* out, std::string_view text)
{
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

// A real number with 15 digits, which leave out the noise of arithmetic; with those that tell it
// from all others where it is a counter that needs more.
char* putReal(char* out, double value);
constexpr std::size_t MaxRealLength = 32;

// A field as RFC 4180 has it: in quotes if it holds what separates fields.
std::string csvField(std::string_view text);

} // namespace formats
