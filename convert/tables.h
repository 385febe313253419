// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/partfile.h"
#include "convert/signals.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace convert {

// Text into a part file, by large blocks.
class TextOutput
{
public:
    TextOutput(const std::string& path, bool replaces);

    // Room for `size` bytes. What is written there counts once advanceTo() was called.
    char* room(std::size_t size)
    {
        if (size > buffer.size() - used) {
            makeRoom(size);
        }
        return buffer.data() + used;
    }
    void advanceTo(const char* end) { used = static_cast<std::size_t>(end - buffer.data()); }

    void put(std::string_view text);
    void endRow() // of CSV
    {
        put("\r\n");
        ++rows;
    }
    void commit();

    std::int64_t rows = 0; // the one with the names among them

private:
    void makeRoom(std::size_t size);

    PartFile file;
    std::string buffer;
    std::size_t used = 0;
};

// Writers of text. What a format cannot say is reported. The other objects outlive them.
using TextTarget = std::unique_ptr<formats::RecordingTarget>;

// A log as CSV, RFC 4180: time_s, a column a channel, tag. The tag stands in the row of the record
// of its time, if that is the one before or behind it, else in a row of its own; several at one
// time stand in one cell, separated by "; ".
TextTarget logTable(TextOutput& output, const Survey& survey, const std::vector<Channel>& channels);

// Physical values as CSV: time_s and a column a signal; a row a frame that carries one of them.
TextTarget signalTable(TextOutput& output, const SignalPlan& plan);

// Frames as Candump, Asc or Csv. Times of an .asc are those of the recording, counted from the date
// in its header, 1970.
TextTarget frameList(Kind kind, TextOutput& output, Report& report);

} // namespace convert
