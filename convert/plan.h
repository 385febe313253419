// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/job.h"

#include <string>
#include <vector>

namespace convert {

// What the command line says.
struct Options
{
    Job all; // what the jobs have in common
    std::vector<std::string> inputs;
    std::string outDir;
    std::string from;
    std::string to;
    std::string database;
    bool info = false;
    bool update = false;
    unsigned jobs = 0; // at a time
};

// A command line that cannot be followed; the text says why.
struct UsageError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

struct Plan
{
    std::vector<Job> jobs;
    std::string news; // lines for the user
};

// What is to be done. Folders are looked through; files in them, and with --out-dir all, that
// cannot become such an output are passed over. Throws UsageError.
Plan planOf(const Options& options);

} // namespace convert
