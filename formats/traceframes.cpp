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

// Makes frames of the lines of a trace.
class FrameReader
{
public:
    FrameReader(
        TraceKind traceKind, const FrameFunction& takeFrame, const OddityFunction& tellOddity)
        : kind(traceKind)
        , take(takeFrame)
        , tell(tellOddity)
    {}

    void readLine(std::string_view line, std::int64_t number)
    {
        TraceFields fields;
        Outcome outcome = kind == TraceKind::Csv ? Nonsense : NoFrame;
        if (lineSplitter(kind)(line, fields)) {
            frame = {};
            frame.isFd = fields.isFd;
            lineNumber = number;
            outcome = parse(fields);
        }
        if (outcome == Nonsense) {
            tell("not a frame, left out", number);
        } else if (outcome == Frame) {
            if (frame.length > 8 && !frame.isFd && !frame.isRemote) {
                tell("more than 8 bytes, taken for CAN FD", number);
                frame.isFd = true;
            }
            ++count;
            take(frame);
        }
    }

    std::int64_t count = 0; // of frames

private:
    enum Outcome { Frame, NoFrame, Nonsense };

    Outcome parse(TraceFields& fields)
    {
        switch (kind) {
        case TraceKind::Txt:
            return parseTxt(fields);
        case TraceKind::Candump:
            return parseCandump(fields);
        case TraceKind::Trc:
            return parseTrc(fields);
        case TraceKind::Csv:
            return parseCsv(fields);
        case TraceKind::Asc:
            return parseAsc(fields);
        case TraceKind::DotTrace:
            break;
        }
        return parseDotTrace(fields);
    }

    static Outcome frameIf(bool makesSense) { return makesSense ? Frame : Nonsense; }

    // More digits than a standard identifier has mean an extended one.
    bool setId(std::string_view text, int idBase, std::size_t standardDigits)
    {
        const auto id = plainNumber<std::uint32_t>(text, idBase);
        frame.id = id.value_or(0) & IdMask;
        frame.isError = (id.value_or(0) & ErrorMark) != 0;
        frame.isExtended = text.size() > standardDigits || frame.id > LargestStandardId;
        return id.has_value();
    }

    bool setHex(std::string_view text)
    {
        frame.length = decodeHex(text, frame.bytes, sizeof frame.bytes) - frame.lead;
        return frame.length <= TraceFrame::MostBytes;
    }

    bool setWords(std::string_view words, int length)
    {
        if (length < 0 || length > TraceFrame::MostBytes) {
            return false;
        }
        while (frame.length < length) {
            const auto byte = plainNumber<unsigned char>(takeWord(words, ' '), base);
            if (!byte) {
                return false;
            }
            frame.bytes[frame.length++] = *byte;
        }
        return true;
    }

    bool setTime(std::string_view text)
    {
        constexpr double most = 1e12; // in microseconds it still fits
        const auto time = plainNumber<double>(text);
        frame.time = time.value_or(0);
        return time && std::abs(*time) < most;
    }

    bool setRemote(int length)
    {
        frame.isRemote = true;
        frame.length = length;
        return length >= 0 && length <= 15;
    }

    Outcome parseTxt(TraceFields& fields)
    {
        constexpr double day = 86'400.0;
        const QTime time = timeOfDay(fields.time);
        if (!time.isValid() || !setId(fields.id, 10, fields.id.size()) || !setHex(fields.data)) {
            return Nonsense;
        }
        frame.time = time.msecsSinceStartOfDay() / 1000.0 + days * day;
        if (frame.time < lastTime - day / 2) {
            tell("midnight; times go on beyond 24 hours", lineNumber);
            ++days;
            frame.time += day;
        }
        lastTime = frame.time;
        return Frame;
    }

    Outcome parseCandump(TraceFields& fields)
    {
        if (!setTime(withoutEnds(fields.time, 1, 1)) || !setId(fields.id, 16, 3)) {
            return Nonsense;
        }
        frame.bus = busOf(fields.bus);
        frame.lead = frame.isFd ? 1 : 0;
        if (!frame.isFd && !fields.data.empty() && (fields.data[0] | 0x20) == 'r') {
            return frameIf(setRemote(plainNumber<int>(fields.data.substr(1), 16).value_or(0)));
        }
        const std::size_t digits = fields.data.size();
        const auto bytes = static_cast<int>((digits + 1) / 2); // if it is digits and nothing else
        const bool isHex = setHex(fields.data) && frame.lead + frame.length == bytes;
        frame.flags = frame.isFd ? frame.bytes[0] : 0;
        return frameIf(isHex && digits % 2 == (frame.isFd ? 1 : 0));
    }

