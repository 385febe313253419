// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/tracereaders.h"

namespace formats {

namespace {

// A number without the brackets in its text; usually there is one at either end.
double bracketedNumber(std::string_view text)
{
    if (text.size() > 2 && text.front() == '(' && text.back() == ')') {
        if (const auto number = plainReal(text.substr(1, text.size() - 2))) {
            return *number;
        }
    }
    return textOf(text).remove(QLatin1Char('(')).remove(QLatin1Char(')')).toDouble();
}

// Identifier and bytes, which stand before and behind "##" if there is one, else "#".
void readData(std::string_view data, CanFrames& frame)
{
    constexpr std::string_view fdMarker = "##";
    std::string_view rest = data;
    std::string_view id = takeField(rest, '#');
    if (const std::optional<int> size = decodePlainHex(rest, frame.payload)) {
        frame.frameId = hexInt(id);
        frame.length = *size;
        return;
    }
    std::string_view bytes = takeField(rest, '#');
    if (const std::size_t marker = data.find(fdMarker); marker != std::string_view::npos) {
        id = data.substr(0, marker);
        bytes = data.substr(marker + fdMarker.size());
        bytes = bytes.substr(0, bytes.find(fdMarker));
    }
    frame.frameId = hexInt(id);
    frame.length = decodeHex(bytes, frame.payload, sizeof frame.payload);
}

} // namespace

int readCandump(QIODevice& device, TraceImport& import)
{
    LineReader lines(device, LineReader::Text);
    CanFrames frame;
    TimeBase base;
    int count = 0;
    for (auto line = lines.nextTrimmed(); !line.empty(); line = lines.nextTrimmed()) {
        frame.frameTime = base.elapsed(bracketedNumber(takeWord(line, ' ')));
        takeWord(line, ' '); // the bus
        readData(takeWord(line, ' '), frame);
        import.append(frame);
        ++count;
    }
    return count;
}

} // namespace formats
