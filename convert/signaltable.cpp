// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/signaltable.h"

#include "convert/inputfile.h"
#include "convert/logwriters.h"
#include "formats/candumpline.h"
#include "formats/signaldecoder.h"
#include "formats/signalset.h"
#include "formats/textfield.h"

#include <algorithm>
#include <charconv>

namespace convert {

namespace {

constexpr std::size_t MaxRealLength = 32;

using Values = std::vector<std::pair<std::size_t, double>>; // by their places in the set

// Gives the values of each frame that carries any to take(time, values). Decodes with the console's
// own decoder, from the frames that its charts have.
template <typename Take>
formats::FrameFunction decoder(const SignalSet& set, Take take)
{
    return [&set, take, values = Values()](const formats::TraceFrame& frame) mutable {
        const auto carried = set.byId.find(static_cast<int>(frame.id));
        if (carried == set.byId.end() || frame.isRemote || frame.isError) {
            return;
        }
        const CanFrames drawn = formats::chartFrame(frame);
        values.clear();
        for (const std::size_t place : carried->second) {
            const CanSignalData& signal = set.signalList[static_cast<int>(place)];
            if (const auto value = formats::signalValue(signal, drawn)) {
                values.emplace_back(place, *value);
            }
        }
        if (!values.empty()) {
            take(frame.time, values);
        }
    };
}

} // namespace

SignalSet::SignalSet(const std::string& path, Report& report)
{
    InputFile file(path);
    std::int64_t line = 0;
    for (CanSignalData signal : formats::readSignalSet(file)) {
        ++line;
        const std::string name = signal.signalName.toStdString();
        const std::string shown = name.empty() ? "signal " + std::to_string(line) : name;
        if (!formats::isDrawable(signal)) {
            report.odd(shown + ": not within 64 bytes, left out", line);
            continue;
        }
        if (signal.showMode == formats::NotPlotted) {
            report.odd("\"Show\" is 0, taken as 1", line);
            signal.showMode = formats::UnsignedLeastFirst;
        }
        byId[signal.frameId].push_back(names.size());
        signalList.append(signal);
        names.push_back(shown);
    }
    if (signalList.isEmpty()) {
        throw ConversionError(shownName(path) + ": has no signal");
    }
    names = uniqueNames(names, {"time_s"}, "signal");
}

formats::FrameFunction signalWriter(const SignalSet& set, TextOutput& output)
{
    output.put("time_s");
    for (const std::string& name : set.names) {
        output.put(',' + csvField(name));
    }
    output.put("\r\n");
    return decoder(set, [&output, count = set.names.size()](double time, const Values& values) {
        char* end = output.room((1 + count) * (MaxRealLength + 1) + 2);
        end = formats::putMicroseconds(end, time);
        std::size_t column = 0;
        for (const auto& [place, value] : values) {
            end = std::fill_n(end, place + 1 - column, ',');
            end = std::to_chars(end, end + MaxRealLength, value).ptr;
            column = place + 1;
        }
        end = std::fill_n(end, count - column, ',');
        output.advanceTo(formats::putText(end, "\r\n"));
    });
}

formats::FrameFunction signalWriter(const SignalSet& set, Hdf5File& output)
{
    const std::vector<std::string> parts = pathParts(set.names, "signal");
    std::vector<std::pair<Hdf5Column*, Hdf5Column*>> columns; // time and value
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::string group = "/signals/" + parts[i];
        const std::string& name = set.names[i];
        columns.emplace_back(
            &output.addColumn(group + "/time_s", Hdf5Column::Real, "time_s", "s"),
            &output.addColumn(group + "/value", Hdf5Column::Real, name, unitOf(name)));
    }
    return decoder(set, [columns](double time, const Values& values) {
        for (const auto& [place, value] : values) {
            columns[place].first->append(time);
            columns[place].second->append(value);
        }
    });
}

} // namespace convert
