// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/job.h"

#include <string>
#include <vector>

namespace convert {

// What the command line says.
struct Options
{
    std::vector<std::string> inputs;
    std::string output;
    std::string outDir;
    std::string from;
    std::string to;
    std::string database;
    Selection selection;
    bool wantsFrames = false;
    bool info = false;
    bool replaces = false;
    bool update = false;
    unsigned jobs = 0; // at a time
};

// A command line that cannot be followed; the text says why.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

struct Plan
{
    std::vector<Job> jobs;
    std::string news; // lines for the user
};

// What is to be done. Folders are looked through; files in them, and with --out-dir all, that
// cannot become such an output are passed over. Throws UsageError. The database may be null.
Plan planOf(const Options& options, const Database* database);

} // namespace convert
