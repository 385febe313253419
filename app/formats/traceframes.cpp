// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/traceframes.h"

#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/tracefields.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

namespace formats {

namespace {

constexpr std::uint32_t LargestStandardId = 0x7ff;
constexpr std::uint32_t ErrorMark = 0x20000000; // in identifiers of candump logs
constexpr std::uint32_t IdMask = 0x1fffffff;

std::string_view withoutEnds(std::string_view text, std::size_t front, std::size_t back)
{
    return text.size() < front + back ? text : text.substr(front, text.size() - front - back);
}

// The number at the end of an interface's name, such as can1.
int busOf(std::string_view name)
{
    std::size_t digits = 0;
    while (digits < name.size() && digits < 4 && std::isdigit(name[name.size() - 1 - digits])) {
        ++digits;
    }
    return plainNumber<int>(name.substr(name.size() - digits)).value_or(-1);
}

class FrameReader
{
public:
    FrameReader(TraceKind kind, FrameSink& frameSink)
        : parse(parsers[static_cast<std::size_t>(kind)])
        , sink(frameSink)
    {}

    void readLine(std::string_view line);

private:
    enum Outcome { Frame, NoFrame, Nonsense };

    using Parse = Outcome (FrameReader::*)(std::string_view line);

    Outcome parseTxt(std::string_view line);
    Outcome parseCandump(std::string_view line);
    Outcome parseTrc(std::string_view line);
    Outcome parseCsv(std::string_view line);
    Outcome parseAsc(std::string_view line);
    void readAscHeader(std::string_view line);
    Outcome parseDotTrace(std::string_view line);

    static constexpr Parse parsers[] = { // by TraceKind
        &FrameReader::parseTxt, &FrameReader::parseCandump, &FrameReader::parseTrc,
        &FrameReader::parseCsv, &FrameReader::parseAsc,     &FrameReader::parseDotTrace};

    bool setId(std::string_view text, int base, std::size_t standardDigits);
    bool setHex(std::string_view text);
    bool setWords(std::string_view words, int length, char separator);
    bool setTime(std::string_view text, char from = '\0', char to = '\0');

