// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/stricttraces.h"

namespace formats {

// The code of a payload's length, up to 64 bytes, on the bus.
int lengthCode(int length);

// Lines of files of frames. Each writes at `out`, where MaxFrameLine bytes are free, and returns
// the place behind its line.
constexpr std::size_t MaxFrameLine = 512; // an FD frame of an .asc file

// The form of the capture file, with the time in microseconds, error state, remote and error frames
// as the Linux CAN tools have them. Without a bus it is can0.
char* putCandumpLine(char* out, const TraceFrame& frame);

// As log2asc writes it, channels counted from 1; without a bus it is the first.
char* putAscLine(char* out, const TraceFrame& frame);

// By FrameCsvHeader, without the end of the line; the identifier of an error frame has bit 29 set.
char* putCsvLine(char* out, const TraceFrame& frame);

} // namespace formats
