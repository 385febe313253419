// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/inputfile.h"
#include "convert/kinds.h"
#include "convert/report.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace convert {

struct LogRecord
{
    std::uint32_t number = 0;
    std::uint32_t milliseconds = 0; // the controller's time
    std::string_view values;        // as in the file, each closed by ";"; empty is missing
    std::size_t width = 0;          // how many
    std::int64_t line = 0;
};

// Takes the lines of a log, in file order.
class LogTarget
{
public:
    virtual ~LogTarget() = default;

    virtual void addHeader(const std::vector<std::string>& /*labels*/) {}

    virtual void addRecord(const LogRecord& record) = 0;

    // Without a time: set before the first record.
    virtual void addTag(std::optional<std::uint32_t> milliseconds, std::string_view text) = 0;

    // Behind the last line.
    virtual void finish() {}
};

// What has to be known of a log ahead of the first row of a table, and what --info tells.
struct LogSurvey : LogTarget
{
    std::vector<std::string> labels;  // of the last header; "x" is no name
    std::size_t widest = 0;           // values of a record
    std::size_t narrowest = SIZE_MAX; // values that no record lacks
    std::size_t inputs = 0;           // how many of `widest`, in a black-box record
    std::int64_t records = 0;
    std::int64_t missing = 0; // records that running numbers leave out, in so many gaps
    std::int64_t gaps = 0;
    std::uint32_t firstNumber = 0;
    std::uint32_t lastNumber = 0;
    std::uint32_t firstTime = 0;
    std::uint32_t lastTime = 0;
    std::int64_t tags = 0;
    std::vector<std::string> firstTags; // "<s> s <text>"

    // No log at all: a file that has only a header is one.
    bool isEmpty() const { return labels.empty() && records == 0 && tags == 0; }

    // One for each channel that was logged: its label, or "channel <number from 0>"; what comes
    // again has " (channel <number>)" behind it.
    std::vector<std::string> columns() const;

    void addHeader(const std::vector<std::string>& names) override { labels = names; }
    void addRecord(const LogRecord& record) override;
    void addTag(std::optional<std::uint32_t> milliseconds, std::string_view text) override;
};

// Looks through the records of a session's log or of a black-box record, whose channels are In0 and
// on, behind them Out0 and on. What is odd is reported: lines that are no records, torn ones, jumps
// of the clock. Leaves the file at its beginning. Throws ConversionError for a text that is no log.
LogSurvey surveyOf(InputFile& file, Kind kind, Report& report);

// Reads the records, without a report. Those of a black-box record that lack channels have empty
// values.
void readRecordsOf(InputFile& file, Kind kind, const LogSurvey& survey, LogTarget& target);

// Seconds with three decimals, as ms are written out.
char* putSeconds(char* out, std::uint32_t milliseconds);
constexpr std::size_t MaxSecondsLength = 16;

// Makes names unique: one that occurred before, or is taken, gets " (<what> <index>)" at its end.
std::vector<std::string> uniqueNames(
    const std::vector<std::string>& names, const std::vector<std::string>& taken,
    const std::string& what);

} // namespace convert
