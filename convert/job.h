// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/kinds.h"
#include "convert/signals.h"

#include <deque>

namespace convert {

struct Input
{
    std::string path; // "-" is standard input
    Kind kind = Kind::Log;
};

// One file to be written, or one to be told about.
struct Job
{
    std::vector<Input> inputs; // several for a container alone
    Kind to = Kind::Csv;
    std::string output;
    std::string conflictsWith; // another input that has this output already, if there is one
    bool replaces = false;
    bool wantsFrames = false; // of a black-box record, not its records
    const Database* database = nullptr;
    Selection selection;
};

using Reports = std::deque<Report>; // of the inputs

// Why an input of this kind does not become the output; empty if it does.
std::string unsupportedReason(const Job& job, Kind from);

// Throws ConversionError; then there is no output.
void convertFile(const Job& job, Reports& reports);

// Tells on standard output what is in a file, in lines for people. Throws ConversionError.
void showInfo(const Job& job, Reports& reports);

} // namespace convert
