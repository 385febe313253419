// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/tracefields.h"

#include <QString>
#include <vector>

class QIODevice;

namespace formats {

struct TraceReading;
class TraceImport;

// One kind of CAN trace in text form, known by the end of the file's name.
struct TraceFormat
{
    const char* nameEnd;       // with its dot, case-sensitive
    const char* statusName;    // in the status text; not always the kind's own
    const char* convertedName; // pattern for the conversion's file name, or null for none
    TraceKind kind;
    void (*take)(TraceReading& reading, TraceFields& fields); // puts a line into the frame

    // Reads the frames of a device, one a line up to the first empty one, and returns how many; a
    // device that is not open reads as empty. There is next to no checking: a field that a line
    // does not have is empty, a bad number is 0, and the payload is cut at 64 bytes. Of a .csv file
    // lines of too few fields are refused with a line of diagnosis; a .trc file has no empty line.
    int read(QIODevice& device, TraceImport& import) const;
};

// In the order in which they are tried on a name.
const std::vector<TraceFormat>& traceFormats();

// Null if the name has none of their ends.
const TraceFormat* traceFormat(const QString& fileName);

} // namespace formats
