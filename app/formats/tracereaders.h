// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/traceimport.h"

namespace formats {

// Readers of CAN traces in text form. Each appends the frames of a device, one a line, and returns
// how many; a device that is not open reads as empty. White space around a line does not count, and
// the first empty line ends the reading, except for readTrc. There is next to no checking: a field
// that a line does not have is empty, a bad number is 0, and the payload is cut at 64 bytes.
//
// One CanFrames value serves all lines and is not cleared in between. What a line does not set,
// payload behind its own bytes included, is what the line before left; all zero at first. That
// shows in the readers for .trc and .asc.

// Time, " -> ", and parts separated by ":": a word, identifier and length as "name=value" in base
// 10, and the bytes. frameTime in ms, where all others have the file's own unit, usually seconds.
int readTxt(QIODevice& device, TraceImport& import);

// The console's own capture format, which is also that of the candump tool's log files. The digit
// of the FD marker is read as a byte in front of the payload: the frame comes out one byte longer
// than it was, and signal sets count on that.
int readCandump(QIODevice& device, TraceImport& import);

// Fields separated by tabs, lines by carriage returns; empty lines are passed over. `length` is
// what the file says, whatever the number of bytes.
int readTrc(QIODevice& device, TraceImport& import);

// Fields separated by ",", behind a line of column names. A file without that line has no frames.
// Lines of fewer than 13 fields are refused with a trace.
int readCsv(QIODevice& device, TraceImport& import);

// Fields separated by blanks. Only FD lines and classic lines of channel 2 are decoded, and written
// to the conversion. Any other line, headers too, repeats the frame before it at its own time.
int readAsc(QIODevice& device, TraceImport& import);

// Fields separated by blanks, comments behind ";". Times in the file are ms, frameTime in seconds.
int readTrace(QIODevice& device, TraceImport& import);

} // namespace formats
