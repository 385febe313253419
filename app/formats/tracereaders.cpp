// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/tracereaders.h"

#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/tracefields.h"
#include "formats/traceimport.h"

#include <QTime>
#include <algorithm>
#include <optional>

namespace formats {

// What passes from line to line of a trace.
//
// One frame serves all lines and is not cleared in between. What a line does not set, payload
// behind its own bytes included, is what the line before left; all zero at first. That shows in
// .trc and .asc files.
struct TraceReading
{
    QIODevice& device;
    TraceImport& import;
    CanFrames frame;
    std::optional<double> firstTime;
    std::string scratch;

    // Times of most kinds count from the first one, in the file's own unit.
    void setTime(double time)
    {
        firstTime = firstTime.value_or(time);
        frame.frameTime = time - *firstTime;
    }
};

namespace {

// Takes the lines, which `nextLine` gives, up to the first empty one. Those that `split` finds
// fields in are given to `take`, which puts them into the frame. Returns the number of frames.
template <typename NextLine, typename Split, typename Take>
int readLines(TraceReading& reading, NextLine nextLine, Split split, Take take)
{
    int count = 0;
    for (std::string_view line = nextLine(); !line.empty(); line = nextLine()) {
        TraceFields fields;
        if (split(line, fields)) {
            take(fields, reading.frame);
            reading.import.addFrame(reading.frame);
            ++count;
        }
    }
    return count;
}

// White space around a line does not count.
template <typename Split, typename Take>
int readTrimmedLines(TraceReading& reading, Split split, Take take)
{
    LineReader lines(reading.device, LineReader::Text);
    return readLines(
        reading, [&lines] { return lines.nextTrimmed(); }, split, take);
}

void takeHex(std::string_view digits, CanFrames& frame)
{
    frame.length = decodeHex(digits, frame.payload, sizeof frame.payload);
}

// Takes `length` bytes in base 16 off words separated by blanks, as far as the payload goes. Bytes
// that the line does not have are 0.
void takeWords(std::string_view words, CanFrames& frame)
{
    const int size = payloadSize(frame);
    for (int i = 0; i < size; ++i) {
        frame.payload[i] = static_cast<unsigned char>(hexInt(takeWord(words, ' ')));
    }
}

// .txt: time, " -> ", and parts separated by ":": a word, identifier and length as "name=value" in
// base 10, and the bytes. frameTime in ms, where all others have the file's own unit, usually s.
int readTxt(TraceReading& reading)
{
    std::optional<QTime> base;
    return readTrimmedLines(reading, splitTxt, [&base](TraceFields& fields, CanFrames& frame) {
        const QTime time = timeOfDay(fields.time);
        base = base.value_or(time);
        frame.frameTime = base->msecsTo(time); // 0 if either is no time; negative past midnight
        frame.frameId = decimalInt(fields.id);
        takeHex(fields.data, frame);
    });
}

// .candump: the console's own capture format, which is also that of the candump tool's log files.
// The digit of the FD marker is read as a byte in front of the payload: the frame comes out one
// byte longer than it was, and signal sets count on that.
int readCandump(TraceReading& reading)
{
    return readTrimmedLines(reading, splitCandump, [&](TraceFields& fields, CanFrames& frame) {
        reading.scratch = fields.time;
        std::string& time = reading.scratch;
        const auto isBracket = [](char c) { return c == '(' || c == ')'; };
        time.erase(std::remove_if(time.begin(), time.end(), isBracket), time.end());
        reading.setTime(realNumber(time));
        frame.frameId = hexInt(fields.id);
        takeHex(fields.data, frame);
    });
}

// .trc: fields separated by tabs; empty lines are passed over. `length` is what the file says,
// whatever the number of bytes.
int readTrc(TraceReading& reading)
{
    reading.import.diagnose("trc file!");
    // Carriage returns separate the lines, so that the line feed of a file with both begins the
    // next line, where the numbers take it for white space.
    LineReader lines(reading.device, LineReader::Text, '\r');
    const auto nextLine = [&lines] { return lines.next(); };
    return readLines(reading, nextLine, splitTrc, [&](TraceFields& fields, CanFrames& frame) {
        reading.setTime(realNumber(replaced(fields.time, ',', '.', reading.scratch)));
        frame.frameId = hexInt(fields.id);
        takeHex(fields.data, frame);
        frame.length = decimalInt(fields.length);
    });
}

// .csv: fields separated by ",", behind a line of column names. A file without that line has no
// frames. Lines of fewer than 13 fields are refused with a line of diagnosis.
int readCsv(TraceReading& reading)
{
    reading.import.diagnose("csv file!");
    LineReader lines(reading.device, LineReader::Text);
    while (lines.nextTrimmed() != CsvMarker) {
        if (lines.atEnd()) {
            return 0;
        }
    }
    reading.import.diagnose("Found start marker");
    const auto nextLine = [&lines] { return lines.nextTrimmed(); };
    const auto split = [&](std::string_view line, TraceFields& fields) {
        const bool isFrame = splitCsv(line, fields);
        if (!isFrame) {
            reading.import.diagnose(std::string("Invalid line >").append(line).append("<"));
        }
        return isFrame;
    };
    return readLines(reading, nextLine, split, [&](TraceFields& fields, CanFrames& frame) {
        reading.setTime(realNumber(replaced(fields.time, '!', '0', reading.scratch)));
        frame.frameId = hexInt(fields.id);
        frame.length = 0;
        for (int i = 0; i < 8; ++i) {
            const std::string_view byte = takeField(fields.data, ',');
            if (!byte.empty()) {
                frame.payload[frame.length++] = static_cast<unsigned char>(hexInt(byte));
            }
        }
    });
}

// .asc: fields separated by blanks. Only FD lines and classic lines of channel 2 are decoded, and
// converted. Any other line, headers too, repeats the frame before it at its own time.
int readAsc(TraceReading& reading)
{
    return readTrimmedLines(reading, splitAsc, [&](TraceFields& fields, CanFrames& frame) {
        reading.setTime(realNumber(fields.time));
        const bool isFd = fields.bus == "CANFD";
        if (isFd || fields.bus == "2") {
            splitAscData(isFd, 0, fields);
            frame.busNumber = isFd ? 1 : 2;
            frame.frameId = hexInt(fields.id);
            frame.length = decimalInt(fields.length);
            takeWords(fields.data, frame);
            reading.import.convert(frame.frameTime, frame);
        }
    });
}

// .trace: fields separated by blanks, comments behind ";". Times in the file are ms, frameTime in
// s.
int readDotTrace(TraceReading& reading)
{
    return readTrimmedLines(reading, splitDotTrace, [&](TraceFields& fields, CanFrames& frame) {
        reading.setTime(realNumber(fields.time));
        frame.frameTime /= 1000.0;
        frame.busNumber = 1;
        frame.frameId = hexInt(fields.id);
        frame.length = decimalInt(fields.length);
        takeWords(fields.data, frame);
    });
}

} // namespace

int TraceFormat::read(QIODevice& device, TraceImport& import) const
{
    TraceReading reading{device, import, {}, {}, {}};
    return readAll(reading);
}

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
        {".trace", "candump", nullptr, readDotTrace},
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
