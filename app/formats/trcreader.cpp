// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/linesource.h"
#include "formats/textfield.h"
#include "formats/tracereaders.h"

int readTrc(QIODevice& device, TraceImport& import)
{
    import.trace("trc file!");
    // Carriage returns separate the lines, so that the line feed of a file with both begins the
    // next line, where the numbers take it for white space.
    LineSource lines(device, LineSource::Text, '\r');
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
        import.append(frame);
        ++count;
    }
    return count;
}
