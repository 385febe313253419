// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/job.h"
#include "convert/logsource.h"
#include "formats/configurationblock.h"

#include <QtEndian>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iomanip>
#include <map>
#include <sstream>

namespace convert {

namespace {

std::string counted(std::int64_t count, const std::string& what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

void tellSpan(std::ostream& out, double first, double last)
{
    out << "  time      " << first << " s to " << last << " s, " << last - first << " s\n";
}

void tellLog(std::ostream& out, const LogSurvey& survey)
{
    out << "  records   " << survey.records;
    if (survey.records == 0) {
        out << '\n';
    } else {
        out << ", numbers " << survey.firstNumber << " to " << survey.lastNumber << ", "
            << survey.missing << " missing in " << counted(survey.gaps, "gap") << '\n';
        tellSpan(out, survey.firstTime / 1000.0, survey.lastTime / 1000.0);
    }
    out << "  channels  " << survey.widest << '\n';
    std::size_t channel = 0;
    for (const std::string& name : survey.columns()) {
        out << "    " << channel++ << "  " << name << '\n';
    }
    out << "  tags      " << survey.tags << '\n';
    for (const std::string& tag : survey.firstTags) {
        out << "    " << tag << '\n';
    }
    if (survey.tags > static_cast<std::int64_t>(survey.firstTags.size())) {
        out << "    ...\n";
    }
}

struct FrameCount
{
    double first = 0; // s
    double last = 0;
    std::int64_t count = 0;
    int longest = 0;
    bool isFd = false;

    void add(const formats::TraceFrame& frame)
    {
        first = count == 0 ? frame.time : first;
        last = frame.time;
        ++count;
        longest = std::max(longest, frame.length);
        isFd = isFd || frame.isFd;
    }
};

using FrameCounts = std::map<std::tuple<int, bool, std::uint32_t>, FrameCount>;

void tellFrameCounts(std::ostream& out, const FrameCount& all, const FrameCounts& countOf)
{
    out << "  frames    " << all.count << '\n';
    if (all.count > 0) {
        tellSpan(out, all.first, all.last);
    }
    for (const auto& [key, frames] : countOf) {
        const auto& [bus, isExtended, id] = key;
        out << "    " << (bus < 0 ? "no bus" : "can" + std::to_string(bus)) << "  " << std::hex
            << std::setfill('0') << std::setw(isExtended ? 8 : 3) << id << std::dec << "  "
            << counted(frames.count, "frame") << ", up to " << counted(frames.longest, "byte");
        if (frames.count > 1) {
            const auto gaps = static_cast<double>(frames.count - 1);
            out << ", every " << (frames.last - frames.first) / gaps << " s";
        }
        out << (frames.isFd ? ", FD\n" : "\n");
    }
}

void tellFrames(std::ostream& out, InputFile& file, Kind kind, Report& report, bool mayLack)
{
    FrameCount all;
    FrameCounts countOf;
    const auto take = [&](const formats::TraceFrame& frame) {
        all.add(frame);
        countOf[{frame.bus, frame.isExtended, frame.id}].add(frame);
    };
    try {
        readFramesOf(file, kind, take, report);
    } catch (const ConversionError&) {
        if (!mayLack) {
            throw;
        }
    }
    tellFrameCounts(out, all, countOf);
}

void tellBackup(std::ostream& out, InputFile& file, Report& report)
{
    const std::string block = file.readAll().toStdString();
    file.check();
    if (formats::isEmptyConfigurationBlock(block)) {
        throw ConversionError(file.name() + ": has no configuration");
    }
    if (qFromLittleEndian<quint32>(block.data()) > block.size() - sizeof(quint32)) {
        report.odd("the file breaks off, or is no backup");
    }
    const auto labels = formats::readChannelLabels(block);
    out << "  channels  " << labels.size() << " with a name\n";
    for (const auto& label : labels) {
        out << "    " << label.channel << "  " << label.text.toStdString() << '\n';
    }
}

void tellBlackbox(std::ostream& out, InputFile& file, Report& report)
{
    const LogSurvey survey = surveyOf(file, Kind::Blackbox, report);
    tellLog(out, survey);
    Report known(file.name()); // what the survey has reported
    tellFrames(out, file, Kind::Blackbox, known, !survey.isEmpty());
}

} // namespace

void showInfo(const Job& job, Report& report)
{
    InputFile file(job.input);
    checkKind(file, job.from);
    std::ostringstream out;
    out << std::fixed << std::setprecision(3) << file.name() << ": ";
    if (job.from == Kind::Backup) {
        out << "configuration backup\n";
        tellBackup(out, file, report);
    } else if (job.from == Kind::Log) {
        out << "log\n";
        tellLog(out, surveyOf(file, job.from, report));
    } else if (job.from == Kind::Blackbox) {
        out << "black-box record\n";
        tellBlackbox(out, file, report);
    } else {
        out << "CAN trace\n";
        tellFrames(out, file, job.from, report, false);
    }
    if (std::fputs(out.str().c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        throw ConversionError("standard output", "cannot write", errno);
    }
}

} // namespace convert