    const Parse parse;
    FrameSink& sink;
    TraceFrame frame;
    std::int64_t lineNumber = 0;
    std::string scratch;
    bool isBehindMarker = false; // .csv
    int days = 0;                // .txt: midnights passed
    double lastTime = 0.0;
    int base = 16; // .asc
    bool hasRelativeTimes = false;
};

// More digits than a standard identifier has mean an extended one.
bool FrameReader::setId(std::string_view text, int idBase, std::size_t standardDigits)
{
    const auto id = plainNumber<std::uint32_t>(text, idBase);
    frame.id = id.value_or(0) & IdMask;
    frame.isError = (id.value_or(0) & ErrorMark) != 0;
    frame.isExtended = text.size() > standardDigits || frame.id > LargestStandardId;
    return id.has_value();
}

bool FrameReader::setHex(std::string_view text)
{
    frame.length = decodeHex(text, frame.bytes, sizeof frame.bytes) - frame.lead;
    return frame.length <= TraceFrame::MostBytes;
}

bool FrameReader::setWords(std::string_view words, int length, char separator)
{
    frame.length = 0;
    if (length < 0 || length > TraceFrame::MostBytes) {
        return false;
    }
    while (frame.length < length) {
        const auto byte = plainNumber<unsigned char>(takeWord(words, separator), base);
        if (!byte) {
            return false;
        }
        frame.bytes[frame.length++] = *byte;
    }
    return true;
}

bool FrameReader::setTime(std::string_view text, char from, char to)
{
    constexpr double most = 1e12; // in microseconds it still fits
    const auto time = plainNumber<double>(replaced(text, from, to, scratch));
    frame.time = time.value_or(0);
    return time && std::abs(*time) < most;
}

FrameReader::Outcome FrameReader::parseTxt(std::string_view line)
{
    constexpr double day = 86'400.0;
    TraceFields fields;
    splitTxt(line, fields);
    const QTime time = timeOfDay(fields.time);
    if (!time.isValid() || !setId(fields.id, 10, fields.id.size()) || !setHex(fields.data)) {
        return Nonsense;
    }
    frame.time = time.msecsSinceStartOfDay() / 1000.0 + days * day;
    if (frame.time < lastTime - day / 2) {
        sink.addOddity("midnight; times go on beyond 24 hours", lineNumber);
        ++days;
        frame.time += day;
    }
    lastTime = frame.time;
    return Frame;
}

FrameReader::Outcome FrameReader::parseCandump(std::string_view line)
{
    TraceFields fields;
    splitCandump(line, fields);
    if (!setTime(withoutEnds(fields.time, 1, 1)) || !setId(fields.id, 16, 3)) {
        return Nonsense;
    }
    frame.bus = busOf(fields.bus);
    frame.isFd = fields.isFd;
    frame.lead = fields.isFd ? 1 : 0;
    if (!frame.isFd && !fields.data.empty() && (fields.data[0] | 0x20) == 'r') {
        frame.isRemote = true;
        frame.length = plainNumber<int>(fields.data.substr(1), 16).value_or(0);
        return frame.length <= 15 ? Frame : Nonsense;
    }
    const std::size_t digits = fields.data.size();
    const auto bytes = static_cast<int>((digits + 1) / 2); // if it is digits and nothing else
    if (digits % 2 != (frame.isFd ? 1 : 0) || !setHex(fields.data) ||
        frame.length + frame.lead != bytes) {
        return Nonsense;
    }
    frame.flags = frame.isFd ? frame.bytes[0] : 0;
    return Frame;
}

FrameReader::Outcome FrameReader::parseTrc(std::string_view line)
{
    TraceFields fields;
    if (!splitTrc(line, fields)) {
        return NoFrame;
    }
    if (!setTime(fields.time, ',', '.') || !setId(fields.id, 16, 4) || !setHex(fields.data)) {
        return Nonsense;
    }
    if (plainNumber<int>(fields.length) != frame.length) {
        sink.addOddity("length that is not the number of bytes; the bytes count", lineNumber);
    }
    return Frame;
}

FrameReader::Outcome FrameReader::parseCsv(std::string_view line)
{
    TraceFields fields;
    if (!isBehindMarker) {
        isBehindMarker = line == CsvMarker;
        return NoFrame;
    }
    if (!splitCsv(line, fields) || !setTime(fields.time, '!', '0') || !setId(fields.id, 16, 4)) {
        return Nonsense;
    }
    for (int i = 0; i < 8; ++i) {
        const std::string_view text = takeField(fields.data, ',');
        const auto byte = plainNumber<unsigned char>(text, 16);
        if (byte) {
            frame.bytes[frame.length++] = *byte;
        } else if (!text.empty()) {
            return Nonsense;
        }
    }
    return Frame;
}

void FrameReader::readAscHeader(std::string_view line)
{
    if (takeWord(line, ' ') == "base") {
        base = takeWord(line, ' ') == "dec" ? 10 : 16;
        takeWord(line, ' ');
        hasRelativeTimes = takeWord(line, ' ') == "relative";
    }
}

// Events of other kinds than frames, which begin with a time as well, are passed over.
FrameReader::Outcome FrameReader::parseAsc(std::string_view line)
{
    TraceFields fields;
    splitAsc(line, fields);
    if (!setTime(fields.time)) {
        readAscHeader(line);
        return NoFrame;
    }
    lastTime = hasRelativeTimes ? lastTime + frame.time : frame.time;
    frame.time = lastTime;
    frame.isFd = fields.bus == "CANFD";
    std::string_view words = fields.data;
    if (frame.isFd) {
        fields.bus = takeWord(words, ' ');
        takeWord(words, ' '); // the direction
    }
    const auto channel = plainNumber<int>(fields.bus);
    std::string_view id = takeWord(words, ' ');
    if (!channel) {
        return NoFrame;
    }
    frame.bus = *channel - 1;
    if (id == "ErrorFrame") {
        frame.isError = true;
        frame.id = 0;
        return Frame;
    }
    const bool isExtended = !id.empty() && (id.back() | 0x20) == 'x';
    id = withoutEnds(id, 0, isExtended ? 1 : 0);
    std::string_view next = takeWord(words, ' ');
    int nameWords = 0;
    if (frame.isFd) {
        if (next != "0" && next != "1") { // the message's name
            nameWords = 1;
            next = takeWord(words, ' ');
        }
        frame.flags = next == "1" ? TraceFrame::BitRateSwitch : 0U;
        frame.flags |= takeWord(words, ' ') == "1" ? TraceFrame::ErrorState : 0U;
    } else if (next != "Rx" && next != "Tx") {
        return NoFrame; // such as statistics of the channel
    } else {
        frame.isRemote = takeWord(words, ' ') == "r";
    }
    splitAscData(frame.isFd, nameWords, fields);
    const int length = plainNumber<int>(fields.length, frame.isFd ? 10 : 16).value_or(0);
    if (!setId(id, base, id.size())) {
        return Nonsense;
    }
    frame.isExtended = isExtended;
    frame.isError = false;
    if (frame.isRemote) {
        frame.length = length;
        return length >= 0 && length <= 15 ? Frame : Nonsense;
    }
    return setWords(fields.data, frame.isFd ? length : std::min(length, 8), ' ') ? Frame : Nonsense;
}

FrameReader::Outcome FrameReader::parseDotTrace(std::string_view line)
{
    TraceFields fields;
    if (!splitDotTrace(line, fields)) {
        return NoFrame;
    }
    const auto length = plainNumber<int>(fields.length);
    if (!length || !setTime(fields.time) || !setId(fields.id, 16, 4) ||
        !setWords(fields.data, *length, ' ')) {
        return Nonsense;
    }
    frame.time /= 1000.0;
    frame.bus = 1; // as on the console's charts
    return Frame;
}

void FrameReader::readLine(std::string_view line)
{
    ++lineNumber;
    if (line.empty()) {
        return;
    }
    frame.bus = -1;
    frame.isExtended = frame.isFd = frame.isRemote = frame.isError = false;
    frame.flags = 0;
    frame.length = frame.lead = 0;
    const Outcome outcome = (this->*parse)(line);
    if (outcome == Nonsense) {
        sink.addOddity("not a frame, left out", lineNumber);
    } else if (outcome == Frame) {
        if (frame.length > 8 && !frame.isFd && !frame.isRemote) {
            sink.addOddity("more than 8 bytes, taken for CAN FD", lineNumber);
            frame.isFd = true;
        }
        sink.addFrame(frame);
    }
}

} // namespace

CanFrames chartFrame(const TraceFrame& frame)
{
    CanFrames result;
    result.frameTime = frame.time;
    result.busNumber = frame.bus;
    result.frameId = static_cast<int>(frame.id);
    result.length = frame.isRemote || frame.isError ? 0 : frame.lead + frame.length;
    std::memcpy(result.payload, frame.bytes, static_cast<std::size_t>(payloadSize(result)));
    return result;
}

void readFrames(QIODevice& device, TraceKind kind, FrameSink& sink)
{
    // Lines of .trc files may end in carriage returns alone.
    constexpr int sampleSize = 4096;
    const bool hasLineFeeds = kind != TraceKind::Trc || device.peek(sampleSize).contains('\n');
    LineReader lines(device, LineReader::Text, hasLineFeeds ? '\n' : '\r');
    FrameReader reader(kind, sink);
    for (auto line = lines.nextTrimmed(); !lines.atEnd(); line = lines.nextTrimmed()) {
        reader.readLine(line);
    }
}

} // namespace formats
