// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/logsource.h"

#include "formats/blackboxreader.h"
#include "formats/channels.h"
#include "formats/linereader.h"
#include "formats/logfile.h"
#include "formats/textfield.h"

#include <algorithm>
#include <set>

namespace convert {

namespace {

using formats::LogFields;

// Tags have the time of the latest record, printed with a sign: -1 if there was none, unless the
// clock really stood there.
std::optional<std::uint32_t> tagTime(std::string_view text, std::optional<std::uint32_t> latest)
{
    const auto time = formats::plainNumber<std::int64_t>(text);
    if (!time || (*time == -1 && latest != 0xffffffff)) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(*time);
}

std::vector<std::string> labelsIn(std::string_view text)
{
    std::vector<std::string> labels;
    while (text.find(';') != std::string_view::npos && labels.size() < formats::ChannelTotal) {
        labels.emplace_back(formats::takeField(text, ';'));
    }
    return labels;
}

// As std::count, in bytes as long as these hold the number: ten times as fast.
std::size_t countOf(char wanted, std::string_view text)
{
    constexpr std::size_t most = 255;
    std::size_t count = 0;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, most);
        std::uint8_t here = 0;
        for (const char c : piece) {
            here = static_cast<std::uint8_t>(here + (c == wanted ? 1 : 0));
        }
        count += here;
        text.remove_prefix(piece.size());
    }
    return count;
}

class LogReader
{
public:
    LogReader(InputFile& logFile, LogTarget& logTarget, Report& fileReport)
        : lines(logFile, formats::LineReader::Bytes)
        , target(logTarget)
        , report(fileReport)
    {}

    void read()
    {
        for (auto line = lines.next(); !line.empty(); line = lines.next()) {
            readLine(line);
        }
    }

private:
    void readLine(std::string_view line)
    {
        const bool isWhole = line.back() == '\n';
        line = line.substr(0, line.find_last_not_of("\r\n") + 1);
        const LogFields fields = formats::splitLogLine(line);
        if (fields.kind == LogFields::Tag && fields.rest) {
            if (!isWhole) {
                odd("torn line");
            }
            target.addTag(tagTime(fields.time, latest), *fields.rest);
        } else if (!isWhole) {
            odd("torn line, left out");
        } else if (fields.kind == LogFields::Header && fields.rest) {
            if (lines.lineNumber() > 1) {
                odd("another header; the last one names the columns");
            }
            target.addHeader(labelsIn(*fields.rest));
        } else if (!line.empty()) {
            readRecord(line, fields);
        }
    }

    void readRecord(std::string_view line, const LogFields& fields)
    {
        const auto sample = formats::plainNumber<std::uint32_t>(fields.number);
        const auto time = formats::plainNumber<std::uint32_t>(fields.time);
        const std::string_view values = fields.rest.value_or(std::string_view());
        // Fields that a zero byte cuts lack what stands behind.
        const bool isCut =
            line.back() != ';' || (!values.empty() && &values.back() != &line.back());
        if (fields.kind != LogFields::Record || !sample || !time || isCut) {
            odd("not a record, left out");
            return;
        }
        const std::size_t width = countOf(';', values);
        constexpr std::uint32_t halfRound = 1U << 31;
        if (latest && *time < *latest) {
            odd(*time - *latest < halfRound
                    ? "the clock has wrapped round at 2^32 ms; times start anew"
                    : "the clock goes back; times are those of the file");
        }
        if (latest && width != latestWidth) {
            odd("another number of values than in the record before");
        }
        latest = time;
        latestWidth = width;
        target.addRecord({*sample, *time, values, width, lines.lineNumber()});
    }

    void odd(const char* what) { report.odd(what, lines.lineNumber()); }

    formats::LineReader lines;
    LogTarget& target;
    Report& report;
    std::optional<std::uint32_t> latest; // time of a record
    std::size_t latestWidth = 0;
};

using Values = std::vector<int>;

void readBlackbox(InputFile& file, const formats::RecordFunction& take, Report& report)
{
    const auto noFrames = [](const formats::TraceFrame&) {};
    const auto tell = [&](const char* what, std::int64_t line) { report.odd(what, line); };
    formats::readBlackbox(file, noFrames, take, tell);
}

