// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/tracereaders.h"

namespace formats {

namespace {

// A number with every comma taken for a point.
double commaNumber(std::string_view text, std::string& scratch)
{
    const std::optional<double> value = plainReal(text, ',');
    return value ? *value : realNumber(replaced(text, ',', '.', scratch));
}

} // namespace

int readTrc(QIODevice& device, TraceImport& import)
{
    import.trace("trc file!");
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
        frame.frameTime = base.elapsed(commaNumber(time, scratch));
        skipWords(line, '\t', 1);
        frame.frameId = hexInt(takeWord(line, '\t'));
        frame.length = decimalInt(takeWord(line, '\t'));
        decodeHex(takeWord(line, '\t'), frame.payload, sizeof frame.payload);
        import.append(frame);
        ++count;
    }
    return count;
}

} // namespace formats
