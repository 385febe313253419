// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/job.h"
#include "formats/candumpline.h"
#include "formats/configurationblock.h"

#include <algorithm>
#include <map>

namespace convert {

namespace {

std::string secondsText(double seconds)
{
    char text[32];
    return {text, formats::putMicroseconds(text, seconds) - 3};
}

std::string spanText(double first, double last)
{
    return secondsText(first) + " s to " + secondsText(last) + " s, " + secondsText(last - first) +
           " s";
}

std::string counted(std::int64_t count, const std::string& what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string logInfo(InputFile& file, Kind from, Report& report)
{
    const LogSurvey survey = surveyOf(file, from);
    if (from == Kind::Log) { // for what is odd in it
        LogSurvey again;
        readLog(file, again, &report);
        file.rewind();
    }
    std::string text = "  records   " + std::to_string(survey.records);
    if (survey.records > 0) {
        text += ", numbers " + std::to_string(survey.firstNumber) + " to " +
                std::to_string(survey.lastNumber) + ", " + std::to_string(survey.missing) +
                " missing in " + counted(survey.gaps, "gap") + "\n  time      " +
                spanText(survey.firstTime / 1000.0, survey.lastTime / 1000.0);
    }
    text += "\n  channels  " + std::to_string(survey.widest) + '\n';
    std::size_t channel = 0;
    for (const std::string& name : survey.columns()) {
        text += "    " + std::to_string(channel++) + "  " + name + '\n';
    }
    text += "  tags      " + std::to_string(survey.tags) + '\n';
    for (const std::string& tag : survey.firstTags) {
        text += "    " + tag + '\n';
    }
    const auto shown = static_cast<std::int64_t>(survey.firstTags.size());
    return survey.tags > shown ? text + "    ...\n" : text;
}

class FrameCount : public FrameTarget
{
public:
    void addFrame(const formats::TraceFrame& frame) override
    {
        first = total == 0 ? frame.time : first;
        last = frame.time;
        ++total;
        Row& row = rows[{frame.bus, frame.isExtended, frame.id}];
        row.first = row.count == 0 ? frame.time : row.first;
        row.last = frame.time;
        ++row.count;
        row.longest = std::max(row.longest, frame.length);
        row.isFd = row.isFd || frame.isFd;
    }

    std::string text() const
    {
        std::string text = "  frames    " + std::to_string(total) + "\n  time      " +
                           spanText(first, last) + '\n';
        for (const auto& [key, row] : rows) {
            const auto& [bus, isExtended, id] = key;
            char digits[16];
            std::snprintf(digits, sizeof digits, isExtended ? "%08x" : "%03x", id);
            text += "    " + (bus < 0 ? "no bus" : "can" + std::to_string(bus)) + "  " + digits +
                    "  " + counted(row.count, "frame") + ", up to " + counted(row.longest, "byte");
            if (row.count > 1) {
                const double gap = (row.last - row.first) / static_cast<double>(row.count - 1);
                text += ", every " + secondsText(gap) + " s";
            }
            text += row.isFd ? ", FD\n" : "\n";
        }
        return text;
    }

private:
    struct Row
    {
        std::int64_t count = 0;
        double first = 0;
        double last = 0;
        int longest = 0;
        bool isFd = false;
    };

    std::map<std::tuple<int, bool, std::uint32_t>, Row> rows; // by bus and identifier
    std::int64_t total = 0;
    double first = 0;
    double last = 0;
};

std::string backupInfo(InputFile& file)
{
    const std::string block = file.readAll().toStdString();
    file.check();
    if (formats::isEmptyConfigurationBlock(block)) {
        throw Trouble(file.name() + ": has no configuration");
    }
    const auto labels = formats::readChannelLabels(block);
    std::string text = "  channels  " + std::to_string(labels.size()) + " with a name\n";
    for (const auto& label : labels) {
        text += "    " + std::to_string(label.channel) + "  " + label.text.toStdString() + '\n';
    }
    return text;
}

} // namespace

std::string info(const std::string& input, Kind from, Report& report)
{
    const auto file = openAs(input, from);
    const std::string head = shownName(input) + ": ";
    if (from == Kind::Backup) {
        return head + "configuration backup\n" + backupInfo(*file);
    }
    if (from == Kind::Log) {
        return head + "log\n" + logInfo(*file, from, report);
    }
    std::string text = head + (from == Kind::Blackbox ? "black-box record\n" : "CAN trace\n");
    if (from == Kind::Blackbox) {
        text += logInfo(*file, from, report);
    }
    FrameCount frames;
    try {
        readFramesOf(*file, from, frames, report);
    } catch (const Trouble&) {
        if (from != Kind::Blackbox) {
            throw;
        }
        return text + "  frames    0\n";
    }
    return text + frames.text();
}

} // namespace convert
