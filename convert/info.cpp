// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/job.h"
#include "convert/partfile.h"
#include "formats/configurationblock.h"

#include <QtEndian>
#include <iomanip>
#include <set>
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

std::string withUnit(const std::string& name, const std::string& unit)
{
    return name + (unit.empty() ? "" : ", in " + unit);
}

void tellFirst(std::ostream& out, const std::vector<std::string>& first, std::int64_t count)
{
    for (const std::string& text : first) {
        out << "    " << text << '\n';
    }
    if (count > static_cast<std::int64_t>(first.size())) {
        out << "    ...\n";
    }
}

void tellLog(std::ostream& out, const Survey& survey, const Selection& selection)
{
    out << "  records   " << survey.records;
    if (survey.records == 0) {
        out << '\n';
    } else {
        out << ", numbers " << survey.first.number << " to " << survey.last.number << ", "
            << survey.lost << " missing in " << counted(survey.jumps, "gap") << '\n';
        tellFirst(out, survey.firstJumps, survey.jumps);
        tellSpan(out, survey.first.milliseconds / 1000.0, survey.last.milliseconds / 1000.0);
    }
    out << "  channels  " << survey.widest << '\n';
    for (const Channel& channel : survey.channels(selection)) {
        out << "    " << channel.number << "  " << withUnit(channel.name, channel.unit) << '\n';
    }
    out << "  tags      " << survey.tags << '\n';
    tellFirst(out, survey.firstTags, survey.tags);
}

std::string shownBus(int bus)
{
    return bus < 0 ? "no bus" : busName(bus);
}

void tellFrames(std::ostream& out, const Survey& survey)
{
    out << "  frames    " << survey.frames.count << '\n';
    if (survey.frames.count > 0) {
        tellSpan(out, survey.frames.first, survey.frames.last);
    }
    std::set<int> buses;
    for (const auto& [key, frames] : survey.framesOf) {
        buses.insert(std::get<0>(key));
    }
    const char* separator = "  buses     ";
    for (const int bus : buses) {
        out << std::exchange(separator, ", ") << shownBus(bus);
    }
    out << (buses.empty() ? "" : "\n");
    for (const auto& [key, frames] : survey.framesOf) {
        const auto& [bus, isExtended, id] = key;
        out << "    " << shownBus(bus) << "  " << std::hex << std::setfill('0')
            << std::setw(isExtended ? 8 : 3) << id << std::dec << "  "
            << counted(frames.count, "frame") << ", up to " << counted(frames.longest, "byte");
        if (frames.count > 1) {
            const auto gaps = static_cast<double>(frames.count - 1);
            out << ", every " << (frames.last - frames.first) / gaps << " s";
        }
        out << (frames.isFd ? ", FD\n" : "\n");
    }
}

void tellSignals(std::ostream& out, const Survey& survey, const Job& job, Report& report)
{
    const SignalPlan plan(*job.database, {survey}, job.selection);
    plan.warn(*job.database, report);
    out << "  signals of " << job.database->path << '\n';
    for (const Message& message : plan.messages) {
        out << "    " << message.name << '\n';
        for (const formats::CanSignal* signal : message.contents) {
            out << "      " << withUnit(signal->name, signal->unit) << '\n';
        }
    }
}

void tellBackup(std::ostream& out, InputFile& file, Report& report)
{
    const std::string block = file.readAll().toStdString();
    file.check();
    if (formats::isEmptyConfigurationBlock(block)) {
        throw ConversionError(file.name() + ": has no configuration");
    }
    if (qFromLittleEndian<quint32>(block.data()) > block.size() - sizeof(quint32)) {
        report.warn("the file breaks off, or is no backup");
    }
    const auto labels = formats::readChannelLabels(block);
    out << "  channels  " << labels.size() << " with a name\n";
    for (const auto& label : labels) {
        out << "    " << label.channel << "  " << label.text.toStdString() << '\n';
    }
}

} // namespace

void showInfo(const Job& job, Reports& reports)
{
    const auto& [path, kind] = job.inputs.front();
    Report& report = reports.front();
    Recording recording(path, kind, job.selection);
    std::ostringstream out;
    out << std::fixed << std::setprecision(3) << recording.file.name() << ": ";
    if (kind == Kind::Backup) {
        out << "configuration backup\n";
        tellBackup(out, recording.file, report);
    } else {
        const Survey survey = surveyOf(recording, report);
        const bool hasLog = kind == Kind::Log || kind == Kind::Blackbox;
        out << (kind == Kind::Log ? "log\n" : hasLog ? "black-box record\n" : "CAN trace\n");
        if (hasLog) {
            tellLog(out, survey, job.selection);
        }
        if (kind != Kind::Log) {
            tellFrames(out, survey);
        }
        if (job.database != nullptr && kind != Kind::Log) {
            tellSignals(out, survey, job, report);
        }
    }
    PartFile("-", false).write(out.str());
}

} // namespace convert
