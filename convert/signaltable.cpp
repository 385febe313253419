// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/signaltable.h"

#include "convert/inputfile.h"
#include "convert/logwriters.h"
#include "formats/candumpline.h"
#include "formats/signaldecoder.h"
#include "formats/signalset.h"

#include <algorithm>
#include <charconv>

namespace convert {

namespace {

constexpr std::size_t MaxRealLength = 32;

// Decodes with the console's own decoder, from the frames that its charts have.
class SignalTarget : public FrameTarget
{
public:
    explicit SignalTarget(const SignalSet& signalSet)
        : set(signalSet)
        , values(static_cast<std::size_t>(signalSet.signalList.size()))
    {}

    void addFrame(const formats::TraceFrame& frame) override
    {
        const auto carried = set.byId.find(static_cast<int>(frame.id));
        if (carried == set.byId.end() || frame.isRemote || frame.isError) {
            return;
        }
        const CanFrames drawn = formats::chartFrame(frame);
        bool carriesOne = false;
        for (const std::size_t i : carried->second) {
            values[i] = formats::signalValue(set.signalList[static_cast<int>(i)], drawn);
            carriesOne = carriesOne || values[i];
        }
        if (carriesOne) {
            addValues(frame.time, carried->second);
        }
        for (const std::size_t i : carried->second) {
            values[i].reset();
        }
    }

protected:
    // `values` has those of the frame, which can be at the given places only.
    virtual void addValues(double time, const std::vector<std::size_t>& places) = 0;

    const SignalSet& set;
    std::vector<std::optional<double>> values;
};

class SignalCsv : public SignalTarget
{
public:
    SignalCsv(const SignalSet& signalSet, TextOutput& output)
        : SignalTarget(signalSet)
        , out(output)
    {
        out.put("time_s");
        for (const std::string& name : set.names) {
            out.put(',' + csvField(name));
        }
        out.put("\r\n");
    }

private:
    void addValues(double time, const std::vector<std::size_t>& /*places*/) override
    {
        char* end = out.room((1 + values.size()) * (MaxRealLength + 1) + 2);
        end = formats::putMicroseconds(end, time);
        for (const auto& value : values) {
            *end++ = ',';
            end = value ? std::to_chars(end, end + MaxRealLength, *value).ptr : end;
        }
        *end++ = '\r';
        *end++ = '\n';
        out.advanceTo(end);
    }

    TextOutput& out;
};

class SignalHdf5 : public SignalTarget
{
public:
    SignalHdf5(const SignalSet& signalSet, Hdf5File& output)
        : SignalTarget(signalSet)
    {
        for (std::string name : set.names) {
            std::replace(name.begin(), name.end(), '/', '|');
            const std::string group = "/signals/" + name;
            columns.push_back(
                {output.addColumn(group, "time_s", Hdf5Column::Real, "s"),
                 output.addColumn(group, "value", Hdf5Column::Real, unitOf(name))});
        }
    }

    void finish() override
    {
        for (const auto& [times, physical] : columns) {
            times->flush();
            physical->flush();
        }
    }

private:
    void addValues(double time, const std::vector<std::size_t>& places) override
    {
        for (const std::size_t i : places) {
            if (values[i]) {
                columns[i].first->append(time);
                columns[i].second->append(*values[i]);
            }
        }
    }

    std::vector<std::pair<std::unique_ptr<Hdf5Column>, std::unique_ptr<Hdf5Column>>> columns;
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
        throw Trouble(shownName(path) + ": has no signal");
    }
    names = toldApart(given, {"time_s"}, "signal");
}

std::unique_ptr<FrameTarget> signalWriter(const SignalSet& set, TextOutput& output)
{
    return std::make_unique<SignalCsv>(set, output);
}

std::unique_ptr<FrameTarget> signalWriter(const SignalSet& set, Hdf5File& output)
{
    return std::make_unique<SignalHdf5>(set, output);
}

} // namespace convert
