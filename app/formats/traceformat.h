// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/traceimport.h"

#include <QString>

namespace formats {

// One kind of CAN trace in text form, known by the end of the file's name.
struct TraceFormat
{
    const char* nameEnd;       // with its dot, case-sensitive
    const char* statusName;    // in the status text; not always the kind's own
    const char* convertedName; // pattern for the conversion's file name, or null for none
    int (*read)(QIODevice& device, TraceImport& import);
};

// Null if the name has none of the six ends.
const TraceFormat* traceFormat(const QString& fileName);

// Reads a file, which reads as empty if it cannot be opened. Returns the status text.
QString readTraceFile(const TraceFormat& format, const QString& fileName, TraceImport& import);

} // namespace formats
