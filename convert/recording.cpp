// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/recording.h"

#include "formats/textfield.h"

#include <algorithm>
#include <filesystem>
#include <fnmatch.h>
#include <set>

namespace convert {

namespace {

using formats::LogRecord;
using formats::RecordingTarget;
using formats::TraceFrame;
using formats::WarningFunction;

// Hands on what is selected.
class Selector : public RecordingTarget
{
public:
    Selector(
        const Selection& selectionOfAll, std::int64_t lastLineOfRecords,
        RecordingTarget& realTarget)
        : selection(selectionOfAll)
        , lastLine(lastLineOfRecords)
        , target(realTarget)
    {
        ignoresValues = target.ignoresValues;
    }

    void addHeader(const std::vector<std::string>& labels) override { target.addHeader(labels); }
    void addRecord(const LogRecord& record) override
    {
        const bool isKnown = record.line <= lastLine;
        if (takes(record.milliseconds / 1000.0) && isKnown && count++ % selection.every == 0) {
            target.addRecord(record);
        }
    }
    void addTag(std::optional<std::uint32_t> milliseconds, std::string_view text) override
    {
        const double unknown = -std::numeric_limits<double>::infinity(); // ahead of the start
        if (selection.takesTime(milliseconds ? *milliseconds / 1000.0 : unknown)) {
            target.addTag(milliseconds, text);
        }
    }
    void addFrame(const TraceFrame& frame) override
    {
        if (takes(frame.time) && (selection.bus < 0 || selection.bus == frame.bus)) {
            hasFrame = true;
            target.addFrame(frame);
        }
    }

    bool hasNothing() const { return begin && count == 0 && !hasFrame; }

    std::optional<double> begin;

private:
    bool takes(double seconds)
    {
        begin = begin.value_or(seconds);
        return selection.takesTime(seconds);
    }

    const Selection& selection;
    const std::int64_t lastLine;
    RecordingTarget& target;
    std::int64_t count = 0; // of records within the time
    bool hasFrame = false;
};

void checkKind(InputFile& file, Kind kind)
{
    constexpr int sampleSize = 4096;
    const QByteArray sample = file.peek(sampleSize);
    const bool isWide = sample.startsWith("\xff\xfe") || sample.startsWith("\xfe\xff") ||
                        sample.startsWith(QByteArray("\0\0\xfe\xff", 4));
    // A log that a power cut has torn may have zero bytes, but not ahead of its header.
    const bool isText = kind == Kind::Log ? sample.startsWith("#;") : isWide;
    if (kind != Kind::Blackbox && kind != Kind::Backup && sample.contains('\0') && !isText) {
        throw ConversionError(file.name() + ": is binary, not a ." + wordOf(kind) + " file");
    }
    if (kind == Kind::Log && sample.startsWith('(')) {
        throw ConversionError(file.name() + ": looks like a CAN trace; try --from candump");
    }
}

constexpr std::int64_t MostListed = 10; // jumps, tags

std::string secondsText(std::uint32_t milliseconds)
{
    char text[formats::MaxSecondsLength];
    return std::string(+text, formats::putSeconds(text, milliseconds)) + " s";
}

} // namespace

bool Selection::takesName(const std::string& name) const
{
    return names.empty() || std::any_of(names.begin(), names.end(), [&](const auto& pattern) {
               return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
           });
}

Recording::Recording(const std::string& path, Kind fileKind, const Selection& selectionOfAll)
    : file(path)
    , kind(fileKind)
    , selection(selectionOfAll)
{
    checkKind(file, kind);
    if (kind == Kind::Blackbox) { // read twice at a time
        file.makeRepeatable();
    }
}

std::int64_t Recording::read(RecordingTarget& target, Report& report)
{
    Selector selector(selection, lastLine, target);
    const auto warn = [&](const std::string& what, std::int64_t line) { report.warn(what, line); };
    std::int64_t frames = 0;
    if (kind == Kind::Log) {
        formats::readRecords(file, selector, warn);
    } else if (kind == Kind::Blackbox) {
        frames = formats::readBlackboxRecords(file, selector, warn);
    } else {
        const std::string name = std::filesystem::path(file.name()).filename();
        if (kind == Kind::Candump && name.rfind("canbb-", 0) == 0) {
            report.warn("made of a black-box record by the console: its times are in thousands of "
                        "seconds; the .rbx converts rightly");
        }
        const auto take = [&](const TraceFrame& frame) { selector.addFrame(frame); };
        frames = formats::readFrames(file, *traceKind(kind), take, warn);
        if (frames == 0) {
            file.check();
            throw ConversionError(
                file.name() + ": has no CAN frame that a ." + wordOf(kind) + " file can have");
        }
    }
    file.check();
    begin = selector.begin;
    if (selector.hasNothing()) {
        report.warn("has nothing that --start, --end and --bus take");
    }
    return frames;
}

Survey surveyOf(Recording& recording, Report& report, bool ignoresValues)
{
    recording.file.makeRepeatable();
    Survey survey;
    survey.ignoresValues = ignoresValues;
    const std::int64_t frames = recording.read(survey, report);
    if (frames == 0 && survey.labels.empty() && survey.records == 0 && survey.tags == 0) {
        throw ConversionError(recording.file.name() + ": has no record of a log");
    }
    recording.lastLine = survey.last.line;
    recording.file.seek(0);
    return survey;
}

void FrameCount::add(const TraceFrame& frame)
{
    first = count == 0 ? frame.time : first;
    last = frame.time;
    ++count;
    longest = std::max(longest, frame.length);
    isFd = isFd || frame.isFd;
}

void Survey::addRecord(const LogRecord& record)
{
    widest = std::max(widest, record.width);
    narrowest = std::min(narrowest, record.width);
    if (record.hasGaps) {
        gaps.resize(std::max(gaps.size(), record.width));
        std::string_view values = record.values;
        for (std::size_t i = 0; i < record.width; ++i) {
            gaps[i] = gaps[i] || formats::takeField(values, ';').empty();
        }
    }
    if (records == 0) {
        first = record;
    } else if (record.number > last.number + 1) {
        const std::uint32_t missing = record.number - last.number - 1;
        lost += missing;
        if (++jumps <= MostListed) {
            firstJumps.push_back(
                secondsText(last.milliseconds) + " to " + secondsText(record.milliseconds) + ", " +
                std::to_string(missing) + " missing");
        }
    }
    ++records;
    last = record;
}

void Survey::addTag(std::optional<std::uint32_t> milliseconds, std::string_view text)
{
    if (++tags <= MostListed) {
        const std::string time = milliseconds ? secondsText(*milliseconds) + ' ' : "";
        firstTags.push_back(time + std::string(text));
    }
}

void Survey::addFrame(const TraceFrame& frame)
{
    frames.add(frame);
    framesOf[keyOf(frame)].add(frame);
}

std::vector<Channel> Survey::channels(const Selection& selection) const
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < widest; ++i) {
        const bool hasName = i < labels.size() && labels[i] != "x" && !labels[i].empty();
        names.push_back(hasName ? labels[i] : "channel " + std::to_string(i));
    }
    std::vector<Channel> result;
    const std::vector<std::string> columns = uniqueNames(names, {"time_s", "tag"}, "channel");
    for (std::size_t i = 0; i < widest; ++i) {
        if (selection.takesName(columns[i])) {
            result.push_back({static_cast<int>(i), columns[i], formats::unitOf(names[i])});
        }
    }
    return result;
}

bool Survey::mayLack(const Channel& channel) const
{
    const auto i = static_cast<std::size_t>(channel.number);
    return i >= narrowest || (i < gaps.size() && gaps[i]);
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
