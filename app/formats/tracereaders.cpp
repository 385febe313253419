// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/tracereaders.h"

#include "formats/linereader.h"
#include "formats/textfield.h"

#include <QTime>
#include <algorithm>
#include <optional>

namespace formats {

namespace {

// White space around a line does not count, and the first empty line ends the reading, except in
// .trc files.
//
// One CanFrames value serves all lines and is not cleared in between. What a line does not set,
// payload behind its own bytes included, is what the line before left; all zero at first. That
// shows in .trc and .asc files.

// The times of a file, counted from its first one.
class TimeBase
{
public:
    double elapsed(double time)
    {
        if (!first) {
            first = time;
        }
        return time - *first;
    }

private:
    std::optional<double> first;
};

// Gives each line to `readLine`, which fills the frame that it describes; false for a line to pass
// over. Returns the number of frames.
template <typename ReadLine>
int readLines(LineReader& lines, TraceSink& sink, ReadLine readLine)
{
    CanFrames frame;
    int count = 0;
    for (auto line = lines.nextTrimmed(); !line.empty(); line = lines.nextTrimmed()) {
        if (readLine(line, frame)) {
            sink.addFrame(frame);
            ++count;
        }
    }
    return count;
}

// Takes `length` bytes in base 16 off words separated by blanks, as far as the payload goes. Bytes
// that the line does not have are 0.
void takePayload(std::string_view words, CanFrames& frame)
{
    const int size = payloadSize(frame);
    for (int i = 0; i < size; ++i) {
        frame.payload[i] = static_cast<unsigned char>(hexInt(takeWord(words, ' ')));
    }
}

constexpr std::string_view arrow = " -> ";

std::string_view takePart(std::string_view& rest)
{
    while (rest.substr(0, arrow.size()) == arrow) {
        rest.remove_prefix(arrow.size());
    }
    const std::size_t size = rest.find(arrow);
    const std::string_view part = rest.substr(0, size);
    rest.remove_prefix(size == std::string_view::npos ? rest.size() : size + arrow.size());
    return part;
}

// "HH:mm:ss.zzz"; anything else goes through Qt, which takes a hundred times as long.
QTime timeOfDay(std::string_view text)
{
    constexpr std::string_view pattern = "00:00:00.000";
    const auto fits = [](char c, char place) {
        return place == '0' ? c >= '0' && c <= '9' : c == place;
    };
    if (std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(), fits)) {
        const auto number = [text](int from, int size) {
            return decimalInt(text.substr(from, size));
        };
        return QTime(number(0, 2), number(3, 2), number(6, 2), number(9, 3));
    }
    return QTime::fromString(textOf(text), QStringLiteral("HH:mm:ss.zzz"));
}

std::string_view valueOf(std::string_view assignment)
{
    takeField(assignment, '=');
    return takeField(assignment, '=');
}

// .txt: time, " -> ", and parts separated by ":": a word, identifier and length as "name=value" in
// base 10, and the bytes. frameTime in ms, where all others have the file's own unit, usually s.
int readTxt(QIODevice& device, TraceSink& sink)
{
    LineReader lines(device, LineReader::Text);
    std::optional<QTime> base;
    return readLines(lines, sink, [&base](std::string_view line, CanFrames& frame) {
        const QTime time = timeOfDay(takePart(line));
        base = base.value_or(time);
        frame.frameTime = base->msecsTo(time); // 0 if either is no time; negative past midnight
        std::string_view description = takePart(line);
        takeWord(description, ':');
        frame.frameId = decimalInt(valueOf(takeWord(description, ':')));
        takeWord(description, ':'); // the length; the bytes themselves tell it
        frame.length = decodeHex(description, frame.payload, sizeof frame.payload);
        return true;
    });
}

// A number without the brackets in its text.
double bracketedNumber(std::string_view text, std::string& scratch)
{
    scratch.clear();
    std::copy_if(text.begin(), text.end(), std::back_inserter(scratch), [](char c) {
        return c != '(' && c != ')';
    });
    return realNumber(scratch);
}

// Identifier and bytes, which stand before and behind "##" if there is one, else "#".
void readData(std::string_view data, CanFrames& frame)
{
    const std::string_view fdMarker = "##";
    const bool isFd = data.find(fdMarker) != std::string_view::npos;
    const std::string_view separator = isFd ? fdMarker : "#";
    const std::string_view id = data.substr(0, data.find(separator));
    data.remove_prefix(std::min(id.size() + separator.size(), data.size()));
    frame.frameId = hexInt(id);
    frame.length =
        decodeHex(data.substr(0, data.find(separator)), frame.payload, sizeof frame.payload);
}

// .candump: the console's own capture format, which is also that of the candump tool's log files.
// The digit of the FD marker is read as a byte in front of the payload: the frame comes out one
// byte longer than it was, and signal sets count on that.
int readCandump(QIODevice& device, TraceSink& sink)
{
    LineReader lines(device, LineReader::Text);
    TimeBase base;
    std::string scratch;
    return readLines(lines, sink, [&](std::string_view line, CanFrames& frame) {
        frame.frameTime = base.elapsed(bracketedNumber(takeWord(line, ' '), scratch));
        takeWord(line, ' '); // the bus
        readData(takeWord(line, ' '), frame);
        return true;
    });
}

// .trc: fields separated by tabs, lines by carriage returns; empty lines are passed over. `length`
// is what the file says, whatever the number of bytes.
int readTrc(QIODevice& device, TraceSink& sink)
{
    sink.diagnose("trc file!");
    // Carriage returns separate the lines, so that the line feed of a file with both begins the
    // next line, where the numbers take it for white space.
    LineReader lines(device, LineReader::Text, '\r');
    CanFrames frame;
    TimeBase base;
    std::string scratch;
    int count = 0;
    for (auto line = lines.next(); !line.empty(); line = lines.next()) {
        if (line.back() == '\r') {
            line.remove_suffix(1);
        }
        const std::string_view time = takeWord(line, '\t');
        const std::string_view second = takeWord(line, '\t');
        if (second.empty()) {
            continue;
        }
        frame.frameTime = base.elapsed(realNumber(replaced(time, ',', '.', scratch)));
        skipWords(line, '\t', 1);
        frame.frameId = hexInt(takeWord(line, '\t'));
        frame.length = decimalInt(takeWord(line, '\t'));
        decodeHex(takeWord(line, '\t'), frame.payload, sizeof frame.payload);
        sink.addFrame(frame);
        ++count;
    }
    return count;
}

constexpr std::string_view marker = "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD";
constexpr int leastFieldCount = 13;
constexpr int byteCount = 8;

bool skipToMarker(LineReader& lines)
{
    while (!lines.atEnd()) {
        if (lines.nextTrimmed() == marker) {
            return true;
        }
    }
    return false;
}

// .csv: fields separated by ",", behind a line of column names. A file without that line has no
// frames. Lines of fewer than 13 fields are refused with a line of diagnosis.
int readCsv(QIODevice& device, TraceSink& sink)
{
    sink.diagnose("csv file!");
    LineReader lines(device, LineReader::Text);
    if (!skipToMarker(lines)) {
        return 0;
    }
    sink.diagnose("Found start marker");
    TimeBase base;
    std::string scratch;
    return readLines(lines, sink, [&](std::string_view line, CanFrames& frame) {
        if (std::count(line.begin(), line.end(), ',') + 1 < leastFieldCount) {
            sink.diagnose(std::string("Invalid line >").append(line).append("<"));
            return false;
        }
        takeField(line, ','); // the type
        const std::string_view time = takeField(line, ',');
        frame.frameTime = base.elapsed(realNumber(replaced(time, '!', '0', scratch)));
        frame.frameId = hexInt(takeField(line, ','));
        frame.length = 0;
        for (int i = 0; i < byteCount; ++i) {
            const std::string_view byte = takeField(line, ',');
            if (!byte.empty()) {
                frame.payload[frame.length++] = static_cast<unsigned char>(hexInt(byte));
            }
        }
        return true;
    });
}

// Where the fields of a decoded line stand, behind its time and the word that tells the kind.
struct AscLayout
{
    std::string_view kind;
    int busNumber;
    int wordsBeforeId;
    int wordsBeforeLength; // from the identifier on
};

constexpr AscLayout canFd{"CANFD", 1, 2, 3};
constexpr AscLayout classicChannel2{"2", 2, 0, 2};

void decode(std::string_view words, const AscLayout& layout, CanFrames& frame)
{
    frame.busNumber = layout.busNumber;
    skipWords(words, ' ', layout.wordsBeforeId);
    frame.frameId = hexInt(takeWord(words, ' '));
    skipWords(words, ' ', layout.wordsBeforeLength);
    frame.length = decimalInt(takeWord(words, ' '));
    takePayload(words, frame);
}

// .asc: fields separated by blanks. Only FD lines and classic lines of channel 2 are decoded, and
// converted. Any other line, headers too, repeats the frame before it at its own time.
int readAsc(QIODevice& device, TraceSink& sink)
{
    LineReader lines(device, LineReader::Text);
    TimeBase base;
    return readLines(lines, sink, [&](std::string_view line, CanFrames& frame) {
        frame.frameTime = base.elapsed(realNumber(takeWord(line, ' ')));
        const std::string_view kind = takeWord(line, ' ');
        for (const AscLayout& layout : {canFd, classicChannel2}) {
            if (kind == layout.kind) {
                decode(line, layout, frame);
                sink.convert(frame.frameTime, frame);
            }
        }
        return true;
    });
}

// .trace: fields separated by blanks, comments behind ";". Times in the file are ms, frameTime in
// s.
int readTrace(QIODevice& device, TraceSink& sink)
{
    LineReader lines(device, LineReader::Text);
    TimeBase base;
    return readLines(lines, sink, [&base](std::string_view line, CanFrames& frame) {
        if (line.front() == ';') {
            return false;
        }
        frame.busNumber = 1;
        takeWord(line, ' '); // the message number
        frame.frameTime = base.elapsed(realNumber(takeWord(line, ' '))) / 1000.0;
        takeWord(line, ' ');
        frame.frameId = hexInt(takeWord(line, ' '));
        frame.length = decimalInt(takeWord(line, ' '));
        takePayload(line, frame);
        return true;
    });
}

} // namespace

QString TraceFormat::statusText(int frameCount) const
{
    return QStringLiteral("Read %1 file. %2 canbus frames")
        .arg(QLatin1String(statusName))
        .arg(frameCount);
}

const std::vector<TraceFormat>& traceFormats()
{
    // Three kinds share the words of .candump, on purpose.
    static const std::vector<TraceFormat> all = {
        {".txt", "txt", nullptr, readTxt},
        {".candump", "candump", nullptr, readCandump},
        {".trc", "trc", nullptr, readTrc},
        {".csv", "csv", nullptr, readCsv},
        {".asc", "candump", "asc-%1.candump", readAsc},
        {".trace", "candump", nullptr, readTrace},
    };
    return all;
}

const TraceFormat* traceFormat(const QString& fileName)
{
    for (const TraceFormat& format : traceFormats()) {
        if (fileName.endsWith(QLatin1String(format.nameEnd))) {
            return &format;
        }
    }
    return nullptr;
}

} // namespace formats
