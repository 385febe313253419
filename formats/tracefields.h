// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTime>
#include <string_view>

namespace formats {

class LineReader;

enum class TraceKind { Txt, Candump, Trc, Csv, Asc, DotTrace };

// The fields of one line of a CAN trace as they stand in the text; empty where the line has none.
// What they mean is the reader's: the console reads them as its charts always did
// (lenienttraces.h), the converter as the tool meant them that wrote them (stricttraces.h).
struct TraceFields
{
    std::string_view time;
    std::string_view bus; // of .asc the word that tells the kind: a channel, "CANFD", or anything
    std::string_view id;
    std::string_view length;
    std::string_view data; // of .asc all that follows the bus, see splitAscData()
    bool isFd = false; // says so; `data` of a .candump line then begins with the digit of the flags
};

// Takes a line without white space at its ends. False for one that describes no frame, such as a
// comment: the readers pass over it, and report none but those of a .csv file.
using LineSplitter = bool (*)(std::string_view line, TraceFields& fields);
LineSplitter lineSplitter(TraceKind kind);

// Takes identifier and length off the data of a frame, and leaves the bytes. Messages of FD frames
// may have a name of so many words.
void splitAscData(TraceFields& fields, int nameWords);

// The time of a .txt line, "HH:mm:ss.zzz"; invalid for anything else.
QTime timeOfDay(std::string_view text);

// Passes over what stands ahead of the frames of a .csv file, up to its heading. False if it comes
// to the end of the file.
bool skipToCsvFrames(LineReader& lines);

} // namespace formats
