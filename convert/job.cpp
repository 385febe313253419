// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/job.h"

#include "convert/blackboxlog.h"
#include "convert/logwriters.h"
#include "formats/blackboxreader.h"

#include <QProcess>
#include <cerrno>
#include <unistd.h>

namespace convert {

namespace {

// Files that the console made of black-box records count time in thousands of seconds.
bool hasThousands(const std::string& name, Kind kind)
{
    const std::size_t slash = name.rfind('/');
    const std::string last = slash == std::string::npos ? name : name.substr(slash + 1);
    return kind == Kind::Candump && last.rfind("canbb-", 0) == 0;
}

class FrameRelay : public formats::BlackboxSink
{
public:
    FrameRelay(FrameTarget& frameTarget, Report& fileReport, bool timesThousand)
        : target(frameTarget)
        , report(fileReport)
        , factor(timesThousand ? 1000.0 : 1.0)
    {}

    std::int64_t count = 0;

    void addFrame(const formats::TraceFrame& frame) override
    {
        ++count;
        if (factor == 1.0) {
            target.addFrame(frame);
        } else {
            formats::TraceFrame copy = frame;
            copy.time *= factor;
            target.addFrame(copy);
        }
    }

    void addRecord(
        quint32 /*timestamp*/, const std::vector<int>& /*inputs*/,
        const std::vector<int>& /*outputs*/) override
    {}

    void addOddity(const char* what, std::int64_t line) override { report.odd(what, line); }

private:
    FrameTarget& target;
    Report& report;
    const double factor;
};

// Tells what the format written cannot say.
class LossWatch : public FrameTarget
{
public:
    LossWatch(FrameTarget& frameTarget, Report& fileReport)
        : target(frameTarget)
        , report(fileReport)
    {}

