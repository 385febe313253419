// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/stricttraces.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace formats {

struct LogRecord
{
    std::uint32_t number = 0;
    std::uint32_t milliseconds = 0; // the controller's time
    std::string_view values;        // 32-bit numbers, each closed by ";"; empty is missing
    std::size_t width = 0;          // how many
    bool hasGaps = false;           // one of them is missing
    std::int64_t line = 0;
};

// Takes what a recording holds, in file order.
class RecordingTarget
{
public:
    virtual ~RecordingTarget() = default;

    // Of use to one that only wants to know how many values there are: they are not checked, and
    // nothing is missing.
    bool ignoresValues = false;

    virtual void addHeader(const std::vector<std::string>& /*labels*/) {}
    virtual void addRecord(const LogRecord& /*record*/) {}

    // Without a time: set before the first record.
    virtual void addTag(std::optional<std::uint32_t> /*milliseconds*/, std::string_view /*text*/) {}

    virtual void addFrame(const TraceFrame& /*frame*/) {}

    virtual void finish() {} // behind the last one
};

// Reads a session's log strictly: a line that is no record is an oddity and left out, a value that
// is no number of 32 bits is one and missing. Labels and tags are UTF-8, whatever the file has.
void readRecords(QIODevice& device, RecordingTarget& target, const WarningFunction& warn);

// The same of a black-box record, whose channels are In0 and on, behind them Out0 and on, and of
// its frames. The device is read twice. Returns the number of frames.
std::int64_t readBlackboxRecords(
    QIODevice& device, RecordingTarget& target, const WarningFunction& warn);

// Warns where the clock, from one record to the next, goes back or wraps round.
void warnOfClock(
    std::optional<std::uint32_t> before, std::uint32_t time, const WarningFunction& warn,
    std::int64_t line);

// The text in square brackets at the end of a label, ahead of what the console adds in parentheses.
std::string unitOf(std::string_view label);

// Seconds with three decimals, as ms are written out.
char* putSeconds(char* out, std::uint32_t milliseconds);
constexpr std::size_t MaxSecondsLength = 16;

} // namespace formats
