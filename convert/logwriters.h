// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/hdf5file.h"
#include "convert/logsource.h"
#include "convert/outputfile.h"

namespace convert {

// A log as CSV, RFC 4180: time_s, a column a channel, tag. The tag stands in the row of the record
// of its time, if that is the one before or behind it, else in a row of its own; several at one
// time stand in one cell, separated by "; ".
class CsvLog : public LogTarget
{
public:
    CsvLog(TextOutput& output, const LogSurvey& survey, Report& fileReport);

    void addRecord(const LogRecord& record) override;
    void addTag(std::optional<std::uint32_t> milliseconds, std::string_view text) override;
    void finish() override;

private:
    struct Tag
    {
        std::optional<std::uint32_t> time;
        std::string text;
    };

    void appendToTag(std::string_view text);
    char* putValues(char* place, std::string_view values, std::int64_t line);
    void putTagRow(const Tag& tag);
    void endRow();

    TextOutput& out;
    Report& report;
    const std::size_t columnCount;
    std::optional<std::uint32_t> openRow; // the time of the row that still lacks its tag
    std::string openTag;
    std::vector<Tag> waiting; // tags that may belong to the next record
};

// A log as HDF5: datasets time_s and, in the group "channels", one a channel, of whole numbers, or
// of floating point with NaN where records lack the channel; tags in a table "tags" of time_s and
// text.
class Hdf5Log : public LogTarget
{
public:
    Hdf5Log(Hdf5File& output, const LogSurvey& survey, Report& fileReport);

    void addRecord(const LogRecord& record) override;
    void addTag(std::optional<std::uint32_t> milliseconds, std::string_view text) override;

private:
    Report& report;
    const std::size_t wholeCount; // channels that no record lacks
    Hdf5Column& times;
    std::vector<Hdf5Column*> channels;
    Hdf5Handle tags;
};

// The unit at the end of a channel's label, before text in parentheses: in square brackets, or a
// common unit after a blank; else empty.
std::string unitOf(std::string_view label);

// The names as parts of paths in HDF5, where "/", which would be a group, becomes "|"; made unique
// as by uniqueNames().
std::vector<std::string> pathParts(std::vector<std::string> names, const std::string& what);

// A field as RFC 4180 has it: in quotes if it holds what separates fields.
std::string csvField(std::string_view text);

} // namespace convert
