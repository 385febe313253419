// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/container.h"
#include "convert/signals.h"

#include <array>
#include <deque>

namespace convert {

// Puts recordings of one drive into a container: for each log a table of its channels, for all
// together tables of their CAN frames and, for each message and bus, of the signals, and the tags.
// A clock that restarts begins a table anew.
class DriveWriter : public formats::RecordingTarget
{
public:
    // `plan` may be null. The other objects outlive it.
    DriveWriter(
        Container& output, const std::vector<Survey>& surveys, const SignalPlan* signalPlan);

    // The next recording.
    void begin(const Survey& survey, const std::vector<Channel>& channels);

    void addRecord(const formats::LogRecord& record) override;
    void addTag(std::optional<std::uint32_t> milliseconds, std::string_view text) override;
    void addFrame(const formats::TraceFrame& frame) override;
    void finish() override; // behind the last recording

private:
    void putFrame(const formats::TraceFrame& frame);
    void putSignals(const formats::TraceFrame& frame);

    Container& container;
    const SignalPlan* const plan;
    const std::size_t frameBytes; // of the longest payload
    Table* log = nullptr;
    std::vector<int> fieldOf;       // by channel; -1 for one that is left out
    double firstTime = 0.0;         // s, of the recording's first record
    std::array<Table*, 3> frames{}; // data, remote, error
    std::vector<Table*> messages;   // by their place in the plan
    std::vector<Tag> tags;
};

// What a container tells of where the recordings come from, by their paths and times.
Origin originOf(const std::vector<std::string>& paths, const std::deque<Recording>& recordings);

} // namespace convert
