// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/stricttraces.h"

#include "formats/framereader.h"
#include "formats/linereader.h"
#include "formats/textfield.h"

#include <cmath>
#include <optional>

namespace formats {

namespace {

constexpr std::uint32_t LargestStandardId = 0x7ff;
constexpr std::uint32_t IdMask = 0x1fffffff;

// Without the brackets around a time or the mark ahead of a number; nothing if they are not there.
std::string_view inside(std::string_view text, std::string_view front, std::string_view back)
{
    const std::size_t marks = front.size() + back.size();
    const bool hasMarks = text.size() >= marks && text.substr(0, front.size()) == front &&
                          text.substr(text.size() - back.size()) == back;
    return hasMarks ? text.substr(front.size(), text.size() - marks) : std::string_view();
}

// The number at the end of an interface's name, such as can1.
int busOf(std::string_view name)
{
    const auto bus = plainNumber<int>(name.substr(name.find_last_not_of("0123456789") + 1));
    return bus && *bus <= TraceFrame::LargestBus ? *bus : -1;
}

} // namespace

FrameReader::FrameReader(
    TraceKind traceKind, bool isOwnCsv, const FrameFunction& takeFrame,
    const WarningFunction& warnFunction)
    : kind(traceKind)
    , isOwn(isOwnCsv)
    , take(takeFrame)
    , warn(warnFunction)
{}

void FrameReader::readLine(std::string_view line, std::int64_t number)
{
    frame = {};
    lineNumber = number;
    const Outcome outcome = parse(line);
    if (outcome == Nonsense) {
        warn("not a frame, left out", number);
    } else if (outcome == Frame) {
        if (frame.length > 8 && !frame.isFd && !frame.isRemote) {
            warn("more than 8 bytes, taken for CAN FD", number);
            frame.isFd = true;
        }
        ++count;
        take(frame);
    }
}

FrameReader::Outcome FrameReader::parse(std::string_view line)
{
    if (kind == TraceKind::Candump) {
        return parseCandump(line);
    }
    if (isOwn) {
        return parseOwnCsv(line);
    }
    TraceFields fields;
    if (!lineSplitter(kind)(line, fields)) {
        return kind == TraceKind::Csv ? Nonsense : NoFrame;
    }
    frame.isFd = fields.isFd;
    switch (kind) {
    case TraceKind::Txt:
        return parseTxt(fields);
    case TraceKind::Trc:
        return parseTrc(fields);
    case TraceKind::Csv:
        return parseCsv(fields);
    case TraceKind::Asc:
        return parseAsc(fields);
    case TraceKind::Candump:
    case TraceKind::DotTrace:
        break;
    }
    return parseDotTrace(fields);
}

// More digits than a standard identifier has mean an extended one.
bool FrameReader::setId(std::string_view text, int idBase, std::size_t standardDigits)
{
    const auto id = plainNumber<std::uint32_t>(text, idBase);
    frame.id = id.value_or(0) & IdMask;
    frame.isError = (id.value_or(0) & TraceFrame::ErrorMark) != 0;
    frame.isExtended = text.size() > standardDigits || frame.id > LargestStandardId;
    return id.has_value();
}

bool FrameReader::setHex(std::string_view text)
{
    const auto length = plainHex(text, frame.bytes, sizeof frame.bytes);
    frame.length = length.value_or(0);
    return length.has_value();
}

bool FrameReader::setWords(std::string_view words, int length, int wordBase)
{
    if (length < 0 || length > TraceFrame::MostBytes) {
        return false;
    }
    while (frame.length < length) {
        const auto byte = plainNumber<unsigned char>(takeWord(words, ' '), wordBase);
        if (!byte) {
            return false;
        }
        frame.bytes[frame.length++] = *byte;
    }
    return true;
}

bool FrameReader::setTime(std::string_view text)
{
    constexpr double most = 1e12; // in microseconds it still fits
    const auto time = plainNumber<double>(text);
    frame.time = time.value_or(0);
    return time && std::abs(*time) < most;
}

bool FrameReader::setRemote(int length)
{
    frame.isRemote = true;
    frame.length = length;
    return length >= 0 && length <= 15;
}

FrameReader::Outcome FrameReader::parseTxt(TraceFields& fields)
{
    constexpr double day = 86'400.0;
    const QTime time = timeOfDay(fields.time);
    if (!time.isValid() || !setId(fields.id, 10, fields.id.size())) {
        return Nonsense;
    }
    while (!fields.data.empty()) {
        const std::string_view text = takeField(fields.data, ':');
        const auto byte = plainNumber<unsigned char>(text, 16);
        if (!byte || frame.length == TraceFrame::MostBytes) {
            return Nonsense;
        }
        frame.bytes[frame.length++] = *byte;
    }
    checkLength(fields);
    frame.time = time.msecsSinceStartOfDay() / 1000.0 + days * day;
    if (frame.time < lastTime - day / 2) {
        warn("midnight; times go on beyond 24 hours", lineNumber);
        ++days;
        frame.time += day;
    }
    lastTime = frame.time;
    return Frame;
}

// Not by the splitter, which passes over what makes no sense.
FrameReader::Outcome FrameReader::parseCandump(std::string_view line)
{
    const std::string_view time = inside(takeWord(line, ' '), "(", ")");
    frame.bus = busOf(takeWord(line, ' '));
    std::string_view data = takeWord(line, ' ');
    if (data.find('#') == std::string_view::npos) {
        if (takeWord(line, ' ').substr(0, 1) == "[") {
            // Whose times may be from line to line.
            warn("as candump shows frames, not as candump -l logs them, left out", lineNumber);
            return NoFrame;
        }
        return Nonsense;
    }
    const std::string_view direction = takeWord(line, ' '); // newer candumps tell it
    const bool isWhole =
        line.empty() && (direction.empty() || direction == "R" || direction == "T");
    if (!isWhole || !setTime(time) || !setId(takeField(data, '#'), 16, 3)) {
        return Nonsense;
    }
    const auto digit = [&] { return plainNumber<unsigned>(data.substr(1, 1), 16); };
    frame.isFd = data.substr(0, 1) == "#";
    if (frame.isFd) {
        const auto flags = digit();
        frame.flags = flags.value_or(0);
        return frameIf(flags && setHex(data.substr(2)));
    }
    if (!data.empty() && (data[0] | 0x20) == 'r') {
        const auto length = data.size() == 1 ? 0 : digit();
        return frameIf(data.size() <= 2 && length && setRemote(static_cast<int>(*length)));
    }
    return frameIf(setHex(data));
}

FrameReader::Outcome FrameReader::parseTrc(TraceFields& fields)
{
    if (!setTime(replaced(fields.time, ',', '.', scratch)) || !setId(fields.id, 16, 4) ||
        !setHex(fields.data)) {
        return Nonsense;
    }
    checkLength(fields);
    return Frame;
}

void FrameReader::checkLength(const TraceFields& fields)
{
    if (plainNumber<int>(fields.length) != frame.length) {
        warn("length that is not the number of bytes; the bytes count", lineNumber);
    }
}

FrameReader::Outcome FrameReader::parseCsv(TraceFields& fields)
{
    bool makesSense = setTime(replaced(fields.time, '!', '0', scratch)) && setId(fields.id, 16, 4);
    for (int i = 0; i < 8; ++i) {
        const std::string_view text = takeField(fields.data, ',');
        const auto byte = plainNumber<unsigned char>(text, 16);
        if (byte) {
            frame.bytes[frame.length++] = *byte;
        }
        makesSense &= text.empty() || (byte && frame.length == i + 1); // no gap ahead of it
    }
    return frameIf(makesSense);
}

FrameReader::Outcome FrameReader::parseOwnCsv(std::string_view line)
{
    bool makesSense = setTime(takeField(line, ','));
    const auto bus = plainNumber<int>(takeField(line, ','));
    frame.bus = bus && *bus >= 0 && *bus <= TraceFrame::LargestBus ? *bus : -1;
    makesSense &= setId(inside(takeField(line, ','), "0x", ""), 16, 3);
    bool hasSwitch = false;
    for (bool* const flag : {&frame.isExtended, &frame.isFd, &hasSwitch, &frame.isRemote}) {
        const auto value = plainNumber<unsigned>(takeField(line, ','));
        *flag = value == 1U;
        makesSense &= value <= 1U;
    }
    frame.flags = hasSwitch ? TraceFrame::BitRateSwitch : 0;
    const auto length = plainNumber<int>(takeField(line, ','));
    makesSense &= line.substr(0, 1) == "x" && setHex(line.substr(1));
    makesSense &= frame.isExtended || frame.isError || frame.id <= LargestStandardId;
    if (frame.isRemote) {
        return frameIf(makesSense && frame.length == 0 && setRemote(length.value_or(-1)));
    }
    return frameIf(makesSense && length == frame.length);
}

FrameReader::Outcome FrameReader::parseDotTrace(TraceFields& fields)
{
    const int length = plainNumber<int>(fields.length).value_or(-1);
    const bool makesSense = setTime(fields.time) && setId(fields.id, 16, 4);
    frame.time /= 1000.0;
    frame.bus = 1; // as on the console's charts
    return frameIf(makesSense && setWords(fields.data, length, 16));
}

std::int64_t readFrames(
    QIODevice& device, TraceKind kind, const FrameFunction& take, const WarningFunction& warn)
{
    constexpr int sampleSize = 4096;
    const QByteArray sample = device.peek(sampleSize);
    // Lines of .trc files may end in carriage returns alone.
    const bool hasLineFeeds = kind != TraceKind::Trc || sample.contains('\n');
    const bool isOwnCsv =
        kind == TraceKind::Csv && (sample.startsWith(FrameCsvHeader) ||
                                   sample.startsWith(QByteArray("\xef\xbb\xbf") + FrameCsvHeader));
    LineReader lines(device, LineReader::Text, hasLineFeeds ? '\n' : '\r');
    if (isOwnCsv) {
        lines.next();
    } else if (kind == TraceKind::Csv && !skipToCsvFrames(lines)) {
        return 0;
    }
    FrameReader reader(kind, isOwnCsv, take, warn);
    for (auto line = lines.nextTrimmed(); !lines.atEnd(); line = lines.nextTrimmed()) {
        if (!line.empty()) {
            reader.readLine(line, lines.lineNumber());
        }
    }
    return reader.count;
}

} // namespace formats
