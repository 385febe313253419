// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/tracereaders.h"

namespace formats {

int readTrace(QIODevice& device, TraceImport& import)
{
    LineReader lines(device, LineReader::Text);
    CanFrames frame;
    frame.busNumber = 1;
    TimeBase base;
    int count = 0;
    for (auto line = lines.nextTrimmed(); !line.empty(); line = lines.nextTrimmed()) {
        if (line.front() == ';') {
            continue;
        }
        takeWord(line, ' '); // the message number
        frame.frameTime = base.elapsed(realNumber(takeWord(line, ' '))) / 1000.0;
        takeWord(line, ' ');
        frame.frameId = hexInt(takeWord(line, ' '));
        frame.length = decimalInt(takeWord(line, ' '));
        takePayload(line, frame);
        import.append(frame);
        ++count;
    }
    return count;
}

} // namespace formats
