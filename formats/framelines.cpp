// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/framelines.h"

#include "formats/candumpline.h"
#include "formats/textfield.h"

#include <algorithm>
#include <array>

namespace formats {

namespace {

constexpr char upperDigits[] = "0123456789ABCDEF";

char* putId(char* out, std::uint32_t id, int width, const char* digits)
{
    while (width < 8 && id >> 4 * width != 0) {
        ++width;
    }
    while (width > 0) {
        *out++ = digits[id >> 4 * --width & 0x0f];
    }
    return out;
}

// Blanks up to so many characters from `begin`.
char* padTo(char* begin, char* end, std::ptrdiff_t width)
{
    return std::fill_n(end, width - (end - begin), ' '); // none if there are more
}

char* putAscId(char* out, const TraceFrame& frame, int width)
{
    char* const end = putId(out, frame.id, 1, upperDigits);
    return padTo(out, putText(end, frame.isExtended ? "x" : ""), width);
}

char* putAscData(char* out, const TraceFrame& frame)
{
    for (int i = 0; i < frame.length; ++i) {
        *out++ = ' ';
        out = putHexByte(out, frame.bytes[i], upperDigits);
    }
    return out;
}

char* putAscClassic(char* out, const TraceFrame& frame, int channel)
{
    out = putText(putDecimal(out, channel), "  ");
    out = putAscId(out, frame, 15);
    out = putText(out, frame.isRemote ? " Rx   r " : " Rx   d ");
    *out++ = LowerHexDigits[frame.length & 0x0f];
    return frame.isRemote ? out : putAscData(out, frame);
}

char* putAscFd(char* out, const TraceFrame& frame, int channel)
{
    const bool hasSwitch = (frame.flags & TraceFrame::BitRateSwitch) != 0;
    const bool hasError = (frame.flags & TraceFrame::ErrorState) != 0;
    out = putText(out, "CANFD ");
    out = padTo(out, putDecimal(out, channel), 3);
    out = putAscId(putText(out, " Rx   "), frame, 9);
    out = std::fill_n(out, 33, ' '); // no name
    out = putText(out, hasSwitch ? "1 " : "0 ");
    out = putText(out, hasError ? "1 " : "0 ");
    *out++ = LowerHexDigits[lengthCode(frame.length)];
    out = putText(out, frame.length < 10 ? "  " : " "); // asc2log wants two places
    out = putAscData(putDecimal(out, frame.length), frame);
    // Duration, length, flags, check sum and bit timing, which no trace tells.
    const unsigned flags = 0x1000 | (hasSwitch ? 0x2000U : 0U) | (hasError ? 0x4000U : 0U);
    out = putId(putText(out, " 0 0 "), flags, 1, upperDigits);
    return putText(out, " 0 0 0 0 0");
}

} // namespace

int lengthCode(int length)
{
    static constexpr std::array sizes{0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
    return static_cast<int>(std::lower_bound(sizes.begin(), sizes.end(), length) - sizes.begin());
}

char* putAscLine(char* out, const TraceFrame& frame)
{
    char time[24];
    const std::ptrdiff_t size = putMicroseconds(time, frame.time) - time;
    out = std::fill_n(out, 11 - size, ' ');
    out = std::copy_n(time, size, out);
    *out++ = ' ';
    const int channel = std::max(frame.bus, 0) + 1;
    if (frame.isError) {
        out = putText(putDecimal(out, channel), "  ErrorFrame");
    } else {
        out = frame.isFd ? putAscFd(out, frame, channel) : putAscClassic(out, frame, channel);
    }
    *out++ = '\n';
    return out;
}

char* putCsvLine(char* out, const TraceFrame& frame)
{
    const bool isLong = frame.isExtended || frame.isError;
    const std::uint32_t mark = frame.isError ? TraceFrame::ErrorMark : 0;
    out = putMicroseconds(out, frame.time);
    *out++ = ',';
    out = frame.bus < 0 ? out : putDecimal(out, frame.bus);
    out = putId(putText(out, ",0x"), frame.id | mark, isLong ? 8 : 3, LowerHexDigits);
    for (const bool is :
         {frame.isExtended, frame.isFd, (frame.flags & TraceFrame::BitRateSwitch) != 0,
          frame.isRemote}) {
        out = putText(out, is ? ",1" : ",0");
    }
    *out++ = ',';
    out = putText(putDecimal(out, frame.length), ",x");
    for (int i = 0; i < (frame.isRemote ? 0 : frame.length); ++i) {
        out = putHexByte(out, frame.bytes[i]);
    }
    return out;
}

} // namespace formats
