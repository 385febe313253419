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
std::vector<Found> filesOf(const std::vector<std::string>& inputs)
{
    std::vector<Found> files;
    for (const std::string& input : inputs) {
        std::error_code error;
        if (!fs::is_directory(input, error)) {
            files.push_back({input, fs::path(input).filename(), false});
            continue;
        }
        const auto before = static_cast<std::ptrdiff_t>(files.size());
        for (const auto& entry : fs::recursive_directory_iterator(input)) {
            if (entry.is_regular_file(error)) {
                files.push_back({entry.path(), entry.path().lexically_relative(input), true});
            }
        }
        std::sort(files.begin() + before, files.end(), [](const Found& a, const Found& b) {
            return a.path < b.path;
        });
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
    const std::string& output = options.all.output;
    const auto kind = options.to.empty() ? kindOfName(output) : kindOfWord(options.to);
    if (!kind || !isOf(*kind, Out)) {
        const bool isFolder = fs::is_directory(output) || (!output.empty() && output.back() == '/');
        throw UsageError(
            shownName(output) + (isFolder
                                     ? ": is a folder; use --out-dir with --to"
                                     : ": files of this kind are not written; " + kindsText(Out)));
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

bool isIn(const std::string& path, const std::string& folder)
{
    const fs::path rest = normal(path).lexically_relative(normal(folder));
    return !rest.empty() && *rest.begin() != "..";
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

Plan planOf(const Options& options)
{
    const bool isFolder = !options.outDir.empty();
    Job all = options.all;
    all.replaces = all.replaces || options.update;
    if (!options.info) {
        if (all.output.empty() && !isFolder) {
            throw UsageError("where to: either -o or --out-dir");
        }
        all.to = outputKind(options);
    }
    Plan plan;
    std::map<fs::path, std::string> makers; // of outputs
    std::size_t passedOver = 0;
    std::size_t upToDate = 0;
    for (const Found& file : filesOf(options.inputs)) {
        const auto kind = inputKind(options, file.path);
        const std::string why = !kind          ? "unknown kind of file; " + kindsText(In)
                                : options.info ? ""
                                               : unsupportedReason(all, *kind);
        if (!why.empty() && (isFolder || file.isInFolder)) {
            ++passedOver;
            continue;
        }
        if (!why.empty()) {
            throw UsageError(shownName(file.path) + ": " + why);
        }
        if (isFolder && *kind == all.to && isIn(file.path, options.outDir)) {
            ++passedOver; // made by an earlier run
            continue;
        }
        const std::string output = isFolder ? outputOf(options, file, all.to) : all.output;
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
            job.conflictsWith = isFirst ? "" : maker->second;
        }
    }
    const auto warn = [&plan](std::size_t count, const std::string& what) {
        if (count > 0) {
            plan.news += std::to_string(count) + (count == 1 ? " file " : " files ") + what + '\n';
        }
    };
    warn(passedOver, "passed over, of a kind that is not converted");
    warn(upToDate, "left as made before");
    if (plan.jobs.empty() && upToDate == 0) {
        throw UsageError(plan.news + "no file to convert");
    }
    return plan;
}

} // namespace convert
