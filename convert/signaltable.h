// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/hdf5file.h"
#include "convert/report.h"
#include "formats/signaldecoder.h"
#include "formats/traceframes.h"

#include <QVector>
#include <unordered_map>

namespace convert {

// A signal set, ready to be decoded: names for columns, by identifier. "Show" 0 is taken as 1, and
// said so.
struct SignalSet
{
    // Throws ConversionError for a file that has no signal.
    SignalSet(const std::string& path, Report& report);

    QVector<CanSignalData> signalList; // those that lie within a frame
    std::vector<std::string> names;
    std::unordered_map<int, std::vector<std::size_t>> byId;
};

// Physical values as CSV: time_s and a column a signal; a row a frame that carries one of them.
formats::FrameFunction signalWriter(const SignalSet& set, TextOutput& output);

// Physical values as HDF5: for each signal a group below "signals" with time_s and value.
formats::FrameFunction signalWriter(const SignalSet& set, Hdf5File& output);

} // namespace convert
