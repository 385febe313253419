// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/frameconversion.h"
#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/tracereaders.h"

namespace formats {

namespace {

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

} // namespace

int readAsc(QIODevice& device, TraceImport& import)
{
    LineReader lines(device, LineReader::Text);
    FrameConversion conversion(import.candumpFile);
    CanFrames frame;
    TimeBase base;
    int count = 0;
    for (auto line = lines.nextTrimmed(); !line.empty(); line = lines.nextTrimmed()) {
        frame.frameTime = base.elapsed(realNumber(takeWord(line, ' ')));
        const std::string_view kind = takeWord(line, ' ');
        for (const AscLayout& layout : {canFd, classicChannel2}) {
            if (kind == layout.kind) {
                decode(line, layout, frame);
                conversion.write(frame.frameTime, frame);
            }
        }
        import.append(frame);
        ++count;
    }
    return count;
}

} // namespace formats
