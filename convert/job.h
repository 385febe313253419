// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/inputfile.h"
#include "convert/kinds.h"
#include "convert/report.h"
#include "convert/signaltable.h"

namespace convert {

// One file to be converted.
struct Job
{
    std::string input; // "-" is standard input
    Kind from = Kind::Log;
    std::string fromWord; // if it is not `input` that tells
    Kind to = Kind::Csv;
    std::string output;
    std::string rival; // another input that has this output already, if there is one
    bool replaces = false;
    bool wantsFrames = false;             // of a black-box record, not its records
    const SignalSet* signalSet = nullptr; // physical values of these instead of frames
};

// Why a file of this kind does not become one of the other; empty if it does.
std::string impossible(const Job& job);

// Throws ConversionError; then there is no output.
void convertFile(const Job& job, Report& report);

// Tells on standard output what is in a file, in lines for people. Throws ConversionError.
void showInfo(const Job& job, Report& report);

// Throws ConversionError for a file that cannot be of that kind, by its first bytes.
void checkKind(InputFile& file, Kind kind);

// Gives the frames of a trace or a black-box record. Throws ConversionError if there is none.
void readFramesOf(InputFile& file, Kind kind, formats::FrameFunction take, Report& report);

} // namespace convert