    void addFrame(const formats::TraceFrame& frame) override
    {
        if (frame.bus < 0) {
            report.odd("a frame without a bus, written as of the first one");
        }
        target.addFrame(frame);
    }

private:
    FrameTarget& target;
    Report& report;
};

void readLogOf(InputFile& file, Kind kind, LogTarget& target, Report* report)
{
    if (kind == Kind::Log) {
        readLog(file, target, report);
    } else {
        const BlackboxShape shape = blackboxShape(file);
        file.rewind();
        readBlackboxLog(file, shape, target, report);
    }
    target.finish();
}

void convertLog(const Job& job, InputFile& file, Report& report)
{
    const LogSurvey survey = surveyOf(file, job.from);
    if (job.to == Kind::Hdf5) {
        Hdf5File output(job.output, job.replaces);
        {
            Hdf5Log target(output, survey, report);
            readLogOf(file, job.from, target, &report);
        }
        output.commit();
    } else {
        TextOutput output(job.output, job.replaces);
        CsvLog target(output, survey, report);
        readLogOf(file, job.from, target, &report);
        output.commit();
    }
}

void convertFrames(const Job& job, InputFile& file, Report& report)
{
    if (job.to == Kind::Hdf5) {
        Hdf5File output(job.output, job.replaces);
        {
            const auto target = signalWriter(*job.signalSet, output);
            readFramesOf(file, job.from, *target, report);
        }
        output.commit();
        return;
    }
    TextOutput output(job.output, job.replaces);
    const auto target = job.signalSet != nullptr ? signalWriter(*job.signalSet, output)
                                                 : frameWriter(job.to, output);
    if (job.to == Kind::Csv) {
        readFramesOf(file, job.from, *target, report);
    } else {
        LossWatch watch(*target, report);
        readFramesOf(file, job.from, watch, report);
    }
    output.commit();
}

// The program that reads databases is Python's; it writes beside and renames as well.
void convertDatabase(const Job& job)
{
    QStringList arguments{
        QString::fromStdString(job.input), "-o", QString::fromStdString(job.output)};
    if (job.replaces) {
        arguments.append("--force");
    }
    const int code = QProcess::execute("xcu-signals", arguments);
    if (code == -2) {
        throw Trouble(job.input + ": xcu-signals, which reads databases, cannot be started");
    }
    if (code != 0) {
        throw Trouble(job.input + ": not converted by xcu-signals");
    }
}

bool hasRecords(Kind kind)
{
    return kind == Kind::Log || kind == Kind::Blackbox;
}

bool hasFrames(Kind kind)
{
    return kind == Kind::Blackbox || traceKind(kind).has_value();
}

} // namespace

std::string impossible(Kind from, Kind to, bool hasSignals)
{
    if (from == Kind::Backup) {
        return "a configuration backup is shown by --info and not converted";
    }
    if (from == Kind::Database) {
        return to == Kind::Csv ? "" : "a signal database becomes a signal set, .csv";
    }
    if (hasSignals) {
        if (!hasFrames(from)) {
            return "a log has no CAN frames, so no signals";
        }
        return to == Kind::Csv || to == Kind::Hdf5 ? "" : "signals become .csv or .h5";
    }
    if (to == Kind::Hdf5) {
        return hasRecords(from) ? "" : "frames become .h5 only as signals, see --signals";
    }
    if (to == Kind::Csv) {
        return "";
    }
    return hasFrames(from) ? "" : "a log has no CAN frames";
}

std::unique_ptr<InputFile> openAs(const std::string& path, Kind kind)
{
    auto file = std::make_unique<InputFile>(path);
    constexpr int sampleSize = 4096;
    const QByteArray sample = file->peek(sampleSize);
    const bool isWide = sample.startsWith("\xff\xfe") || sample.startsWith("\xfe\xff") ||
                        sample.startsWith(QByteArray("\0\0\xfe\xff", 4));
    // A log that a power cut has torn may have zero bytes, but not ahead of its header.
    const bool isText = kind == Kind::Log ? sample.startsWith("#;") : isWide;
    if (kind != Kind::Blackbox && kind != Kind::Backup && sample.contains('\0') && !isText) {
        throw Trouble(shownName(path) + ": is binary, not a " + nameEnd(kind) + " file");
    }
    if (kind == Kind::Log && sample.startsWith('(')) {
        throw Trouble(shownName(path) + ": looks like a CAN trace; try --from candump");
    }
    return file;
}

LogSurvey surveyOf(InputFile& file, Kind kind)
{
    file.makeRepeatable();
    LogSurvey survey;
    if (kind == Kind::Blackbox) {
        const BlackboxShape shape = blackboxShape(file);
        file.rewind();
        readBlackboxLog(file, shape, survey, nullptr);
        survey.narrowest = shape.wholeChannels();
    } else {
        readLog(file, survey, nullptr);
    }
    file.rewind();
    if (survey.records == 0 && survey.tags == 0 &&
        (kind == Kind::Blackbox || survey.labels.empty())) {
        throw Trouble(file.name() + ": has no record of a log");
    }
    return survey;
}

void readFramesOf(InputFile& file, Kind kind, FrameTarget& target, Report& report)
{
    const bool timesThousand = hasThousands(report.inputName(), kind);
    FrameRelay relay(target, report, timesThousand);
    if (timesThousand) {
        report.odd("made of a black-box record: its times are thousands of seconds, put right");
    }
    if (kind == Kind::Blackbox) {
        formats::readBlackbox(file, relay);
    } else {
        formats::readFrames(file, *traceKind(kind), relay);
    }
    file.check();
    target.finish();
    if (relay.count == 0) {
        throw Trouble(
            file.name() + ": has no CAN frame that a " + nameEnd(kind) + " file can have");
    }
}

void convertFile(const Job& job, Report& report)
{
    if (job.from == Kind::Database) {
        convertDatabase(job);
        return;
    }
    const auto file = openAs(job.input, job.from);
    const bool wantsRecords = hasRecords(job.from) && job.signalSet == nullptr &&
                              (job.to == Kind::Csv || job.to == Kind::Hdf5);
    if (wantsRecords) {
        convertLog(job, *file, report);
    } else {
        convertFrames(job, *file, report);
    }
}

} // namespace convert
