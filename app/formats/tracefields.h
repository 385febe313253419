// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTime>
#include <string_view>

namespace formats {

// The fields of one line of a CAN trace as they stand in the text; empty where the line has none.
// What they mean is the reader's: the console reads them as its charts always did
// (tracereaders.h), the converter as the tool meant them that wrote them (traceframes.h).
struct TraceFields
{
    std::string_view time;
    std::string_view bus;
    std::string_view id;
    std::string_view length;
    std::string_view data;
    bool isFd = false; // says so; `data` of a .candump line then begins with the digit of the flags
};

// Each takes a line without white space at its ends and returns false for one that describes no
// frame.
bool splitTxt(std::string_view line, TraceFields& fields);
bool splitCandump(std::string_view line, TraceFields& fields);
bool splitTrc(std::string_view line, TraceFields& fields);
bool splitCsv(std::string_view line, TraceFields& fields);
bool splitDotTrace(std::string_view line, TraceFields& fields);

// `bus` is the word that tells the kind: a channel, "CANFD", or anything. `data` is what follows.
bool splitAsc(std::string_view line, TraceFields& fields);

// Takes identifier and length off the data of a frame, and leaves the bytes. Messages of FD frames
// may have a name of so many words.
void splitAscData(bool isFd, int nameWords, TraceFields& fields);

// The time of a .txt line, "HH:mm:ss.zzz"; invalid for anything else.
QTime timeOfDay(std::string_view text);

// Ahead of the frames of a .csv file.
constexpr std::string_view CsvMarker = "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD";

} // namespace formats
