// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/framereader.h"
#include "formats/textfield.h"

#include <algorithm>

namespace formats {

// Events of other kinds than frames, which begin with a time as well, are passed over.
FrameReader::Outcome FrameReader::parseAsc(TraceFields& fields)
{
    if (!setTime(fields.time)) {
        readAscHeader(fields);
        return NoFrame;
    }
    lastTime = hasRelativeTimes ? lastTime + frame.time : frame.time;
    frame.time = lastTime;
    std::string_view words = fields.data;
    if (frame.isFd) {
        fields.bus = takeWord(words, ' ');
        takeWord(words, ' '); // the direction
    }
    const auto channel = plainNumber<int>(fields.bus);
    std::string_view id = takeWord(words, ' ');
    if (!channel || *channel < 0 || *channel > TraceFrame::LargestBus) {
        return NoFrame;
    }
    frame.bus = *channel - 1;
    if (id == "ErrorFrame") {
        frame.isError = true;
        return Frame;
    }
    const bool isExtended = !id.empty() && (id.back() | 0x20) == 'x';
    id.remove_suffix(isExtended ? 1 : 0);
    std::string_view next = takeWord(words, ' ');
    int nameWords = 0;
    bool isRemote = false;
    bool isKnown = true;
    if (frame.isFd) {
        if (next != "0" && next != "1") { // the message's name
            nameWords = 1;
            next = takeWord(words, ' ');
        }
        frame.flags = next == "1" ? TraceFrame::BitRateSwitch : 0U;
        frame.flags |= takeWord(words, ' ') == "1" ? TraceFrame::ErrorState : 0U;
    } else if (next != "Rx" && next != "Tx") {
        return NoFrame; // such as statistics of the channel
    } else {
        const std::string_view frameKind = takeWord(words, ' ');
        isRemote = frameKind == "r";
        isKnown = isRemote || frameKind == "d";
    }
    if (!isKnown || !setId(id, base, id.size())) {
        return Nonsense;
    }
    frame.isExtended = isExtended;
    frame.isError = false;
    splitAscData(fields, nameWords);
    const int length = plainNumber<int>(fields.length, frame.isFd ? 10 : 16).value_or(-1);
    if (isRemote) {
        return frameIf(setRemote(fields.length.empty() ? 0 : length));
    }
    return frameIf(setWords(fields.data, frame.isFd ? length : std::min(length, 8), base));
}

void FrameReader::readAscHeader(TraceFields& fields)
{
    if (fields.time == "base") {
        base = fields.bus == "dec" ? 10 : 16;
        takeWord(fields.data, ' ');
        hasRelativeTimes = takeWord(fields.data, ' ') == "relative";
    }
}

} // namespace formats