void surveyBlackbox(InputFile& file, LogSurvey& survey, Report& report)
{
    std::size_t leastInputs = SIZE_MAX;
    std::size_t leastOutputs = SIZE_MAX;
    std::size_t outputs = 0;
    const auto take = [&](quint32 time, const Values& in, const Values& out) {
        leastInputs = std::min(leastInputs, in.size());
        leastOutputs = std::min(leastOutputs, out.size());
        survey.inputs = std::max(survey.inputs, in.size());
        outputs = std::max(outputs, out.size());
        survey.addRecord({static_cast<std::uint32_t>(survey.records), time, {}, 0, 0});
    };
    readBlackbox(file, take, report);
    survey.widest = survey.inputs + outputs;
    survey.narrowest = leastInputs < survey.inputs ? leastInputs : survey.inputs + leastOutputs;
    for (std::size_t i = 0; i < survey.widest; ++i) {
        survey.labels.push_back(
            i < survey.inputs ? "In" + std::to_string(i)
                              : "Out" + std::to_string(i - survey.inputs));
    }
}

void appendValues(std::string& text, const Values& values, std::size_t count)
{
    for (const int value : values) {
        text += std::to_string(value) + ';';
    }
    text.append(count - values.size(), ';');
}

void readBlackboxRecords(
    InputFile& file, const LogSurvey& survey, LogTarget& target, Report& report)
{
    std::string text;
    std::uint32_t number = 0;
    const auto take = [&](quint32 time, const Values& in, const Values& out) {
        text.clear();
        appendValues(text, in, survey.inputs);
        appendValues(text, out, survey.widest - survey.inputs);
        target.addRecord({number++, time, text, survey.widest, 0});
    };
    readBlackbox(file, take, report);
}

} // namespace

LogSurvey surveyOf(InputFile& file, Kind kind, Report& report)
{
    file.makeRepeatable();
    LogSurvey survey;
    if (kind == Kind::Blackbox) {
        surveyBlackbox(file, survey, report);
    } else {
        LogReader(file, survey, report).read();
    }
    file.check();
    if (kind == Kind::Log && survey.isEmpty()) {
        throw ConversionError(file.name() + ": has no record of a log");
    }
    file.seek(0);
    return survey;
}

void readRecordsOf(InputFile& file, Kind kind, const LogSurvey& survey, LogTarget& target)
{
    Report known(file.name()); // what the survey has reported
    if (kind == Kind::Blackbox) {
        readBlackboxRecords(file, survey, target, known);
    } else {
        LogReader(file, target, known).read();
    }
    file.check();
    target.finish();
}

void LogSurvey::addRecord(const LogRecord& record)
{
    widest = std::max(widest, record.width);
    narrowest = std::min(narrowest, record.width);
    if (records == 0) {
        firstNumber = record.number;
        firstTime = record.milliseconds;
    } else if (record.number > lastNumber + 1) {
        ++gaps;
        missing += record.number - lastNumber - 1;
    }
    ++records;
    lastNumber = record.number;
    lastTime = record.milliseconds;
}

void LogSurvey::addTag(std::optional<std::uint32_t> milliseconds, std::string_view text)
{
    constexpr std::size_t shown = 10;
    ++tags;
    if (firstTags.size() < shown) {
        char time[MaxSecondsLength];
        char* const end = putSeconds(time, milliseconds.value_or(0));
        firstTags.push_back(
            (milliseconds ? std::string(+time, end) + " s " : std::string()) + std::string(text));
    }
}

std::vector<std::string> LogSurvey::columns() const
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < widest; ++i) {
        const bool hasName = i < labels.size() && labels[i] != "x" && !labels[i].empty();
        names.push_back(hasName ? labels[i] : "channel " + std::to_string(i));
    }
    return uniqueNames(names, {"time_s", "tag"}, "channel");
}

char* putSeconds(char* out, std::uint32_t milliseconds)
{
    out = formats::putDecimal(out, milliseconds / 1000);
    *out++ = '.';
    for (const std::uint32_t unit : {100U, 10U, 1U}) {
        *out++ = static_cast<char>('0' + milliseconds / unit % 10);
    }
    return out;
}

std::vector<std::string> uniqueNames(
    const std::vector<std::string>& names, const std::vector<std::string>& taken,
    const std::string& what)
{
    std::set<std::string> known(taken.begin(), taken.end());
    std::vector<std::string> result;
    for (std::string name : names) {
        const std::string mark = " (" + what + ' ' + std::to_string(result.size()) + ')';
        while (!known.insert(name).second) {
            name += mark;
        }
        result.push_back(name);
    }
    return result;
}

} // namespace convert
