// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/job.h"

#include <CLI/CLI.hpp>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace {

using convert::Job;
using convert::Kind;
using convert::Report;
using convert::Trouble;

constexpr int SomeTrouble = 1;
constexpr int WrongUse = 2;

struct Options
{
    std::vector<std::string> inputs;
    std::string output;
    std::string outDir;
    std::string from;
    std::string to;
    std::string signalSet;
    bool info = false;
    bool replaces = false;
    unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
};

[[noreturn]] void refuse(const std::string& why)
{
    std::fprintf(stderr, "xcu-convert: %s\nTry 'xcu-convert --help'.\n", why.c_str());
    std::exit(WrongUse);
}

std::string inLines(const std::string& text)
{
    std::string result;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        result += "xcu-convert: " + text.substr(begin, end - begin) + '\n';
        begin = end + 1;
    }
    return result;
}

// Removes unfinished files when the program is told to quit. To be made ahead of other threads,
// which then leave the signals to it.
void watchSignals()
{
    std::signal(SIGPIPE, SIG_IGN); // a write that fails is told like any other
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
    explicit Console(qint64 totalBytes)
        : total(totalBytes)
        , hasBar(isatty(STDERR_FILENO) != 0)
    {}

    void say(const std::string& text)
    {
        const std::lock_guard lock(mutex);
        erase();
        std::fputs(text.c_str(), stderr);
    }

    void showProgress()
    {
        constexpr int width = 40;
        const std::lock_guard lock(mutex);
        if (!hasBar || total <= 0) {
            return;
        }
        const qint64 done = std::min<qint64>(convert::InputFile::bytesRead, total);
        const auto filled = static_cast<std::size_t>(done * width / total);
        std::fprintf(
            stderr, "\r[%s%s] %3d %%", std::string(filled, '#').c_str(),
            std::string(width - filled, ' ').c_str(), static_cast<int>(done * 100 / total));
        isShown = true;
    }

    void erase()
    {
        if (isShown) {
            std::fputs("\r\033[K", stderr);
            isShown = false;
        }
    }

private:
    std::mutex mutex;
    const qint64 total;
    const bool hasBar;
    bool isShown = false;
};

Kind kindOf(const std::string& path, const std::string& word, const char* option)
{
    const auto kind = word.empty() ? convert::kindOfName(path) : convert::kindOfWord(word);
    if (!kind) {
        refuse(convert::shownName(path) + ": the name does not tell what it is; say " + option);
    }
    return *kind;
}

std::string outputIn(const std::string& folder, const std::string& input, Kind to)
{
    const std::filesystem::path name =
        input == "-" ? "standard-input" : std::filesystem::path(input).filename();
    const std::string stem =
        convert::kindOfName(name.string()) ? name.stem().string() : name.string();
    return (std::filesystem::path(folder) / (stem + convert::nameEnd(to))).string();
}

std::vector<Job> plan(const Options& options)
{
    std::vector<Job> jobs;
    for (const std::string& input : options.inputs) {
        Job job;
        job.input = input;
        job.from = kindOf(input, options.from, "--from");
        job.to = kindOf(options.output, options.to, "--to");
        job.output =
            options.outDir.empty() ? options.output : outputIn(options.outDir, input, job.to);
        job.replaces = options.replaces;
        const std::string why = convert::impossible(job.from, job.to, !options.signalSet.empty());
        if (!why.empty()) {
            refuse(convert::shownName(input) + ": " + why);
        }
        jobs.push_back(job);
    }
    return jobs;
}

qint64 bytesToRead(const std::vector<Job>& jobs)
{
    qint64 bytes = 0;
    for (const Job& job : jobs) {
        std::error_code error;
        const auto size = std::filesystem::file_size(job.input, error);
        const bool isReadTwice = job.from == Kind::Log;
        bytes += error ? 0 : static_cast<qint64>(size) * (isReadTwice ? 2 : 1);
    }
    return bytes;
}

