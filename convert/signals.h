// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/recording.h"
#include "formats/cansignals.h"

namespace convert {

// The signals of a signal database, which xcu-signals reads, of a table that it made, or of a
// console's signal set.
class Database
{
public:
    // Throws ConversionError for a file without a signal.
    Database(const std::string& databasePath, Report& report);

    const std::string path;
    std::vector<formats::CanSignal> all;
};

// A frame that occurs on a bus, with its signals.
struct Message
{
    FrameKey key;
    std::string name; // "can0 Engine"
    std::vector<const formats::CanSignal*> contents;
    std::vector<std::string> names; // of its signals, each unique in all messages
};

// Which messages of a database occur among the frames of some recordings, with the signals that are
// selected. The database outlives it.
class SignalPlan
{
public:
    SignalPlan(
        const Database& database, const std::vector<Survey>& surveys, const Selection& selection);

    // The place of a frame's message in `messages`, or -1.
    int find(const formats::TraceFrame& frame) const;

    // What a user should know ahead of the first value.
    void warn(const Database& database, Report& report) const;

    std::vector<Message> messages;

private:
    std::map<FrameKey, int> places;
};

// "can0"; "can" if a trace names none.
std::string busName(int bus);

} // namespace convert
