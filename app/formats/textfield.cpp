// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/textfield.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>
#include <optional>

namespace formats {

namespace {

bool isAsciiSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view withoutAsciiSpace(std::string_view text)
{
    while (!text.empty() && isAsciiSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isAsciiSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool isAscii(char c)
{
    return static_cast<unsigned char>(c) < 0x80;
}

// Takes decimal digits off `text`. The value wraps round from 20 digits on.
quint64 takeDigits(std::string_view& text, std::size_t& count)
{
    quint64 value = 0;
    std::size_t size = 0;
    for (; size < text.size() && text[size] >= '0' && text[size] <= '9'; ++size) {
        value = 10 * value + static_cast<quint64>(text[size] - '0');
    }
    text.remove_prefix(size);
    count += size;
    return value;
}

constexpr int NoDigit = -1;

constexpr std::array<signed char, 256> hexDigits()
{
    std::array<signed char, 256> values{};
    for (auto& value : values) {
        value = NoDigit;
    }
    for (signed char i = 0; i < 16; ++i) {
        values[static_cast<unsigned char>("0123456789abcdef"[i])] = i;
        values[static_cast<unsigned char>("0123456789ABCDEF"[i])] = i;
    }
    return values;
}

constexpr std::array<signed char, 256> hexDigitValues = hexDigits();

int hexDigit(char c)
{
    return hexDigitValues[static_cast<unsigned char>(c)];
}

template <int Base>
int integer(std::string_view text)
{
    constexpr std::size_t safeDigits = Base == 16 ? 7 : 9; // always fit an int
    int plainValue = 0;
    bool isPlain = !text.empty() && text.size() <= safeDigits;
    for (std::size_t i = 0; isPlain && i < text.size(); ++i) {
        const int digit = hexDigit(text[i]);
        isPlain = digit != NoDigit && digit < Base;
        plainValue = Base * plainValue + digit;
    }
    if (isPlain) {
        return plainValue;
    }
    const std::string_view number = withoutAsciiSpace(text);
    const char* const end = number.data() + number.size();
    int value = 0;
    const auto [stop, error] = std::from_chars(number.data(), end, value, Base);
    if (error == std::errc() && stop == end) {
        return value;
    }
    return number.empty() ? 0 : textOf(text).toInt(nullptr, Base);
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
    if (text.find(from) == std::string_view::npos) {
        return text;
    }
    scratch.assign(text);
    std::replace(scratch.begin(), scratch.end(), from, to);
    return scratch;
}

int decimalInt(std::string_view text)
{
    return integer<10>(text);
}

int hexInt(std::string_view text)
{
    return integer<16>(text);
}

std::optional<double> plainReal(std::string_view text, char point)
{
    static constexpr std::array<double, 19> powers{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,
                                                   1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13,
                                                   1e14, 1e15, 1e16, 1e17, 1e18};
    constexpr quint64 exactLimit = quint64{1} << 53;
    std::string_view number = withoutAsciiSpace(text);
    const bool isNegative = !number.empty() && number.front() == '-';
    number.remove_prefix(isNegative ? 1 : 0);
    std::size_t digits = 0;
    const quint64 whole = takeDigits(number, digits);
    const std::size_t wholeDigits = digits;
    if (!number.empty() && number.front() == point) {
        number.remove_prefix(1);
    }
    const quint64 fraction = takeDigits(number, digits);
    if (!number.empty() || digits == 0 || digits >= powers.size()) {
        return std::nullopt;
    }
    const double power = powers[digits - wholeDigits];
    const quint64 mantissa = whole * static_cast<quint64>(power) + fraction;
    if (mantissa > exactLimit) {
        return std::nullopt;
    }
    const double value = static_cast<double>(mantissa) / power;
    return isNegative ? -value : value;
}

double realNumber(std::string_view text)
{
    const std::optional<double> value = plainReal(text);
    return value ? *value : textOf(text).toDouble();
}

std::optional<int> decodePlainHex(std::string_view text, unsigned char* bytes)
{
    std::array<unsigned char, MaxPlainBytes> decoded;
    if (text.size() > 2 * decoded.size() || text.size() % 2 != 0) {
        return std::nullopt;
    }
    const std::size_t size = text.size() / 2;
    int digits = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const int high = hexDigit(text[2 * i]);
        const int low = hexDigit(text[2 * i + 1]);
        digits |= high | low; // negative from the first NoDigit on
        decoded[i] = static_cast<unsigned char>(16 * high + low);
    }
    if (digits < 0) {
        return std::nullopt;
    }
    std::memcpy(bytes, decoded.data(), size);
    return static_cast<int>(size);
}

int decodeHex(std::string_view text, unsigned char* bytes, int capacity)
{
    if (capacity >= MaxPlainBytes) {
        if (const std::optional<int> size = decodePlainHex(text, bytes)) {
            return *size;
        }
    }
    const auto isDigit = [](char c) { return hexDigit(c) != NoDigit; };
    const auto digits = std::count_if(text.begin(), text.end(), isDigit);
    const auto size = (digits + 1) / 2;
    const auto kept = std::min<std::ptrdiff_t>(size, capacity);
    auto place = digits % 2; // counted in digits
    if (kept > 0) {
        bytes[0] = 0; // what an odd first digit is joined to
    }
    for (auto c = text.begin(); c != text.end() && place < 2 * kept; ++c) {
        const int digit = hexDigit(*c);
        if (digit != NoDigit) {
            const int high = place % 2 == 0 ? 0 : bytes[place / 2] << 4;
            bytes[place / 2] = static_cast<unsigned char>(high | digit);
            ++place;
        }
    }
    return static_cast<int>(std::min<std::ptrdiff_t>(size, std::numeric_limits<int>::max()));
}

} // namespace formats