// Whether all went well.
bool convertAll(const std::vector<Job>& jobs, unsigned threadCount)
{
    Console console(bytesToRead(jobs));
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> isFine = true;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t finished = 0;
    std::map<std::string, std::string> makers; // of outputs

    const auto convertOne = [&](const Job& job) {
        Report report(convert::shownName(job.input));
        std::string trouble;
        try {
            convert::convertFile(job, report);
        } catch (const std::exception& failure) {
            trouble = failure.what();
            isFine = false;
        }
        console.say(inLines(report.text() + trouble));
    };
    const auto work = [&] {
        for (std::size_t i = next++; i < jobs.size(); i = next++) {
            const Job& job = jobs[i];
            std::unique_lock lock(mutex);
            const auto [maker, isFirst] = makers.emplace(job.output, job.input);
            lock.unlock();
            if (isFirst) {
                convertOne(job);
            } else {
                isFine = false;
                console.say(inLines(
                    job.input + ": " + job.output + " is made of " + maker->second + " already"));
            }
        }
        const std::lock_guard lock(mutex);
        ++finished;
        changed.notify_one();
    };

    const std::size_t count = std::min<std::size_t>(std::max(1U, threadCount), jobs.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back(work);
    }
    std::unique_lock lock(mutex);
    while (!changed.wait_for(
        lock, std::chrono::milliseconds(200), [&] { return finished == count; })) {
        console.showProgress();
    }
    lock.unlock();
    for (std::thread& thread : threads) {
        thread.join();
    }
    console.erase();
    return isFine;
}

bool showInfo(const Options& options)
{
    bool isFine = true;
    for (const std::string& input : options.inputs) {
        const Kind from = kindOf(input, options.from, "--from");
        if (from == Kind::Database) {
            refuse(input + ": signal databases are converted, see xcu-signals");
        }
        Report report(convert::shownName(input));
        try {
            const std::string text = convert::info(input, from, report);
            std::fputs(inLines(report.text()).c_str(), stderr);
            if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
                throw Trouble("standard output", "cannot write", errno);
            }
        } catch (const std::exception& failure) {
            std::fputs(inLines(report.text() + failure.what()).c_str(), stderr);
            isFine = false;
        }
    }
    return isFine;
}

Options parsed(int argc, char** argv)
{
    Options options;
    CLI::App app("Converts logs, black-box records and CAN traces of the XCU console.");
    app.add_option("FILE", options.inputs, "files to convert; - is standard input")->required();
    app.add_option("-o,--output", options.output, "file to write; - is standard output");
    app.add_option("--out-dir", options.outDir, "folder for the outputs of several files")
        ->check(CLI::ExistingDirectory);
    app.add_option("--from", options.from, "what the files are, if not by their names")
        ->check(CLI::IsMember(convert::inputWords()));
    app.add_option("--to", options.to, "what to write, if not by the name of the output")
        ->check(CLI::IsMember(convert::outputWords()));
    app.add_option("--signals", options.signalSet, "signal set: write physical values of these");
    app.add_flag("--info", options.info, "tell what is in the files, write nothing");
    app.add_flag("--force", options.replaces, "replace files that are there");
    app.add_option("-j,--jobs", options.jobs, "files at a time")->check(CLI::Range(1, 256));
    app.set_version_flag("--version", "xcu-convert " XCU_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool isWrong = app.exit(error) != 0;
        std::exit(isWrong ? WrongUse : 0);
    }
    if (options.info) {
        return options;
    }
    if (options.output.empty() == options.outDir.empty()) {
        refuse("say where to: either -o or --out-dir");
    }
    if (!options.output.empty() && options.inputs.size() > 1) {
        refuse("several files go to a folder: --out-dir");
    }
    if (!options.outDir.empty() && options.to.empty()) {
        refuse("say what to write: --to");
    }
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = parsed(argc, argv);
    if (options.info) {
        std::signal(SIGPIPE, SIG_IGN);
        return showInfo(options) ? 0 : SomeTrouble;
    }
    std::vector<Job> jobs = plan(options);
    watchSignals();
    std::unique_ptr<convert::SignalSet> signalSet;
    if (!options.signalSet.empty()) {
        Report report(convert::shownName(options.signalSet));
        try {
            signalSet = std::make_unique<convert::SignalSet>(options.signalSet, report);
        } catch (const Trouble& trouble) {
            std::fputs(inLines(trouble.what()).c_str(), stderr);
            return SomeTrouble;
        }
        std::fputs(inLines(report.text()).c_str(), stderr);
        for (Job& job : jobs) {
            job.signalSet = signalSet.get();
        }
    }
    return convertAll(jobs, options.jobs) ? 0 : SomeTrouble;
}
