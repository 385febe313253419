// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/framewriters.h"

#include "formats/candumpline.h"
#include "formats/textfield.h"

#include <algorithm>
#include <array>

namespace convert {

namespace {

using formats::putDecimal;
using formats::putMicroseconds;
using formats::putText;
using formats::TraceFrame;

// Room for the longest line, an FD frame of an .asc file.
constexpr std::size_t MaxLineLength = 512;

constexpr char upperDigits[] = "0123456789ABCDEF";
constexpr char lowerDigits[] = "0123456789abcdef";

char* putByte(char* out, unsigned char byte, const char* digits)
{
    *out++ = digits[byte >> 4];
    *out++ = digits[byte & 0x0f];
    return out;
}

char* putId(char* out, std::uint32_t id, int width, const char* digits)
{
    int size = 1;
    while (size < 8 && id >> 4 * size != 0) {
        ++size;
    }
    out = std::fill_n(out, std::max(0, width - size), '0');
    for (int place = size - 1; place >= 0; --place) {
        *out++ = digits[id >> 4 * place & 0x0f];
    }
    return out;
}

// Blanks up to so many characters from `begin`.
char* padTo(char* begin, char* end, std::ptrdiff_t width)
{
    return std::fill_n(end, std::max<std::ptrdiff_t>(0, width - (end - begin)), ' ');
}

class CandumpWriter : public FrameTarget
{
public:
    explicit CandumpWriter(TextOutput& output)
        : out(output)
    {}

    void addFrame(const TraceFrame& frame) override
    {
        formats::composeTraceLine(line, frame);
        out.put(line);
    }

private:
    TextOutput& out;
    std::string line;
};

class AscWriter : public FrameTarget
{
public:
    explicit AscWriter(TextOutput& output)
        : out(output)
    {
        out.put("date Thu Jan 1 00:00:00 1970\nbase hex  timestamps absolute\n"
                "no internal events logged\n");
    }

    void addFrame(const TraceFrame& frame) override
    {
        char* const begin = out.room(MaxLineLength);
        char time[24];
        const std::ptrdiff_t size = putMicroseconds(time, frame.time) - time;
        char* end = std::fill_n(begin, std::max<std::ptrdiff_t>(0, 11 - size), ' ');
        end = std::copy_n(time, size, end);
        *end++ = ' ';
        const int channel = std::max(frame.bus, 0) + 1;
        if (frame.isError) {
            end = putDecimal(end, channel);
            end = putText(end, "  ErrorFrame");
        } else if (frame.isFd) {
            end = putFd(end, frame, channel);
        } else {
            end = putClassic(end, frame, channel);
        }
        *end++ = '\n';
        out.advanceTo(end);
    }

private:
    static char* putWordId(char* out, const TraceFrame& frame)
    {
        out = putId(out, frame.id, 1, upperDigits);
        return frame.isExtended ? putText(out, "x") : out;
    }

    static char* putData(char* out, const TraceFrame& frame)
    {
        for (int i = 0; i < frame.length; ++i) {
            *out++ = ' ';
            out = putByte(out, frame.payload()[i], upperDigits);
        }
        return out;
    }

    static char* putClassic(char* out, const TraceFrame& frame, int channel)
    {
        out = putDecimal(out, channel);
        out = putText(out, "  ");
        char* const id = out;
        out = padTo(id, putWordId(out, frame), 15);
        out = putText(out, frame.isRemote ? " Rx   r " : " Rx   d ");
        *out++ = lowerDigits[frame.length & 0x0f];
        return frame.isRemote ? out : putData(out, frame);
    }

    static char* putFd(char* out, const TraceFrame& frame, int channel)
    {
        static constexpr std::array<int, 16> sizes{0, 1,  2,  3,  4,  5,  6,  7,
                                                   8, 12, 16, 20, 24, 32, 48, 64};
        const auto code = std::lower_bound(sizes.begin(), sizes.end(), frame.length);
        const bool hasSwitch = (frame.flags & TraceFrame::BitRateSwitch) != 0;
        const bool hasError = (frame.flags & TraceFrame::ErrorState) != 0;
        out = putText(out, "CANFD ");
        char* const number = out;
        out = padTo(number, putDecimal(out, channel), 3);
        out = putText(out, " Rx   ");
        char* const id = out;
        out = padTo(id, putWordId(out, frame), 9);
        out = std::fill_n(out, 33, ' '); // no name
        out = putText(out, hasSwitch ? "1 " : "0 ");
        out = putText(out, hasError ? "1 " : "0 ");
        *out++ = lowerDigits[code - sizes.begin()];
        out = putText(out, frame.length < 10 ? "  " : " "); // asc2log wants two places
        out = putDecimal(out, frame.length);
        out = putData(out, frame);
        // Duration, length, flags, check sum and bit timing, which no trace tells.
        const unsigned flags = 0x1000 | (hasSwitch ? 0x2000U : 0U) | (hasError ? 0x4000U : 0U);
        out = putText(out, " 0 0 ");
        out = putId(out, flags, 1, upperDigits);
        return putText(out, " 0 0 0 0 0");
    }

    TextOutput& out;
};

class CsvWriter : public FrameTarget
{
public:
    explicit CsvWriter(TextOutput& output)
        : out(output)
    {
        out.put("time_s,bus,id,extended,fd,brs,remote,length,data\r\n");
    }

    void addFrame(const TraceFrame& frame) override
    {
        char* end = putMicroseconds(out.room(MaxLineLength), frame.time);
        *end++ = ',';
        end = frame.bus < 0 ? end : putDecimal(end, frame.bus);
        *end++ = ',';
        end = putId(end, frame.id, frame.isExtended ? 8 : 3, lowerDigits);
        for (const bool is :
             {frame.isExtended, frame.isFd, (frame.flags & TraceFrame::BitRateSwitch) != 0,
              frame.isRemote}) {
            end = putText(end, is ? ",1" : ",0");
        }
        *end++ = ',';
        end = putDecimal(end, frame.length);
        *end++ = ',';
        for (int i = 0; i < (frame.isRemote ? 0 : frame.length); ++i) {
            end = putByte(end, frame.payload()[i], lowerDigits);
        }
        out.advanceTo(putText(end, "\r\n"));
    }

private:
    TextOutput& out;
};

} // namespace

std::unique_ptr<FrameTarget> frameWriter(Kind kind, TextOutput& output)
{
    if (kind == Kind::Candump) {
        return std::make_unique<CandumpWriter>(output);
    }
    if (kind == Kind::Asc) {
        return std::make_unique<AscWriter>(output);
    }
    return std::make_unique<CsvWriter>(output);
}

} // namespace convert
