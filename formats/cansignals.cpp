// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/cansignals.h"

#include "formats/linereader.h"
#include "formats/signaldecoder.h"
#include "formats/textfield.h"

#include <cmath>
#include <cstring>

namespace formats {

namespace {

// A number that may have "0x" ahead of it.
std::optional<std::uint64_t> hexNumber(std::string_view text)
{
    text.remove_prefix(text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X" ? 2 : 0);
    return plainNumber<std::uint64_t>(text, 16);
}

// "<start>,<bits>,<intel or motorola>"
std::optional<BitField> fieldOf(std::string_view text)
{
    const auto start = plainNumber<int>(takeField(text, ','));
    const auto bits = plainNumber<int>(takeField(text, ','));
    return start && bits ? BitField::from(*start, *bits, text == "intel") : std::nullopt;
}

// "<field>:<first>-<last>,<first>-<last>"
std::optional<CanSignal::Condition> conditionOf(std::string_view text)
{
    const auto field = fieldOf(takeField(text, ':'));
    CanSignal::Condition condition{field.value_or(BitField()), {}};
    while (!text.empty()) {
        std::string_view range = takeField(text, ',');
        const auto first = plainNumber<std::uint64_t>(takeField(range, '-'));
        const auto last = plainNumber<std::uint64_t>(range);
        if (!first || !last) {
            return std::nullopt;
        }
        condition.ranges.emplace_back(*first, *last);
    }
    return field ? std::optional(condition) : std::nullopt;
}

// A line of the table; none for one that makes no sense.
std::optional<CanSignal> signalOf(std::string_view line)
{
    const auto next = [&line] { return takeField(line, '\t'); };
    CanSignal signal;
    signal.kind = next() == "extended" ? CanSignal::Extended : CanSignal::Standard;
    const auto id = hexNumber(next());
    signal.id = static_cast<std::uint32_t>(id.value_or(0));
    signal.message = next();
    signal.name = next();
    const auto field = fieldOf(next());
    const std::string_view type = next();
    signal.type = type == "float"    ? CanSignal::Float
                  : type == "signed" ? CanSignal::Signed
                                     : CanSignal::Unsigned;
    const auto factor = plainNumber<double>(next());
    const auto addend = plainNumber<double>(next());
    signal.unit = next();
    std::string_view conditions = next();
    const bool isReal = signal.type != CanSignal::Float || (field && field->bitCount % 32 == 0);
    if (!id || !field || !factor || !addend || !isReal) {
        return std::nullopt;
    }
    signal.field = *field;
    signal.factor = *factor;
    signal.addend = *addend;
    while (!conditions.empty()) {
        const auto condition = conditionOf(takeWord(conditions, ' '));
        if (!condition) {
            return std::nullopt;
        }
        signal.conditions.push_back(*condition);
    }
    while (!line.empty()) {
        std::string_view text = next();
        if (const auto raw = plainNumber<std::int64_t>(takeField(text, '='))) {
            signal.texts.emplace_back(
                static_cast<double>(*raw) * signal.factor + signal.addend, text);
        }
    }
    return signal;
}

// Reads a line of a console's set. Returns what is wrong with it, which need not keep the signal
// from being decoded: then it has bits.
std::string readSetLine(std::string_view line, CanSignal& signal)
{
    constexpr std::uint64_t largestId = 0x1fffffff;
    const auto next = [&line] { return takeField(line, ';'); };
    const auto whole = [&next] { return plainNumber<int>(next()); };
    const auto id = hexNumber(next());
    const auto start = whole();
    const auto bits = whole();
    const auto factor = plainNumber<double>(next());
    const auto addend = plainNumber<double>(next());
    const auto mode = whole();
    const auto muxStart = whole();
    const auto muxBits = whole();
    const auto muxValue = hexNumber(next());
    const auto length = whole();
    const std::string_view name = next();
    signal.name = textOf(name).toUtf8().toStdString();
    if (!id || *id > largestId || !start || !bits || !factor || !std::isfinite(*factor) ||
        !addend || !std::isfinite(*addend) || !mode || !muxStart || !muxBits || !muxValue ||
        !length) {
        return "a field that is no number";
    }
    if (*mode < NotPlotted || *mode > SignedMostFirst) {
        return "\"Show\" " + std::to_string(*mode) + ", which gives no values";
    }
    const bool isIntel = *mode != UnsignedMostFirst && *mode != SignedMostFirst;
    const bool isSigned = *mode == SignedLeastFirst || *mode == SignedMostFirst;
    const auto field = BitField::from(*start, *bits, isIntel);
    if (!field) {
        return "not within 64 bytes";
    }
    constexpr int most = 32; // of the console's decoder
    if (*bits > most || (*bits == most && !isSigned)) {
        return std::to_string(*bits) + (isSigned ? " bits" : " bits without a sign") +
               ", which a set cannot say; give --signals the database";
    }
    if (*muxBits != 0) {
        const auto multiplexer = BitField::from(*muxStart, *muxBits, isIntel);
        if (!multiplexer || *muxBits >= most) {
            return "a multiplexer that a set cannot say";
        }
        signal.conditions.push_back({*multiplexer, {{*muxValue, *muxValue}}});
    }
    signal.id = static_cast<std::uint32_t>(*id);
    signal.kind = CanSignal::Either;
    signal.field = *field;
    signal.type = isSigned ? CanSignal::Signed : CanSignal::Unsigned;
    signal.factor = *factor;
    signal.addend = *addend;
    signal.frameLength = *length;
    return *mode == NotPlotted   ? "\"Show\" is 0, taken as 1"
           : signal.name != name ? "bytes in its name that are not UTF-8, replaced"
                                 : "";
}

} // namespace

std::optional<BitField> BitField::from(int start, int bits, bool isIntel)
{
    constexpr int most = 64;
    if (start < 0 || start >= 8 * TraceFrame::MostBytes || bits < 1 || bits > most ||
        start + bits > 8 * TraceFrame::MostBytes) {
        return std::nullopt;
    }
    const int first = start / 8;
    const int last = (start + bits - 1) / 8;
    const int ahead = start % 8;
    const int behind = 7 - (start + bits - 1) % 8;
    BitField field;
    field.bitCount = bits;
    field.bytesNeeded = last + 1;
    field.highest = isIntel ? last : first;
    field.step = isIntel ? -1 : 1;
    field.count = last - first + 1;
    field.unused = isIntel ? behind : ahead;
    field.surplus = isIntel ? ahead : behind;
    return field;
}

std::uint64_t BitField::read(const unsigned char* bytes) const
{
    const unsigned char* byte = bytes + highest;
    std::uint64_t value = *byte & 0xffU >> unused;
    if (count == 1) {
        return value >> surplus;
    }
    for (int i = 2; i < count; ++i) {
        byte += step;
        value = value << 8 | *byte;
    }
    // The last one apart: 64 bits may lie in nine bytes.
    return value << (8 - surplus) | static_cast<unsigned>(byte[step]) >> surplus;
}

double CanSignal::physical(std::uint64_t raw) const
{
    double number = static_cast<double>(raw);
    if (type == Signed) {
        const std::uint64_t sign = std::uint64_t{1} << (field.bitCount - 1);
        number = static_cast<double>(static_cast<std::int64_t>((raw ^ sign) - sign));
    } else if (type == Float && field.bitCount == 64) {
        std::memcpy(&number, &raw, sizeof number);
    } else if (type == Float) {
        const auto word = static_cast<std::uint32_t>(raw);
        float single = 0.0F;
        std::memcpy(&single, &word, sizeof single);
        number = single;
    }
    return number * factor + addend;
}

std::optional<double> CanSignal::value(const TraceFrame& frame) const
{
    const auto carries = [&frame](const BitField& bits) {
        return bits.bytesNeeded <= frame.length;
    };
    if (!carries(field) || (frameLength != -1 && frameLength != frame.length)) {
        return std::nullopt;
    }
    for (const auto& [multiplexer, ranges] : conditions) {
        const std::uint64_t set = carries(multiplexer) ? multiplexer.read(frame.bytes) : 0;
        bool isSet = false;
        for (const auto& [first, last] : ranges) {
            isSet = isSet || (set >= first && set <= last);
        }
        if (!isSet || !carries(multiplexer)) {
            return std::nullopt;
        }
    }
    return physical(field.read(frame.bytes));
}

std::vector<CanSignal> readSignalTable(QIODevice& device, const WarningFunction& warn)
{
    std::vector<CanSignal> result;
    LineReader lines(device, LineReader::Bytes);
    lines.next(); // the mark
    for (auto line = lines.next(); !line.empty(); line = lines.next()) {
        line.remove_suffix(line.back() == '\n' ? 1 : 0);
        if (const auto signal = signalOf(line)) {
            result.push_back(*signal);
        } else {
            warn("not a line of such a table, left out", lines.lineNumber());
        }
    }
    return result;
}

std::vector<CanSignal> readSignalsOfSet(QIODevice& device, const WarningFunction& warn)
{
    std::vector<CanSignal> result;
    LineReader lines(device, LineReader::Text);
    for (auto line = lines.nextTrimmed(); !line.empty(); line = lines.nextTrimmed()) {
        constexpr std::string_view mark = ";candump";
        if (line.size() > mark.size() && line.substr(line.size() - mark.size()) == mark) {
            warn(
                "made for the console's reading of .candump files, where bits of CAN FD frames "
                "count from the flags digit; give --signals the database, such as car.dbc",
                lines.lineNumber());
            return {};
        }
        CanSignal signal;
        const std::string why = readSetLine(line, signal);
        const bool isDecoded = signal.field.bitCount > 0;
        if (signal.name.empty()) {
            signal.name = "signal " + std::to_string(lines.lineNumber());
        }
        if (!why.empty()) {
            warn(signal.name + ": " + why + (isDecoded ? "" : ", left out"), lines.lineNumber());
        }
        if (isDecoded) {
            result.push_back(signal);
        }
    }
    return result;
}

} // namespace formats
