// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/kinds.h"
#include "convert/outputfile.h"
#include "convert/report.h"

#include <memory>

namespace convert {

// Takes the frames of a trace, in file order.
class FrameTarget
{
public:
    virtual ~FrameTarget() = default;
    virtual void addFrame(const formats::TraceFrame& frame) = 0;
    virtual void finish() {} // behind the last frame
};

// A writer of Candump, Asc or Csv. The other objects outlive it.
//
// Asc: as log2asc writes it, channels counted from 1. Times are those of the trace, counted from
// the date in the header, 1970. Csv: time_s,bus,id,extended,fd,brs,remote,length,data.
std::unique_ptr<FrameTarget> frameWriter(Kind kind, TextOutput& output);

} // namespace convert
