// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/logwriters.h"

#include "formats/textfield.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace convert {

std::string unitOf(std::string_view label)
{
    static constexpr std::array<std::string_view, 24> units{
        "%", "°C", "°",  "bar",  "mbar", "kPa", "rpm", "1/min", "Hz", "kHz", "V",  "mV",
        "A", "mA", "Nm", "km/h", "mph",  "m/s", "s",   "ms",    "us", "deg", "mm", "W"};
    label = label.substr(0, label.rfind(" ("));
    if (!label.empty() && label.back() == ']') {
        const std::size_t open = label.rfind('[');
        return open == std::string_view::npos
                   ? std::string()
                   : std::string(label.substr(open + 1, label.size() - open - 2));
    }
    const std::size_t blank = label.rfind(' ');
    const std::string_view last = blank == std::string_view::npos ? "" : label.substr(blank + 1);
    return std::find(units.begin(), units.end(), last) == units.end() ? "" : std::string(last);
}

std::vector<std::string> pathParts(std::vector<std::string> names, const std::string& what)
{
    for (std::string& name : names) {
        std::replace(name.begin(), name.end(), '/', '|');
    }
    return uniqueNames(names, {"."}, what);
}

std::string csvField(std::string_view text)
{
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        return std::string(text);
    }
    std::string field = "\"";
    for (const char c : text) {
        field.append(c == '"' ? 2 : 1, c);
    }
    return field + '"';
}

CsvLog::CsvLog(TextOutput& output, const LogSurvey& survey, Report& fileReport)
    : out(output)
    , report(fileReport)
    , columnCount(survey.widest)
{
    out.put("time_s,");
    for (const std::string& name : survey.columns()) {
        out.put(csvField(name) + ',');
    }
    out.put("tag\r\n");
}

// The digits are taken over as they stand, which is ten times as fast as numbers would be. The
// loops have no branches, so that the compiler makes them work on 16 bytes at a time.
char* CsvLog::putValues(char* place, std::string_view values, std::int64_t line)
{
    const std::size_t size = values.size();
    const char* const in = values.data();
    for (std::size_t i = 0; i < size; ++i) {
        place[i] = in[i] == ';' ? ',' : in[i];
    }
    // A sign only ahead of a number and behind the one before.
    char bad = size > 0 && in[0] != ';' && in[0] != '-' && (in[0] < '0' || in[0] > '9') ? 1 : 0;
    for (std::size_t i = 1; i < size; ++i) {
        const char c = in[i];
        const char before = in[i - 1];
        const char isOther = (c < '0') | (c > '9') ? 1 : 0;
        const char isEnd = c == ';' ? 1 : 0;
        const char isSign = c == '-' ? 1 : 0;
        const char isBehindEnd = before == ';' ? 1 : 0;
        const char isBehindSign = before == '-' ? 1 : 0;
        bad |= (isOther & ~(isEnd | isSign)) | (isSign & ~isBehindEnd) | (isEnd & isBehindSign);
    }
    if (bad == 0) {
        return place + size;
    }
    while (!values.empty()) {
        const std::string_view field = formats::takeField(values, ';');
        const bool isNumber = formats::plainNumber<int>(field).has_value();
        if (isNumber) {
            place = std::copy(field.begin(), field.end(), place);
        } else if (!field.empty()) {
            report.odd("a value that is no number, left empty", line);
        }
        *place++ = ',';
    }
    return place;
}

void CsvLog::addRecord(const LogRecord& record)
{
    endRow();
    for (const Tag& tag : waiting) {
        if (tag.time == record.milliseconds) {
            appendToTag(tag.text);
        } else {
            putTagRow(tag);
        }
    }
    waiting.clear();
    char* place = out.room(MaxSecondsLength + 2 * record.values.size() + columnCount + 1);
    place = putSeconds(place, record.milliseconds);
    *place++ = ',';
    place = putValues(place, record.values, record.line);
    place = std::fill_n(place, columnCount - std::min(record.width, columnCount), ',');
    out.advanceTo(place);
    openRow = record.milliseconds;
}

void CsvLog::appendToTag(std::string_view text)
{
    openTag.append(openTag.empty() ? "" : "; ").append(text);
}

void CsvLog::putTagRow(const Tag& tag)
{
    char* place = out.room(MaxSecondsLength + columnCount + 1);
    place = tag.time ? putSeconds(place, *tag.time) : place;
    out.advanceTo(std::fill_n(place, columnCount + 1, ','));
    out.put(csvField(tag.text) + "\r\n");
}

void CsvLog::endRow()
{
    if (openRow) {
        out.put(csvField(openTag) + "\r\n");
        openRow.reset();
        openTag.clear();
    }
}

void CsvLog::addTag(std::optional<std::uint32_t> milliseconds, std::string_view text)
{
    if (openRow && openRow == milliseconds) {
        appendToTag(text);
    } else {
        waiting.push_back({milliseconds, std::string(text)});
    }
}

void CsvLog::finish()
{
    endRow();
    for (const Tag& tag : waiting) {
        putTagRow(tag);
    }
}

Hdf5Log::Hdf5Log(Hdf5File& output, const LogSurvey& survey, Report& fileReport)
    : report(fileReport)
    , wholeCount(survey.narrowest)
    , times(output.addColumn("/time_s", Hdf5Column::Real, "time_s", "s"))
    , tags(output.addTags())
{
    const std::vector<std::string> names = survey.columns();
    const std::vector<std::string> parts = pathParts(names, "channel");
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto type = i < wholeCount ? Hdf5Column::Whole : Hdf5Column::Real;
        channels.push_back(
            &output.addColumn("/channels/" + parts[i], type, names[i], unitOf(names[i])));
    }
}

void Hdf5Log::addRecord(const LogRecord& record)
{
    times.append(record.milliseconds / 1000.0);
    std::string_view values = record.values;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const std::string_view field = formats::takeField(values, ';');
        const auto value = formats::plainNumber<int>(field);
        if (!value && i < wholeCount) {
            report.odd("a value that is no number, taken as 0", record.line);
        } else if (!value && !field.empty()) {
            report.odd("a value that is no number, left empty", record.line);
        }
        channels[i]->append(value ? *value : std::nan(""));
    }
}

void Hdf5Log::addTag(std::optional<std::uint32_t> milliseconds, std::string_view text)
{
    Hdf5File::appendTag(tags, milliseconds ? *milliseconds / 1000.0 : std::nan(""), text);
}

} // namespace convert
