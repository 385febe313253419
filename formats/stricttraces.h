// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/tracefields.h"

#include <cstdint>
#include <functional>
#include <string>

class QIODevice;

namespace formats {

// One frame of a trace as it was on the bus, as far as the trace tells.
struct TraceFrame
{
    static constexpr unsigned BitRateSwitch = 1; // flags of FD frames, as candump has them
    static constexpr unsigned ErrorState = 2;
    static constexpr std::uint32_t ErrorMark = 0x20000000; // in identifiers of candump logs
    static constexpr int MostBytes = 64;
    static constexpr int LargestBus = 999'999'999;

    double time = 0.0; // in s, as the file counts; the controller's in what the console wrote
    int bus = -1;      // from 0; -1 where the trace names none
    std::uint32_t id = 0;
    bool isExtended = false;
    bool isFd = false;
    bool isRemote = false; // `length` is what was asked for
    bool isError = false;
    unsigned flags = 0;
    int length = 0;
    unsigned char bytes[MostBytes] = {}; // 0 behind the payload
};

// First line of a .csv of frames that xcu-convert writes. The bytes stand behind "x" and the
// identifier behind "0x": 12e5 would become a number in other programs.
constexpr char FrameCsvHeader[] = "time_s,bus,id,extended,fd,brs,remote,length,data";

// Takes a frame of a trace; called in file order.
using FrameFunction = std::function<void(const TraceFrame& frame)>;

// Takes what a reader found wrong and what became of it, for the user. `line` counts from 1; 0 is
// the file as a whole.
using WarningFunction = std::function<void(const std::string& what, std::int64_t line)>;

// Reads all frames of a trace, beyond empty lines as well, and returns how many. A line that makes
// no sense, if only by a character that is no digit, gives a warning and no frame. Bus numbers
// of .asc files are one less than their channels, as the Linux CAN tools have it.
std::int64_t readFrames(
    QIODevice& device, TraceKind kind, const FrameFunction& take, const WarningFunction& warn);

} // namespace formats
