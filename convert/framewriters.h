// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/kinds.h"
#include "convert/outputfile.h"
#include "convert/report.h"

namespace convert {

// A writer of Candump, Asc or Csv, which reports what the format cannot say. The other objects
// outlive it.
//
// Asc: as log2asc writes it, channels counted from 1. Times are those of the trace, counted from
// the date in the header, 1970. Csv: time_s,bus,id,extended,fd,brs,remote,length,data.
formats::FrameFunction frameWriter(Kind kind, TextOutput& output, Report& report);

} // namespace convert
