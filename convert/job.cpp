// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/job.h"

#include "convert/drive.h"
#include "convert/tables.h"

#include <algorithm>

namespace convert {

namespace {

bool takesRecords(const Job& job, Kind from)
{
    return from == Kind::Log || (from == Kind::Blackbox && job.to == Kind::Csv &&
                                 !job.wantsFrames && job.database == nullptr);
}

void convertToText(const Job& job, Report& report)
{
    const auto& [path, kind] = job.inputs.front();
    Recording recording(path, kind, job.selection);
    TextOutput output(job.output, job.replaces);
    TextTarget writer;
    std::optional<SignalPlan> plan;
    Report again(path); // what a survey has told, or most of it
    if (takesRecords(job, kind)) {
        const Survey survey = surveyOf(recording, report, true);
        const std::vector<Channel> channels = survey.channels(job.selection);
        if (kind == Kind::Blackbox && survey.records == 0) {
            throw ConversionError(
                shownName(path) + ": has no records; for its CAN frames see --frames");
        }
        if (channels.empty() && survey.widest > 0) {
            throw ConversionError(shownName(path) + ": has no channel that --only takes");
        }
        writer = logTable(output, survey, channels);
    } else if (job.database != nullptr) {
        const std::vector<Survey> surveys{surveyOf(recording, report)};
        plan.emplace(*job.database, surveys, job.selection);
        plan->warn(*job.database, report);
        writer = signalTable(output, *plan);
    } else {
        writer = frameList(job.to, output, report);
    }
    if (recording.read(*writer, again) == 0 && !takesRecords(job, kind)) {
        throw ConversionError(shownName(path) + ": has no CAN frame");
    }
    writer->finish();
    report.addNew(again);
    constexpr std::int64_t sheet = 1'048'576;
    if (output.rows > sheet) {
        report.warn("more rows than the 1,048,576 of a spreadsheet; --every and --end make fewer");
    }
    output.commit();
}

void convertToContainer(const Job& job, Reports& reports)
{
    std::deque<Recording> recordings;
    std::vector<Survey> surveys;
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < job.inputs.size(); ++i) {
        const auto& [path, kind] = job.inputs[i];
        surveys.push_back(surveyOf(recordings.emplace_back(path, kind, job.selection), reports[i]));
        paths.push_back(path);
    }
    std::optional<SignalPlan> plan;
    if (job.database != nullptr) {
        plan.emplace(*job.database, surveys, job.selection);
        const auto hasFrames = [](const Survey& it) { return it.frames.count > 0; };
        const auto place = std::find_if(surveys.begin(), surveys.end(), hasFrames);
        plan->warn(
            *job.database,
            reports[place == surveys.end() ? 0 : std::size_t(place - surveys.begin())]);
    }
    const auto lacks = [&](const Survey& it) { return it.channels(job.selection).empty(); };
    const auto hasNone = [](const Survey& it) { return it.widest == 0; };
    if (std::all_of(surveys.begin(), surveys.end(), lacks) && (!plan || plan->messages.empty()) &&
        !std::all_of(surveys.begin(), surveys.end(), hasNone)) {
        throw ConversionError(job.output + ": no input has a channel or signal that --only takes");
    }
    constexpr std::size_t memory = 1 << 24; // bytes, that wait to be packed
    const std::size_t tables = recordings.size() + (plan ? plan->messages.size() : 0);
    const std::size_t blockSize = std::clamp<std::size_t>(memory / tables, 1 << 14, 1 << 22);
    const auto make = job.to == Kind::Hdf5 ? makeHdf5 : makeMdf4;
    const auto container = make(job.output, job.replaces, originOf(paths, recordings), blockSize);
    DriveWriter writer(*container, surveys, plan ? &*plan : nullptr);
    for (std::size_t i = 0; i < recordings.size(); ++i) {
        Report known(paths[i]); // what the survey has told
        writer.begin(surveys[i], surveys[i].channels(job.selection));
        recordings[i].read(writer, known);
    }
    writer.finish();
    container->commit();
}

} // namespace

std::string unsupportedReason(const Job& job, Kind from)
{
    if (from == Kind::Backup) {
        return "a configuration backup is shown by --info and not converted";
    }
    if (isContainer(job.to)) {
        return job.output == "-" ? "a ." + wordOf(job.to) + " file cannot be standard output" : "";
    }
    if (from == Kind::Log && (job.to != Kind::Csv || job.wantsFrames || job.database != nullptr)) {
        return "a log has no CAN frames";
    }
    return job.database != nullptr && job.to != Kind::Csv ? "signals become .csv, .h5 or .mf4" : "";
}

void convertFile(const Job& job, Reports& reports)
{
    if (!job.conflictsWith.empty()) {
        throw ConversionError(
            job.inputs.front().path + ": " + job.output + " is made of " + job.conflictsWith +
            " already");
    }
    if (!isContainer(job.to)) {
        convertToText(job, reports.front());
        return;
    }
    try {
        convertToContainer(job, reports);
    } catch (const ContainerFailure&) {
        throw ConversionError(job.output + ": cannot write; is the disk full?");
    }
}

} // namespace convert
