// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/tracereaders.h"

#include <algorithm>

namespace formats {

namespace {

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

} // namespace

int readCsv(QIODevice& device, TraceImport& import)
{
    import.trace("csv file!");
    LineReader lines(device, LineReader::Text);
    if (!skipToMarker(lines)) {
        return 0;
    }
    import.trace("Found start marker");
    CanFrames frame;
    TimeBase base;
    std::string scratch;
    int count = 0;
    for (auto line = lines.nextTrimmed(); !line.empty(); line = lines.nextTrimmed()) {
        if (std::count(line.begin(), line.end(), ',') + 1 < leastFieldCount) {
            import.trace(std::string("Invalid line >").append(line).append("<"));
            continue;
        }
        takeField(line, ','); // the type
        frame.frameTime =
            base.elapsed(realNumber(replaced(takeField(line, ','), '!', '0', scratch)));
        frame.frameId = hexInt(takeField(line, ','));
        frame.length = 0;
        for (int i = 0; i < byteCount; ++i) {
            const std::string_view byte = takeField(line, ',');
            if (!byte.empty()) {
                frame.payload[frame.length++] = static_cast<unsigned char>(hexInt(byte));
            }
        }
        import.append(frame);
        ++count;
    }
    return count;
}

} // namespace formats
