// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/logsource.h"

#include "formats/channels.h"
#include "formats/linereader.h"
#include "formats/logline.h"
#include "formats/textfield.h"

#include <algorithm>
#include <charconv>
#include <set>

namespace convert {

namespace {

using formats::LogFields;

std::optional<std::uint32_t> unsignedNumber(std::string_view text)
{
    std::uint32_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

// Tags have the time of the latest record, printed with a sign: -1 if there was none, unless the
// clock really stood there.
std::optional<std::uint32_t> tagTime(std::string_view text, std::optional<std::uint32_t> latest)
{
    if (text == "-1" && latest != 0xffffffff) {
        return std::nullopt;
    }
    if (text.substr(0, 1) == "-") {
        const auto value = unsignedNumber(text.substr(1));
        return value ? std::optional(-*value) : std::nullopt;
    }
    return unsignedNumber(text);
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

// Tells what is odd about records that follow one another.
class Watch
{
public:
    explicit Watch(Report* fileReport)
        : report(fileReport)
    {}

    void say(const char* what, std::int64_t line)
    {
        if (report != nullptr) {
            report->odd(what, line);
        }
    }

    void look(std::uint32_t milliseconds, std::size_t width, std::int64_t line)
    {
        constexpr std::uint32_t halfRound = 1U << 31;
        if (latest && milliseconds < *latest) {
            say(milliseconds - *latest < halfRound
                    ? "the clock has wrapped round at 2^32 ms; times start anew"
                    : "the clock goes back; times are those of the file",
                line);
        }
        if (latest && width != latestWidth) {
            say("another number of values than in the record before", line);
        }
        latest = milliseconds;
        latestWidth = width;
    }

    std::optional<std::uint32_t> latestTime() const { return latest; }

private:
    Report* const report;
    std::optional<std::uint32_t> latest;
    std::size_t latestWidth = 0;
};

} // namespace

void readLog(InputFile& file, LogTarget& target, Report* report)
{
    formats::LineReader lines(file, formats::LineReader::Bytes);
    Watch watch(report);
    std::int64_t number = 0;
    for (auto line = lines.next(); !line.empty(); line = lines.next()) {
        ++number;
        const bool isWhole = line.back() == '\n';
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
            line.remove_suffix(1);
        }
        const LogFields fields = formats::splitLogLine(line);
        const bool isTag = fields.kind == LogFields::Tag && fields.hasRest;
        if (!isWhole) {
            watch.say(isTag ? "torn line" : "torn line, left out", number);
        }
        if (isTag) {
            target.addTag(tagTime(fields.time, watch.latestTime()), fields.rest);
        } else if (isWhole && fields.kind == LogFields::Header && fields.hasRest) {
            if (number > 1) {
                watch.say("another header; the last one names the columns", number);
            }
            target.addHeader(labelsIn(fields.rest));
        } else if (isWhole && !line.empty()) {
            const auto sample = unsignedNumber(fields.number);
            const auto time = unsignedNumber(fields.time);
            // Cut by a zero byte, it would lack what stands behind.
            const bool isEndLost = fields.rest.empty() ? line.back() != ';'
                                                       : fields.rest.back() != ';' ||
                                                             &fields.rest.back() != &line.back();
            if (fields.kind != LogFields::Record || !sample || !time || isEndLost) {
                watch.say("not a record, left out", number);
                continue;
            }
            const std::size_t width = countOf(';', fields.rest);
            watch.look(*time, width, number);
            target.addRecord({*sample, *time, fields.rest, width, number});
        }
    }
    file.check();
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
    return toldApart(names, {"time_s", "tag"}, "channel");
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

std::vector<std::string> toldApart(
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
