// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/kinds.h"
#include "convert/outputfile.h"
#include "convert/report.h"
#include "formats/blackboxreader.h"

#include <memory>

namespace convert {

// Takes the frames of a trace or of a black-box record, in file order. What is odd about them is
// reported.
class FrameTarget : public formats::BlackboxSink
{
public:
    explicit FrameTarget(Report& fileReport)
        : report(fileReport)
    {}

    double timeFactor = 1.0;
    std::int64_t count = 0; // of frames

    void addFrame(const formats::TraceFrame& frame) final;
    void addOddity(const char* what, std::int64_t line) final { report.odd(what, line); }
    void addRecord(quint32, const std::vector<int>&, const std::vector<int>&) final {}

protected:
    virtual void put(const formats::TraceFrame& frame) = 0;

    Report& report;
};

// A writer of Candump, Asc or Csv, which reports what the format cannot say. The other objects
// outlive it.
//
// Asc: as log2asc writes it, channels counted from 1. Times are those of the trace, counted from
// the date in the header, 1970. Csv: time_s,bus,id,extended,fd,brs,remote,length,data.
std::unique_ptr<FrameTarget> frameWriter(Kind kind, TextOutput& output, Report& report);

} // namespace convert
