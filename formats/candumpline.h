// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace formats {

// Text forms of one CAN frame. The identifier is printed in lower-case hexadecimal everywhere, but
// its width and fill differ from form to form; they are not to be merged. A negative identifier
// prints as the 16 digits of its 64-bit two's complement.

// A line of the capture file, written over what `line` holds; the capacity of `line` is reused.
// Identifier filled with "0" to 3 digits, or 8 if extended, and never cut; FD frames carry "#1" or
// "#0" for the bit rate switch before the payload, which classic frames ignore. The time is shown
// in seconds with 6 decimals. The payload may have any length.
void composeCandumpLine(
    std::string& line, int busNumber, int timestampMs, int canId, bool isExtended, bool isFd,
    bool isBitrateSwitch, std::string_view payload);

// Seconds with 6 decimals, rounded; needs room for 24 characters. Up to 10^12 s.
char* putMicroseconds(char* out, double seconds);

// A line of the files that trace imports write, likewise into a reused buffer. Identifier filled
// with blanks to 3 places whatever its kind, no FD marker; seconds with 6 decimals.
void composeImportedFrameLine(
    std::string& line, double seconds, int busNumber, int canId, std::string_view payload);

// Status text for a captured frame. Identifier filled with blanks to 3 places.
QString candumpStatusText(int canId, int busNumber);

} // namespace formats
