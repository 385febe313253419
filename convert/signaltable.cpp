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

// Decodes with the console's own decoder, from the frames that its charts have.
class SignalTarget : public FrameTarget
{
public:
    SignalTarget(const SignalSet& signalSet, Report& fileReport)
        : FrameTarget(fileReport)
        , set(signalSet)
    {}

    void put(const formats::TraceFrame& frame) final
    {
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
            addValues(frame.time);
        }
    }

protected:
    virtual void addValues(double time) = 0;

    const SignalSet& set;
    std::vector<std::pair<std::size_t, double>> values; // of a frame, by their places in the set
};

class SignalCsv : public SignalTarget
{
public:
    SignalCsv(const SignalSet& signalSet, TextOutput& output, Report& fileReport)
        : SignalTarget(signalSet, fileReport)
        , out(output)
    {
        out.put("time_s");
        for (const std::string& name : set.names) {
            out.put(',' + csvField(name));
        }
        out.put("\r\n");
    }

private:
    void addValues(double time) override
    {
        char* end = out.room((1 + set.names.size()) * (MaxRealLength + 1) + 2);
        end = formats::putMicroseconds(end, time);
        std::size_t column = 0;
        for (const auto& [place, value] : values) {
            end = std::fill_n(end, place + 1 - column, ',');
            end = std::to_chars(end, end + MaxRealLength, value).ptr;
            column = place + 1;
        }
        end = std::fill_n(end, set.names.size() - column, ',');
        out.advanceTo(formats::putText(end, "\r\n"));
    }

    TextOutput& out;
};

class SignalHdf5 : public SignalTarget
{
public:
    SignalHdf5(const SignalSet& signalSet, Hdf5File& output, Report& fileReport)
        : SignalTarget(signalSet, fileReport)
    {
        const std::vector<std::string> parts = pathParts(set.names, "signal");
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const std::string group = "/signals/" + parts[i];
            const std::string& name = set.names[i];
            columns.emplace_back(
                &output.addColumn(group + "/time_s", Hdf5Column::Real, "time_s", "s"),
                &output.addColumn(group + "/value", Hdf5Column::Real, name, unitOf(name)));
        }
    }

private:
    void addValues(double time) override
    {
        for (const auto& [place, value] : values) {
            columns[place].first->append(time);
            columns[place].second->append(value);
        }
    }

    std::vector<std::pair<Hdf5Column*, Hdf5Column*>> columns; // time and value
};

} // namespace

SignalSet::SignalSet(const std::string& path, Report& report)
{
    InputFile file(path);
    std::int64_t line = 0;
    std::vector<std::string> given;
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
        byId[signal.frameId].push_back(given.size());
        signalList.append(signal);
        given.push_back(shown);
    }
    if (signalList.isEmpty()) {
        throw ConversionError(shownName(path) + ": has no signal");
    }
    names = uniqueNames(given, {"time_s"}, "signal");
}

std::unique_ptr<FrameTarget> signalWriter(const SignalSet& set, TextOutput& output, Report& report)
{
    return std::make_unique<SignalCsv>(set, output, report);
}

std::unique_ptr<FrameTarget> signalWriter(const SignalSet& set, Hdf5File& output, Report& report)
{
    return std::make_unique<SignalHdf5>(set, output, report);
}

} // namespace convert
