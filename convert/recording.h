// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/inputfile.h"
#include "convert/kinds.h"
#include "convert/report.h"
#include "formats/logrecords.h"

#include <limits>
#include <map>
#include <tuple>

namespace convert {

// What of a recording is wanted.
struct Selection
{
    std::vector<std::string>
        names; // patterns as in a shell, of channels and signals; none takes all
    double start = -std::numeric_limits<double>::infinity(); // s of the file's clock
    double end = std::numeric_limits<double>::infinity();
    std::int64_t every = 1; // record
    int bus = -1;           // -1 takes all

    bool takesName(const std::string& name) const;
    bool takesTime(double seconds) const { return seconds >= start && seconds <= end; }
};

// An input that can be read more than once.
class Recording
{
public:
    // Throws ConversionError for a file that cannot be read or, by its first bytes, be of that
    // kind.
    Recording(const std::string& path, Kind fileKind, const Selection& selectionOfAll);

    // Gives what is wanted of the file to a target, and warnings to a report. Returns how many
    // frames there are, wanted or not; throws ConversionError if a trace has none.
    std::int64_t read(formats::RecordingTarget& target, Report& report);

    InputFile file;
    const Kind kind;
    const Selection& selection;
    std::int64_t lastLine = INT64_MAX; // of records: a log may grow while it is read
    std::optional<double> begin; // s: of the first record or frame, wanted or not, once it was read
};

struct Channel
{
    int number = 0; // from 0
    std::string name;
    std::string unit;
};

struct FrameCount
{
    double first = 0; // s
    double last = 0;
    std::int64_t count = 0;
    int longest = 0;
    bool isFd = false;

    void add(const formats::TraceFrame& frame);
};

using FrameKey = std::tuple<int, bool, std::uint32_t>; // bus, extended, identifier

inline FrameKey keyOf(const formats::TraceFrame& frame)
{
    return {frame.bus, frame.isExtended, frame.id};
}

// What has to be known of a recording ahead of the first row of a table, and what --info tells.
struct Survey : formats::RecordingTarget
{
    std::vector<std::string> labels;  // of the last header; "x" is no name
    std::size_t widest = 0;           // values of a record
    std::size_t narrowest = SIZE_MAX; // values that no record lacks for its length
    std::vector<bool> gaps;           // by channel: some record has no value in its place
    std::int64_t records = 0;
    std::int64_t lost = 0; // records that running numbers leave out, in so many jumps
    std::int64_t jumps = 0;
    std::vector<std::string> firstJumps; // "<s> s to <s> s, <count> missing"
    formats::LogRecord first;            // values are not kept
    formats::LogRecord last;
    std::int64_t tags = 0;
    std::vector<std::string> firstTags; // "<s> s <text>"
    FrameCount frames;
    std::map<FrameKey, FrameCount> framesOf;

    // Of the channels that were logged: a name of its own for each, its label or "channel
    // <number>".
    std::vector<Channel> channels(const Selection& selection) const;
    bool mayLack(const Channel& channel) const;

    void addHeader(const std::vector<std::string>& names) override { labels = names; }
    void addRecord(const formats::LogRecord& record) override;
    void addTag(std::optional<std::uint32_t> milliseconds, std::string_view text) override;
    void addFrame(const formats::TraceFrame& frame) override;
};

// Reads a recording once, and leaves it at its beginning. Values may be ignored, which is faster;
// the next reading warns of what is wrong with them. Throws ConversionError if it holds
// nothing of its kind.
Survey surveyOf(Recording& recording, Report& report, bool ignoresValues = false);

// Makes names unique: one that occurred before, or is taken, gets " (<what> <index>)" at its end.
std::vector<std::string> uniqueNames(
    const std::vector<std::string>& names, const std::vector<std::string>& taken,
    const std::string& what);

} // namespace convert
