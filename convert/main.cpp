// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/job.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <future>
#include <map>
#include <mutex>
#include <pthread.h>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

using convert::Job;
using convert::Kind;
using convert::Report;

constexpr int SomeFilesFailed = 1;
constexpr int WrongUse = 2;

struct Options
{
    Job job; // what all have in common
    std::vector<std::string> inputs;
    std::string outDir;
    std::string to;
    std::string signalSet;
    bool info = false;
    unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
};

void declare(Options& options, CLI::App& app)
{
    app.add_option("FILE", options.inputs, "files to convert; - is standard input")->required();
    auto* const output =
        app.add_option("-o,--output", options.job.output, "file to write; - is standard output");
    auto* const outDir =
        app.add_option("--out-dir", options.outDir, "folder for the outputs of several files")
            ->check(CLI::ExistingDirectory)
            ->excludes(output);
    app.add_option("--from", options.job.fromWord, "what the files are, if not by their names")
        ->check(CLI::IsMember(convert::wordsOf(convert::In)));
    auto* const to =
        app.add_option("--to", options.to, "what to write, if not by the name of the output")
            ->check(CLI::IsMember(convert::wordsOf(convert::Out)));
    outDir->needs(to);
    auto* const signalSet =
        app.add_option("--signals", options.signalSet, "signal set: write values of these signals");
    app.add_flag("--frames", options.job.wantsFrames, "CAN frames of black-box records as .csv")
        ->excludes(signalSet);
    app.add_flag("--info", options.info, "tell what is in the files, write nothing");
    app.add_flag("--force", options.job.replaces, "replace files that are there");
    app.add_option("-j,--jobs", options.jobs, "files at a time")->check(CLI::Range(1, 256));
    app.set_version_flag("--version", "xcu-convert " XCU_VERSION);
}

Kind kindOf(const std::string& path, const std::string& word, const char* option)
{
    const auto kind = word.empty() ? convert::kindOfName(path) : convert::kindOfWord(word);
    if (!kind) {
        throw CLI::ValidationError(
            convert::shownName(path), std::string("unknown kind of file; use ") + option);
    }
    return *kind;
}

std::string outputIn(const std::string& folder, const std::string& input, Kind to)
{
    const std::filesystem::path name =
        input == "-" ? "standard-input" : std::filesystem::path(input).filename();
    const std::string stem = convert::kindOfName(name) ? name.stem() : name;
    return std::filesystem::path(folder) / (stem + '.' + convert::wordOf(to));
}

// Throws CLI::ValidationError for what cannot be done.
std::vector<Job> plan(const Options& options)
{
    const std::string& output = options.job.output;
    if (!options.info && output.empty() && options.outDir.empty()) {
        throw CLI::ValidationError("where to", "either -o or --out-dir");
    }
    if (!output.empty() && options.inputs.size() > 1) {
        throw CLI::ValidationError("several files", "go to a folder: --out-dir");
    }
    std::vector<Job> jobs;
    std::map<std::string, std::string> makers; // of outputs
    for (const std::string& input : options.inputs) {
        Job job = options.job;
        job.input = input;
        job.from = kindOf(input, job.fromWord, "--from");
        if (job.from == Kind::Hdf5) {
            throw CLI::ValidationError(input, "such a file is written, not read");
        }
        if (options.info) {
            if (job.from == Kind::Database) {
                throw CLI::ValidationError(input, "a signal database is converted, not shown");
            }
            jobs.push_back(job);
            continue;
        }
        job.to = kindOf(output, options.to, "--to");
        if (!options.outDir.empty()) {
            job.output = outputIn(options.outDir, input, job.to);
        }
        const auto [maker, isFirst] = makers.emplace(job.output, input);
        job.rival = isFirst ? "" : maker->second;
        const std::string why = convert::impossible(job);
        if (!why.empty()) {
            throw CLI::ValidationError(convert::shownName(input), why);
        }
        jobs.push_back(job);
    }
    return jobs;
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

// Removes unfinished files when the program is asked to quit. To be made ahead of other threads,
// which then leave the signals to it.
void watchSignals()
{
    std::signal(SIGPIPE, SIG_IGN); // a failed write is reported like any other
    static sigset_t quitting;
    sigemptyset(&quitting);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&quitting, number);
    }
    pthread_sigmask(SIG_BLOCK, &quitting, nullptr);
    std::thread([] {
        int number = 0;
        sigwait(&quitting, &number);
        convert::PartFile::removeAll();
        _exit(128 + number);
    }).detach();
}

