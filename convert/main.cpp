// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/partfile.h"
#include "convert/plan.h"

#include <CLI/CLI.hpp>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <future>
#include <mutex>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

using convert::Job;
using convert::Options;
using convert::Reports;

constexpr int SomeFilesFailed = 1;
constexpr int WrongUse = 2;

constexpr char help[] =
    R"(xcu-convert: logs, black-box records and CAN traces of the XCU console for other tools

  xcu-convert [options] -o FILE INPUT...            .h5 and .mf4 take several inputs of one drive
  xcu-convert [options] --to KIND --out-dir FOLDER INPUT...      each into a file of its own
  xcu-convert --info INPUT...

An input is a file, a folder or "-", standard input.

  -o, --output FILE   file to write; - is standard output
  --out-dir FOLDER    folder for the outputs, made if it is missing
  --update            with --out-dir: only what is newer than its output
  --from KIND         what the inputs are, if not by their names: %1
  --to KIND           what to write, if not by the name of FILE: %2
  --signals FILE      decode the signals of this database (.dbc, .arxml, ...) or signal set (.csv)
  --only GLOB         only channels and signals with such names; may be given again
  --start S, --end S  only what lies between these times of the recording, in s
  --every N           only each Nth record of a log
  --bus N             only CAN frames of this bus
  --frames            CAN frames of black-box records as .csv, not their records
  --info              tell what is in the inputs, write nothing
  --force             replace files that are there
  -j, --jobs N        files at a time
  --version           the version

Examples:
  xcu-convert drive.log can-drive.candump --signals car.dbc -o drive.mf4
  xcu-convert can-drive.candump --signals car.dbc -o signals.csv
  xcu-convert drive.log --only 'Oil*' --start 12.5 --end 60 -o part.csv
  xcu-convert drives --to h5 --out-dir tables --update
)";

std::string helpText()
{
    std::string text = help;
    text.replace(text.find("%1"), 2, convert::wordsOf(convert::In));
    return text.replace(text.find("%2"), 2, convert::wordsOf(convert::Out));
}

void declare(Options& options, CLI::App& app)
{
    app.formatter_fn([](const CLI::App*, auto&&...) { return helpText(); });
    const auto checkKind = [](convert::Use use) {
        return [use](const std::string& word) {
            const auto kind = convert::kindOfWord(word);
            const bool isKnown = kind && convert::isOf(*kind, use);
            return isKnown ? std::string() : "takes " + convert::wordsOf(use);
        };
    };
    app.add_option("INPUT", options.inputs)->required();
    auto* const output = app.add_option("-o,--output", options.all.output);
    auto* const outDir = app.add_option("--out-dir", options.outDir)->excludes(output);
    app.add_option("--from", options.from)->check(checkKind(convert::In));
    auto* const to = app.add_option("--to", options.to)->check(checkKind(convert::Out));
    outDir->needs(to);
    auto* const signalSet = app.add_option("--signals", options.database);
    app.add_option("--only", options.all.selection.names)->expected(1)->take_all();
    app.add_option("--start", options.all.selection.start);
    app.add_option("--end", options.all.selection.end);
    auto* const every = app.add_option("--every", options.all.selection.every)
                            ->check(CLI::Range(std::int64_t{1}, INT64_MAX));
    app.add_option("--bus", options.all.selection.bus)->check(CLI::NonNegativeNumber);
    app.add_flag("--frames", options.all.wantsFrames)->excludes(signalSet);
    auto* const info = app.add_flag("--info", options.info)->excludes(output)->excludes(outDir);
    info->excludes(every); // which would make records seem to be missing
    app.add_flag("--force", options.all.replaces);
    app.add_flag("--update", options.update)->needs(outDir);
    app.add_option("-j,--jobs", options.jobs)->check(CLI::Range(1, 256));
    app.set_version_flag("--version", "xcu-convert " XCU_VERSION);
}

std::string inLines(const std::string& text)
{
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        result += "xcu-convert: " + line + '\n';
    }
    return result;
}

// Messages, and on a terminal a line that counts the files, which they erase.
class Console
{
public:
    explicit Console(std::size_t files)
        : total(isatty(STDERR_FILENO) != 0 && files > 1 ? files : 0)
    {}

    void say(const std::string& text)
    {
        const std::lock_guard lock(mutex);
        std::fputs(((total > 0 ? "\r\033[K" : "") + text).c_str(), stderr);
        if (total > 0 && done < total) {
            std::fprintf(stderr, "%zu of %zu", ++done, total);
        }
    }

private:
    std::mutex mutex;
    const std::size_t total; // 0: no line
    std::size_t done = 0;
};

// Does the work on some files at a time. Whether all went well.
bool forEach(const std::vector<Job>& jobs, unsigned threadCount, void (*work)(const Job&, Reports&))
{
    Console console(jobs.size());
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> isFine = true;
    const auto runJobs = [&] {
        for (std::size_t i = next++; i < jobs.size(); i = next++) {
            Reports reports;
            for (const convert::Input& input : jobs[i].inputs) {
                reports.emplace_back(convert::shownName(input.path));
            }
            std::string trouble;
            try {
                work(jobs[i], reports);
            } catch (const std::exception& failure) {
                trouble = failure.what();
                isFine = false;
            }
            std::string text;
            for (const convert::Report& report : reports) {
                text += report.text();
            }
            console.say(inLines(text + trouble));
        }
    };
    std::vector<std::future<void>> workers;
    for (std::size_t i = 0; i < std::min<std::size_t>(threadCount, jobs.size()); ++i) {
        workers.push_back(std::async(std::launch::async, runJobs));
    }
    workers.clear(); // waits
    return isFine;
}

int run(int argc, char** argv)
{
    Options options;
    options.jobs = std::max(1U, std::thread::hardware_concurrency());
    CLI::App app("", "xcu-convert");
    declare(options, app);
    const auto refuse = [](const std::string& why) {
        std::fputs((inLines(why) + "Try 'xcu-convert --help'.\n").c_str(), stderr);
        return WrongUse;
    };
    std::unique_ptr<convert::Database> database;
    convert::Plan plan;
    try {
        app.parse(argc, argv);
        if (!options.database.empty()) {
            convert::Report report(convert::shownName(options.database));
            database = std::make_unique<convert::Database>(options.database, report);
            std::fputs(inLines(report.text()).c_str(), stderr);
        }
        options.all.database = database.get();
        plan = convert::planOf(options);
    } catch (const CLI::ParseError& error) {
        return error.get_exit_code() == 0 ? app.exit(error) : refuse(error.what());
    } catch (const convert::UsageError& error) {
        return refuse(error.what());
    }
    std::fputs(inLines(plan.news).c_str(), stderr);
    convert::PartFile::watchSignals();
    for (const Job& job : plan.jobs) {
        if (!options.outDir.empty()) {
            std::filesystem::create_directories(std::filesystem::path(job.output).parent_path());
        }
    }
    const bool isFine = options.info ? forEach(plan.jobs, 1, convert::showInfo)
                                     : forEach(plan.jobs, options.jobs, convert::convertFile);
    return isFine ? 0 : SomeFilesFailed;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& failure) {
        std::fputs(inLines(failure.what()).c_str(), stderr);
        return SomeFilesFailed;
    }
}
