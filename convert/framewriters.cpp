// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/framewriters.h"

#include "formats/candumpline.h"
#include "formats/textfield.h"

#include <algorithm>
#include <array>

namespace convert {

namespace {

using formats::LowerHexDigits;
using formats::putDecimal;
using formats::putHexByte;
using formats::putMicroseconds;
using formats::putText;
using formats::TraceFrame;

// Room for the longest line, an FD frame of an .asc file.
constexpr std::size_t MaxLineLength = 512;

constexpr std::uint32_t ErrorMark = 0x20000000; // in identifiers, as in candump logs

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
        out = putHexByte(out, frame.payload()[i], upperDigits);
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
    static constexpr std::array sizes{0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
    const auto code = std::lower_bound(sizes.begin(), sizes.end(), frame.length);
    const bool hasSwitch = (frame.flags & TraceFrame::BitRateSwitch) != 0;
    const bool hasError = (frame.flags & TraceFrame::ErrorState) != 0;
    out = putText(out, "CANFD ");
    out = padTo(out, putDecimal(out, channel), 3);
    out = putAscId(putText(out, " Rx   "), frame, 9);
    out = std::fill_n(out, 33, ' '); // no name
    out = putText(out, hasSwitch ? "1 " : "0 ");
    out = putText(out, hasError ? "1 " : "0 ");
    *out++ = LowerHexDigits[code - sizes.begin()];
    out = putText(out, frame.length < 10 ? "  " : " "); // asc2log wants two places
    out = putAscData(putDecimal(out, frame.length), frame);
    // Duration, length, flags, check sum and bit timing, which no trace tells.
    const unsigned flags = 0x1000 | (hasSwitch ? 0x2000U : 0U) | (hasError ? 0x4000U : 0U);
    out = putId(putText(out, " 0 0 "), flags, 1, upperDigits);
    return putText(out, " 0 0 0 0 0");
}

void writeAsc(TextOutput& output, const TraceFrame& frame)
{
    char time[24];
    const std::ptrdiff_t size = putMicroseconds(time, frame.time) - time;
    char* out = output.room(MaxLineLength);
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
    output.advanceTo(out);
}

void writeCsv(TextOutput& output, const TraceFrame& frame)
{
    const bool isLong = frame.isExtended || frame.isError;
    char* out = putMicroseconds(output.room(MaxLineLength), frame.time);
    *out++ = ',';
    out = frame.bus < 0 ? out : putDecimal(out, frame.bus);
    *out++ = ',';
    out = putId(out, frame.id | (frame.isError ? ErrorMark : 0), isLong ? 8 : 3, LowerHexDigits);
    for (const bool is :
         {frame.isExtended, frame.isFd, (frame.flags & TraceFrame::BitRateSwitch) != 0,
          frame.isRemote}) {
        out = putText(out, is ? ",1" : ",0");
    }
    *out++ = ',';
    out = putDecimal(out, frame.length);
    *out++ = ',';
    for (int i = 0; i < (frame.isRemote ? 0 : frame.length); ++i) {
        out = putHexByte(out, frame.payload()[i]);
    }
    output.advanceTo(putText(out, "\r\n"));
}

void reportBus(Report& report, const TraceFrame& frame)
{
    if (frame.bus < 0) {
        report.odd("a frame without a bus number, written as of the first bus");
    }
}

} // namespace

formats::FrameFunction frameWriter(Kind kind, TextOutput& output, Report& report)
{
    if (kind == Kind::Csv) {
        output.put("time_s,bus,id,extended,fd,brs,remote,length,data\r\n");
        return [&](const TraceFrame& frame) {
            writeCsv(output, frame);
            if ((frame.flags & TraceFrame::ErrorState) != 0) {
                report.odd("error state of a CAN FD frame, which .csv cannot say");
            }
        };
    }
    if (kind == Kind::Candump) {
        return [&, line = std::string()](const TraceFrame& frame) mutable {
            reportBus(report, frame);
            formats::composeTraceLine(line, frame);
            output.put(line);
        };
    }
    output.put("date Thu Jan 1 00:00:00 1970\nbase hex  timestamps absolute\n"
               "no internal events logged\n");
    return [&](const TraceFrame& frame) {
        reportBus(report, frame);
        writeAsc(output, frame);
        if (frame.isError && frame.id != 0) {
            report.odd("class of an error frame, which .asc cannot say");
        }
    };
}

} // namespace convert