    Outcome parseTrc(TraceFields& fields)
    {
        if (!setTime(replaced(fields.time, ',', '.', scratch)) || !setId(fields.id, 16, 4) ||
            !setHex(fields.data)) {
            return Nonsense;
        }
        if (plainNumber<int>(fields.length) != frame.length) {
            tell("length that is not the number of bytes; the bytes count", lineNumber);
        }
        return Frame;
    }

    Outcome parseCsv(TraceFields& fields)
    {
        bool makesSense =
            setTime(replaced(fields.time, '!', '0', scratch)) && setId(fields.id, 16, 4);
        for (int i = 0; i < 8; ++i) {
            const std::string_view text = takeField(fields.data, ',');
            const auto byte = plainNumber<unsigned char>(text, 16);
            if (byte) {
                frame.bytes[frame.length++] = *byte;
            }
            makesSense = makesSense && (byte || text.empty());
        }
        return frameIf(makesSense);
    }

    // Events of other kinds than frames, which begin with a time as well, are passed over.
    Outcome parseAsc(TraceFields& fields)
    {
        if (!setTime(fields.time)) {
            readAscHeader(fields);
            return NoFrame;
        }
        lastTime = hasRelativeTimes ? lastTime + frame.time : frame.time;
        frame.time = lastTime;
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
            return Frame;
        }
        const bool isExtended = !id.empty() && (id.back() | 0x20) == 'x';
        id = withoutEnds(id, 0, isExtended ? 1 : 0);
        std::string_view next = takeWord(words, ' ');
        int nameWords = 0;
        bool isRemote = false;
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
            isRemote = takeWord(words, ' ') == "r";
        }
        if (!setId(id, base, id.size())) {
            return Nonsense;
        }
        frame.isExtended = isExtended;
        frame.isError = false;
        splitAscData(fields, nameWords);
        const int length = plainNumber<int>(fields.length, frame.isFd ? 10 : 16).value_or(0);
        if (isRemote) {
            return frameIf(setRemote(length));
        }
        return frameIf(setWords(fields.data, frame.isFd ? length : std::min(length, 8)));
    }

    void readAscHeader(TraceFields& fields)
    {
        if (fields.time == "base") {
            base = fields.bus == "dec" ? 10 : 16;
            takeWord(fields.data, ' ');
            hasRelativeTimes = takeWord(fields.data, ' ') == "relative";
        }
    }

    Outcome parseDotTrace(TraceFields& fields)
    {
        const int length = plainNumber<int>(fields.length).value_or(-1);
        const bool makesSense = setTime(fields.time) && setId(fields.id, 16, 4);
        frame.time /= 1000.0;
        frame.bus = 1; // as on the console's charts
        return frameIf(makesSense && setWords(fields.data, length));
    }

    const TraceKind kind;
    const FrameFunction& take;
    const OddityFunction& tell;
    TraceFrame frame;
    std::int64_t lineNumber = 0;
    std::string scratch;
    int days = 0; // .txt: midnights passed
    double lastTime = 0.0;
    int base = 16; // of identifiers and bytes in an .asc file
    bool hasRelativeTimes = false;
};

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

std::int64_t readFrames(
    QIODevice& device, TraceKind kind, const FrameFunction& take, const OddityFunction& tell)
{
    // Lines of .trc files may end in carriage returns alone.
    constexpr int sampleSize = 4096;
    const bool hasLineFeeds = kind != TraceKind::Trc || device.peek(sampleSize).contains('\n');
    LineReader lines(device, LineReader::Text, hasLineFeeds ? '\n' : '\r');
    if (kind == TraceKind::Csv && !skipToCsvFrames(lines)) {
        return 0;
    }
    FrameReader reader(kind, take, tell);
    for (auto line = lines.nextTrimmed(); !lines.atEnd(); line = lines.nextTrimmed()) {
        if (!line.empty()) {
            reader.readLine(line, lines.lineNumber());
        }
    }
    return reader.count;
}

} // namespace formats
