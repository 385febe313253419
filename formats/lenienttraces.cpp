// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/lenienttraces.h"

#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/traceimport.h"

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
    TraceImport& import;
    CanFrames frame;
    std::optional<double> firstTime;
    std::optional<QTime> firstTimeOfDay;
    std::string scratch;

    // Times of most kinds count from the first one, in the file's own unit.
    void setTime(double time)
    {
        firstTime = firstTime.value_or(time);
        frame.frameTime = time - *firstTime;
    }

    void setHex(std::string_view digits)
    {
        frame.length = decodeHex(digits, frame.payload, sizeof frame.payload);
    }

    // Takes `length` bytes in base 16 off words separated by blanks, as far as the payload goes.
    // Bytes that the line does not have are 0.
    void setWords(std::string_view length, std::string_view words)
    {
        frame.length = decimalInt(length);
        const int size = payloadSize(frame);
        for (int i = 0; i < size; ++i) {
            frame.payload[i] = static_cast<unsigned char>(hexInt(takeWord(words, ' ')));
        }
    }
};

namespace {

// frameTime in ms, where all others have the file's own unit, usually s. Identifiers in base 10.
void takeTxt(TraceReading& reading, TraceFields& fields)
{
    const QTime time = timeOfDay(fields.time);
    const QTime base = *(reading.firstTimeOfDay = reading.firstTimeOfDay.value_or(time));
    reading.frame.frameTime = base.msecsTo(time); // 0 if either is no time; negative past midnight
    reading.frame.frameId = decimalInt(fields.id);
    reading.setHex(fields.data);
}

// The console's own capture format, which is also that of the candump tool's log files. The digit
// of the FD marker is read as a byte in front of the payload: the frame comes out one byte longer
// than it was, and signal sets count on that.
void takeCandump(TraceReading& reading, TraceFields& fields)
{
    std::string& time = reading.scratch;
    time = fields.time;
    const auto isBracket = [](char c) { return c == '(' || c == ')'; };
    time.erase(std::remove_if(time.begin(), time.end(), isBracket), time.end());
    reading.setTime(realNumber(time));
    reading.frame.frameId = hexInt(fields.id);
    reading.setHex(fields.data);
}

// `length` is what the file says, whatever the number of bytes.
void takeTrc(TraceReading& reading, TraceFields& fields)
{
    reading.setTime(realNumber(replaced(fields.time, ',', '.', reading.scratch)));
    reading.frame.frameId = hexInt(fields.id);
    reading.setHex(fields.data);
    reading.frame.length = decimalInt(fields.length);
}

void takeCsv(TraceReading& reading, TraceFields& fields)
{
    CanFrames& frame = reading.frame;
    reading.setTime(realNumber(replaced(fields.time, '!', '0', reading.scratch)));
    frame.frameId = hexInt(fields.id);
    frame.length = 0;
    for (int i = 0; i < 8; ++i) {
        const std::string_view byte = takeField(fields.data, ',');
        if (!byte.empty()) {
            frame.payload[frame.length++] = static_cast<unsigned char>(hexInt(byte));
        }
    }
}

// Only FD lines and classic lines of channel 2 are decoded, and converted. Any other line, headers
// too, repeats the frame before it at its own time.
void takeAsc(TraceReading& reading, TraceFields& fields)
{
    reading.setTime(realNumber(fields.time));
    if (fields.isFd || fields.bus == "2") {
        splitAscData(fields, 0);
        reading.frame.busNumber = fields.isFd ? 1 : 2;
        reading.frame.frameId = hexInt(fields.id);
        reading.setWords(fields.length, fields.data);
        reading.import.convert(reading.frame.frameTime, reading.frame);
    }
}

// Times in the file are ms, frameTime in s.
void takeDotTrace(TraceReading& reading, TraceFields& fields)
{
    reading.setTime(realNumber(fields.time));
    reading.frame.frameTime /= 1000.0;
    reading.frame.busNumber = 1;
    reading.frame.frameId = hexInt(fields.id);
    reading.setWords(fields.length, fields.data);
}

} // namespace

int TraceFormat::read(QIODevice& device, TraceImport& import) const
{
    // Carriage returns separate the lines of a .trc file, so that the line feed of a file with both
    // begins the next line, where the numbers take it for white space.
    const bool isTrc = kind == TraceKind::Trc;
    const bool isCsv = kind == TraceKind::Csv;
    LineReader lines(device, LineReader::Text, isTrc ? '\r' : '\n');
    if (isTrc || isCsv) {
        import.diagnose(isTrc ? "trc file!" : "csv file!");
    }
    if (isCsv) {
        if (!skipToCsvFrames(lines)) {
            return 0;
        }
        import.diagnose("Found start marker");
    }
    const auto nextLine = [&] { return isTrc ? lines.next() : lines.nextTrimmed(); };
    const auto split = lineSplitter(kind);
    TraceReading reading{import, {}, {}, {}, {}};
    int count = 0;
    for (std::string_view line = nextLine(); !line.empty(); line = nextLine()) {
        TraceFields fields;
        if (split(line, fields)) {
            take(reading, fields);
            import.addFrame(reading.frame);
            ++count;
        } else if (isCsv) {
            import.diagnose(std::string("Invalid line >").append(line).append("<"));
        }
    }
    return count;
}

const std::vector<TraceFormat>& traceFormats()
{
    // Three kinds share the words of .candump, on purpose.
    static const std::vector<TraceFormat> all = {
        {".txt", "txt", nullptr, TraceKind::Txt, takeTxt},
        {".candump", "candump", nullptr, TraceKind::Candump, takeCandump},
        {".trc", "trc", nullptr, TraceKind::Trc, takeTrc},
        {".csv", "csv", nullptr, TraceKind::Csv, takeCsv},
        {".asc", "candump", "asc-%1.candump", TraceKind::Asc, takeAsc},
        {".trace", "candump", nullptr, TraceKind::DotTrace, takeDotTrace},
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
