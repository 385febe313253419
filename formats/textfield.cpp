// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/textfield.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace formats {

namespace {

std::string_view withoutAsciiSpace(std::string_view text)
{
    const auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool isAscii(char c)
{
    return static_cast<unsigned char>(c) < 0x80;
}

// 0 for no text.
template <typename Number, typename... Base>
std::optional<Number> spacedNumber(std::string_view text, Base... base)
{
    const std::string_view number = withoutAsciiSpace(text);
    return number.empty() ? Number() : plainNumber<Number>(number, base...);
}

constexpr int NoDigit = -1; // as 8 bits 0xff

constexpr std::array<signed char, 256> HexDigits = [] {
    std::array<signed char, 256> values{};
    for (unsigned c = 0; c < values.size(); ++c) {
        const unsigned letter = (c | 0x20) - 'a';
        const unsigned digit = c - '0' < 10 ? c - '0' : letter < 6 ? letter + 10 : 0xff;
        values[c] = static_cast<signed char>(digit);
    }
    return values;
}();

int hexDigit(char c)
{
    return HexDigits[static_cast<unsigned char>(c)];
}

} // namespace

QString textOf(std::string_view bytes)
{
    constexpr std::string_view mark = "\xef\xbb\xbf";
    constexpr std::size_t longest = 1 << 28; // no QString holds a line of gigabytes
    const bool marked = bytes.substr(0, mark.size()) == mark;
    const auto size = static_cast<int>(std::min(bytes.size(), longest));
    const QString text = QString::fromUtf8(bytes.data(), size);
    return marked ? QChar(QChar::ByteOrderMark) + text : text;
}

int wholeNumber(QString text, int base, bool* isNumber)
{
    text.replace(QChar(0x2212), QLatin1Char('-')).replace(QChar(QChar::Null), QLatin1Char('?'));
    return text.trimmed().toInt(isNumber, base);
}

std::string_view trimmed(std::string_view text, QByteArray& scratch)
{
    text = withoutAsciiSpace(text);
    if (text.empty() || (isAscii(text.front()) && isAscii(text.back()))) {
        return text;
    }
    scratch = textOf(text).trimmed().toUtf8();
    return {scratch.constData(), static_cast<std::size_t>(scratch.size())};
}

std::string_view replaced(std::string_view text, char from, char to, std::string& scratch)
{
    scratch.assign(text);
    std::replace(scratch.begin(), scratch.end(), from, to);
    return scratch;
}

int decimalInt(std::string_view text)
{
    const auto value = spacedNumber<int>(text, 10);
    return value ? *value : wholeNumber(textOf(text));
}

int hexInt(std::string_view text)
{
    const auto value = spacedNumber<int>(text, 16);
    return value ? *value : wholeNumber(textOf(text), 16);
}

double realNumber(std::string_view text)
{
    // Of infinity and NaN Qt knows fewer spellings.
    const auto value = spacedNumber<double>(text);
    return value && std::isfinite(*value) ? *value : textOf(text).toDouble();
}

int decodeHex(std::string_view text, unsigned char* bytes, int capacity)
{
    const auto digits =
        std::count_if(text.begin(), text.end(), [](char c) { return hexDigit(c) != NoDigit; });
    const auto size = static_cast<int>(
        std::min<std::ptrdiff_t>((digits + 1) / 2, std::numeric_limits<int>::max()));
    auto place = digits % 2; // counted in digits
    const std::ptrdiff_t end = 2 * std::ptrdiff_t{std::min(size, capacity)};
    unsigned byte = 0;
    for (auto c = text.begin(); place < end && c != text.end(); ++c) {
        const int digit = hexDigit(*c);
        if (digit != NoDigit) {
            byte = byte << 4 | static_cast<unsigned>(digit);
            bytes[place / 2] = static_cast<unsigned char>(byte);
            ++place;
        }
    }
    return size;
}

std::optional<int> plainHex(std::string_view text, unsigned char* bytes, int capacity)
{
    const std::size_t size = text.size() / 2;
    if (text.size() % 2 != 0 || size > static_cast<std::size_t>(capacity)) {
        return std::nullopt;
    }
    int digits = 0; // NoDigit is the only one with a sign
    for (std::size_t i = 0; i < size; ++i) {
        const int high = hexDigit(text[2 * i]);
        const int low = hexDigit(text[2 * i + 1]);
        digits |= high | low;
        bytes[i] = static_cast<unsigned char>((high & 0x0f) << 4 | (low & 0x0f));
    }
    return digits < 0 ? std::nullopt : std::optional(static_cast<int>(size));
}

char* putReal(char* out, double value)
{
    constexpr double exact = 1e15;
    char* const end = out + MaxRealLength;
    return std::abs(value) < exact
               ? std::to_chars(out, end, value, std::chars_format::general, 15).ptr
               : std::to_chars(out, end, value).ptr;
}

std::string csvField(std::string_view text)
{
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        return std::string(text);
    }
    std::string field = "\"";
    for (const char c : text) {
        field.append(c == '"' ? 2 : 1, c);
    }
    return field + '"';
}

} // namespace formats
