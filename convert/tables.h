// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/signals.h"
#include "platform/partfile.h"

#include <memory>

namespace convert {

// Writers of text. What a format cannot say is reported. The other objects outlive them.
using TextTarget = std::unique_ptr<formats::RecordingTarget>;

// A log as CSV, RFC 4180: time_s, a column a channel, tag. The tag stands in the row of the record
// of its time, if that is the one before or behind it, else in a row of its own; several at one
// time stand in one cell, separated by "; ".
TextTarget logTable(
    platform::TextOutput& output, const Survey& survey, const std::vector<Channel>& channels);

// Physical values as CSV: time_s and a column a signal; a row a frame that carries one of them.
TextTarget signalTable(platform::TextOutput& output, const SignalPlan& plan);

// Frames as Candump, Asc or Csv. Times of an .asc are those of the recording, counted from the date
// in its header, 1970.
TextTarget frameList(Kind kind, platform::TextOutput& output, Report& report);

} // namespace convert
