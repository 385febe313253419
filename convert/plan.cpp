// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/plan.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace convert {

namespace {

namespace fs = std::filesystem;

struct Found
{
    fs::path path;
    fs::path relative; // to the folder in which it was found
    bool isInFolder = false;
};

std::string kindsText(Use use)
{
    return std::string(use == In ? "--from" : "--to") + " takes " + wordsOf(use);
}

// The files, and those in the folders, by their names.
std::vector<Found> filesOf(const Options& options)
{
    std::vector<Found> files;
    for (const std::string& input : options.inputs) {
        std::error_code error;
        if (!fs::is_directory(input, error)) {
            files.push_back({input, fs::path(input).filename(), false});
            continue;
        }
        const std::size_t before = files.size();
        const bool hasOutputs = !options.outDir.empty() && fs::exists(options.outDir, error) &&
                                !fs::equivalent(options.outDir, input, error);
        fs::recursive_directory_iterator entries(input, error);
        for (; !error && entries != fs::recursive_directory_iterator(); entries.increment(error)) {
            if (hasOutputs && entries->is_directory(error) &&
                fs::equivalent(options.outDir, entries->path(), error)) {
                entries.disable_recursion_pending();
            } else if (entries->is_regular_file(error)) {
                files.push_back({entries->path(), entries->path().lexically_relative(input), true});
            }
        }
        if (error) {
            throw UsageError(input + ": cannot be looked through: " + error.message());
        }
        std::sort(
            files.begin() + static_cast<std::ptrdiff_t>(before), files.end(),
            [](const Found& a, const Found& b) { return a.path < b.path; });
    }
    return files;
}

// None for a file whose name tells nothing, or something else than what can be read.
std::optional<Kind> inputKind(const Options& options, const std::string& path)
{
    const auto kind = options.from.empty() ? kindOfName(path) : kindOfWord(options.from);
    return kind && isOf(*kind, In) ? kind : std::nullopt;
}

Kind outputKind(const Options& options)
{
    const auto kind = options.to.empty() ? kindOfName(options.output) : kindOfWord(options.to);
    if (!kind || !isOf(*kind, Out)) {
        const bool isFolder = !options.output.empty() &&
                              (options.output.back() == '/' || fs::is_directory(options.output));
        throw UsageError(
            isFolder ? options.output + ": is a folder; use --out-dir with --to"
                     : platform::shownName(options.output) +
                           ": files of this kind are not written; " + kindsText(Out));
    }
    return *kind;
}

bool isNewer(const std::string& output, const std::string& input)
{
    std::error_code error;
    const auto made = fs::last_write_time(output, error);
    const auto changed = error ? fs::file_time_type::max() : fs::last_write_time(input, error);
    return !error && made >= changed;
}

fs::path normal(const std::string& path)
{
    return fs::absolute(path).lexically_normal();
}

std::string outputOf(const Options& options, const Found& file, Kind to)
{
    fs::path name = file.path == "-" ? "standard-input" : file.relative;
    if (kindOfName(name)) {
        name.replace_extension();
    }
    return fs::path(options.outDir) / (name.string() + '.' + wordOf(to));
}

} // namespace

Plan planOf(const Options& options, const Database* database)
{
    const bool isFolder = !options.outDir.empty();
    Job all;
    all.output = options.output;
    all.replaces = options.replaces || options.update;
    all.wantsFrames = options.wantsFrames;
    all.database = database;
    all.selection = options.selection;
    if (!options.info) {
        if (options.output.empty() && !isFolder) {
            throw UsageError("where to: either -o or --out-dir");
        }
        all.to = outputKind(options);
    }
    Plan plan;
    std::map<fs::path, std::string> makers; // of outputs
    std::size_t passedOver = 0;
    std::size_t upToDate = 0;
    for (const Found& file : filesOf(options)) {
        const auto kind = inputKind(options, file.path);
        const std::string why = !kind          ? "unknown kind of file; " + kindsText(In)
                                : options.info ? ""
                                               : impossible(all, *kind);
        if (!why.empty() && (isFolder || file.isInFolder)) {
            ++passedOver;
            continue;
        }
        if (!why.empty()) {
            throw UsageError(platform::shownName(file.path) + ": " + why);
        }
        const std::string output = isFolder ? outputOf(options, file, all.to) : options.output;
        if (isFolder && normal(output) == normal(file.path)) { // made by an earlier run
            ++passedOver;
            continue;
        }
        if (options.update && isNewer(output, file.path)) {
            ++upToDate;
            continue;
        }
        const bool isAnother = options.info || isFolder || plan.jobs.empty();
        Job& job = isAnother ? plan.jobs.emplace_back(all) : plan.jobs.back();
        job.inputs.push_back({file.path, *kind});
        job.output = output;
        if (!options.info && job.inputs.size() > 1 && !isContainer(job.to)) {
            throw UsageError("several files: go into one .h5 or .mf4, or to a folder by --out-dir");
        }
        if (isFolder) {
            const auto [maker, isFirst] = makers.emplace(normal(output), file.path);
            job.rival = isFirst ? "" : maker->second;
        }
    }
    const auto tell = [&plan](std::size_t count, const std::string& what) {
        if (count > 0) {
            plan.news += std::to_string(count) + (count == 1 ? " file " : " files ") + what + '\n';
        }
    };
    tell(passedOver, "passed over, of a kind that is not converted");
    tell(upToDate, "left as made before");
    if (plan.jobs.empty() && upToDate == 0) {
        throw UsageError(plan.news + "no file to convert");
    }
    return plan;
}

} // namespace convert
