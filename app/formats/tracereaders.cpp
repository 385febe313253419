// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/tracereaders.h"

#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/tracefields.h"

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

// .txt: time, " -> ", and parts separated by ":": a word, identifier and length as "name=value" in
// base 10, and the bytes. frameTime in ms, where all others have the file's own unit, usually s.
int readTxt(QIODevice& device, TraceSink& sink)
{
    LineReader lines(device, LineReader::Text);
    std::optional<QTime> base;
    return readLines(lines, sink, [&base](std::string_view line, CanFrames& frame) {
        TraceFields fields;
        splitTxt(line, fields);
        const QTime time = timeOfDay(fields.time);
        base = base.value_or(time);
        frame.frameTime = base->msecsTo(time); // 0 if either is no time; negative past midnight
        frame.frameId = decimalInt(fields.id);
        frame.length = decodeHex(fields.data, frame.payload, sizeof frame.payload);
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

// .candump: the console's own capture format, which is also that of the candump tool's log files.
// The digit of the FD marker is read as a byte in front of the payload: the frame comes out one
// byte longer than it was, and signal sets count on that.
int readCandump(QIODevice& device, TraceSink& sink)
{
    LineReader lines(device, LineReader::Text);
    TimeBase base;
    std::string scratch;
    return readLines(lines, sink, [&](std::string_view line, CanFrames& frame) {
        TraceFields fields;
        splitCandump(line, fields);
        frame.frameTime = base.elapsed(bracketedNumber(fields.time, scratch));
        frame.frameId = hexInt(fields.id);
        frame.length = decodeHex(fields.data, frame.payload, sizeof frame.payload);
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
        TraceFields fields;
        if (!splitTrc(line, fields)) {
            continue;
        }
        frame.frameTime = base.elapsed(realNumber(replaced(fields.time, ',', '.', scratch)));
        frame.frameId = hexInt(fields.id);
        frame.length = decimalInt(fields.length);
        decodeHex(fields.data, frame.payload, sizeof frame.payload);
        sink.addFrame(frame);
        ++count;
    }
    return count;
}

bool skipToMarker(LineReader& lines)
{
    while (!lines.atEnd()) {
        if (lines.nextTrimmed() == CsvMarker) {
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
        TraceFields fields;
        if (!splitCsv(line, fields)) {
            sink.diagnose(std::string("Invalid line >").append(line).append("<"));
            return false;
        }
        frame.frameTime = base.elapsed(realNumber(replaced(fields.time, '!', '0', scratch)));
        frame.frameId = hexInt(fields.id);
        frame.length = 0;
        for (int i = 0; i < 8; ++i) {
            const std::string_view byte = takeField(fields.data, ',');
            if (!byte.empty()) {
                frame.payload[frame.length++] = static_cast<unsigned char>(hexInt(byte));
            }
        }
        return true;
    });
}

void decode(const AscLayout& layout, int busNumber, TraceFields& fields, CanFrames& frame)
{
    splitAscData(layout, fields);
    frame.busNumber = busNumber;
    frame.frameId = hexInt(fields.id);
    frame.length = decimalInt(fields.length);
    takePayload(fields.data, frame);
}

// .asc: fields separated by blanks. Only FD lines and classic lines of channel 2 are decoded, and
// converted. Any other line, headers too, repeats the frame before it at its own time.
int readAsc(QIODevice& device, TraceSink& sink)
{
    LineReader lines(device, LineReader::Text);
    TimeBase base;
    return readLines(lines, sink, [&](std::string_view line, CanFrames& frame) {
        TraceFields fields;
        splitAsc(line, fields);
        frame.frameTime = base.elapsed(realNumber(fields.time));
        const bool isFd = fields.bus == "CANFD";
        if (isFd || fields.bus == "2") {
            decode(isFd ? AscFd : AscClassic, isFd ? 1 : 2, fields, frame);
            sink.convert(frame.frameTime, frame);
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
        TraceFields fields;
        if (!splitTrace(line, fields)) {
            return false;
        }
        frame.busNumber = 1;
        frame.frameTime = base.elapsed(realNumber(fields.time)) / 1000.0;
        frame.frameId = hexInt(fields.id);
        frame.length = decimalInt(fields.length);
        takePayload(fields.data, frame);
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
