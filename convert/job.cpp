// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/job.h"

#include "convert/framewriters.h"
#include "convert/logwriters.h"
#include "formats/blackboxreader.h"

#include <QProcess>
#include <filesystem>

namespace convert {

namespace {

bool takesRecords(const Job& job)
{
    const bool hasRecords = job.from == Kind::Log || job.from == Kind::Blackbox;
    const bool isTable = job.to == Kind::Csv || job.to == Kind::Hdf5;
    return hasRecords && isTable && !job.wantsFrames && job.signalSet == nullptr;
}

template <typename Output, typename LogWriter>
void convertTo(const Job& job, Report& report)
{
    InputFile file(job.input);
    checkKind(file, job.from);
    Output output(job.output, job.replaces);
    if (takesRecords(job)) {
        const LogSurvey survey = surveyOf(file, job.from, report);
        if (survey.isEmpty()) {
            throw ConversionError(
                file.name() + ": has no records; for its CAN frames see --frames");
        }
        LogWriter writer(output, survey, report);
        readRecordsOf(file, job.from, survey, writer);
    } else if (job.signalSet != nullptr) {
        readFramesOf(file, job.from, signalWriter(*job.signalSet, output), report);
    } else if constexpr (std::is_same_v<Output, TextOutput>) { // no frames become HDF5
        readFramesOf(file, job.from, frameWriter(job.to, output, report), report);
    }
    output.commit();
}

// The program that reads databases is Python's; it writes beside and renames as well.
void convertDatabase(const Job& job)
{
    const auto text = [](const std::string& word) { return QString::fromStdString(word); };
    QStringList arguments{text(job.input), "-o", text(job.output)};
    if (!job.fromWord.empty()) {
        arguments.append("--from=" + text(job.fromWord));
    }
    if (job.replaces) {
        arguments.append("--force");
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.start("xcu-signals", arguments);
    if (!process.waitForStarted()) {
        throw ConversionError("xcu-signals, which reads databases, cannot be started");
    }
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit) {
        throw ConversionError(shownName(job.input) + ": xcu-signals was ended");
    }
    if (process.exitCode() != 0) {
        throw ConversionError(""); // it has said why
    }
}

} // namespace

std::string impossible(const Job& job)
{
    if (!isOutput(job.to)) {
        return "cannot be made a ." + wordOf(job.to) + " file";
    }
    if (job.from == Kind::Backup) {
        return "a configuration backup is shown by --info and not converted";
    }
    if (job.from == Kind::Database) {
        return job.to == Kind::Csv ? "" : "a signal database becomes a signal set, .csv";
    }
    if (takesRecords(job)) {
        return "";
    }
    if (job.from == Kind::Log) {
        return "a log has no CAN frames";
    }
    if (job.signalSet != nullptr) {
        return job.to == Kind::Csv || job.to == Kind::Hdf5 ? "" : "signals become .csv or .h5";
    }
    return job.to == Kind::Hdf5 ? "frames become .h5 only as signals, see --signals" : "";
}

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

void readFramesOf(InputFile& file, Kind kind, formats::FrameFunction take, Report& report)
{
    // Files that the console made of black-box records.
    const std::string name = std::filesystem::path(file.name()).filename();
    if (kind == Kind::Candump && name.rfind("canbb-", 0) == 0) {
        report.odd("made of a black-box record: its times are thousands of seconds, put right");
        take = [takeRight = std::move(take)](formats::TraceFrame frame) {
            frame.time *= 1000.0;
            takeRight(frame);
        };
    }
    const auto noRecords = [](auto&&...) {};
    const auto tell = [&](const char* what, std::int64_t line) { report.odd(what, line); };
    const auto count = kind == Kind::Blackbox
                           ? formats::readBlackbox(file, take, noRecords, tell)
                           : formats::readFrames(file, *traceKind(kind), take, tell);
    file.check();
    if (count == 0) {
        throw ConversionError(
            file.name() + ": has no CAN frame that a ." + wordOf(kind) + " file can have");
    }
}

void convertFile(const Job& job, Report& report)
{
    if (!job.rival.empty()) {
        throw ConversionError(
            job.input + ": " + job.output + " is made of " + job.rival + " already");
    }
    if (job.from == Kind::Database) {
        convertDatabase(job);
    } else if (job.to != Kind::Hdf5) {
        convertTo<TextOutput, CsvLog>(job, report);
    } else {
        try {
            convertTo<Hdf5File, Hdf5Log>(job, report);
        } catch (const Hdf5Failure&) {
            throw ConversionError(job.output + ": cannot write; is the disk full?");
        }
    }
}

} // namespace convert