// Messages and the progress bar, which share a terminal.
class Console
{
public:
    explicit Console(std::uintmax_t bytes)
        : total(isatty(STDERR_FILENO) != 0 ? bytes : 0)
    {}

    void say(const std::string& text)
    {
        const std::lock_guard lock(mutex);
        std::fputs((std::exchange(erasing, "") + text).c_str(), stderr);
    }

    void showProgress()
    {
        if (total == 0) {
            return;
        }
        constexpr std::size_t width = 40;
        const std::lock_guard lock(mutex);
        const std::uintmax_t done = std::min<std::uintmax_t>(convert::InputFile::bytesRead, total);
        std::string bar(width, ' ');
        bar.replace(0, done * width / total, done * width / total, '#');
        std::fprintf(stderr, "\r[%s] %3d %%", bar.c_str(), static_cast<int>(done * 100 / total));
        erasing = "\r\033[K";
    }

private:
    std::mutex mutex;
    const std::uintmax_t total; // 0: no bar
    std::string erasing;        // what erases the bar that is there
};

std::uintmax_t bytesToRead(const std::vector<Job>& jobs)
{
    std::uintmax_t bytes = 0;
    for (const Job& job : jobs) {
        std::error_code error;
        const auto size = std::filesystem::file_size(job.input, error);
        const bool isReadTwice = job.from == Kind::Log;
        bytes += error ? 0 : size * (isReadTwice ? 2 : 1);
    }
    return bytes;
}

// Does the work on some files at a time. Whether all went well.
bool forEach(const std::vector<Job>& jobs, unsigned threadCount, void (*work)(const Job&, Report&))
{
    Console console(work == convert::showInfo ? 0 : bytesToRead(jobs));
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> isFine = true;
    const auto workOff = [&] {
        for (std::size_t i = next++; i < jobs.size(); i = next++) {
            Report report(convert::shownName(jobs[i].input));
            std::string trouble;
            try {
                work(jobs[i], report);
            } catch (const std::exception& failure) {
                trouble = failure.what();
                isFine = false;
            }
            console.say(inLines(report.text() + trouble));
        }
    };
    std::vector<std::future<void>> workers;
    for (std::size_t i = 0; i < std::min<std::size_t>(threadCount, jobs.size()); ++i) {
        workers.push_back(std::async(std::launch::async, workOff));
    }
    for (const auto& worker : workers) {
        while (worker.wait_for(std::chrono::milliseconds(200)) == std::future_status::timeout) {
            console.showProgress();
        }
    }
    console.say("");
    return isFine;
}

int run(int argc, char** argv)
{
    Options options;
    CLI::App app(
        "Converts logs, black-box records and CAN traces of the XCU console.", "xcu-convert");
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return inLines(error.what()) + "Try 'xcu-convert --help'.\n";
    });
    declare(options, app);
    std::unique_ptr<convert::SignalSet> signalSet;
    std::vector<Job> jobs;
    try {
        app.parse(argc, argv);
        if (!options.signalSet.empty()) {
            Report report(convert::shownName(options.signalSet));
            signalSet = std::make_unique<convert::SignalSet>(options.signalSet, report);
            std::fputs(inLines(report.text()).c_str(), stderr);
        }
        options.job.signalSet = signalSet.get();
        jobs = plan(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : WrongUse;
    }
    watchSignals();
    const bool isFine = options.info ? forEach(jobs, 1, convert::showInfo)
                                     : forEach(jobs, options.jobs, convert::convertFile);
    return isFine ? 0 : SomeFilesFailed;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "xcu-convert: %s\n", failure.what());
        return SomeFilesFailed;
    }
}
