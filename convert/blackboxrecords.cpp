// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/logsource.h"
#include "formats/blackboxreader.h"

#include <algorithm>
#include <functional>

namespace convert {

namespace {

using Values = std::vector<int>;

class RecordSink : public formats::BlackboxSink
{
public:
    using Function = std::function<void(quint32 time, const Values& in, const Values& out)>;

    explicit RecordSink(Function takeRecord)
        : take(std::move(takeRecord))
    {}

    void addRecord(quint32 time, const Values& inputs, const Values& outputs) override
    {
        take(time, inputs, outputs);
    }
    void addFrame(const formats::TraceFrame&) override {}
    void addOddity(const char* what, std::int64_t line) override
    {
        if (report != nullptr) {
            report->odd(what, line);
        }
    }

    Report* report = nullptr;

private:
    const Function take;
};

struct Range
{
    std::size_t least = SIZE_MAX;
    std::size_t most = 0;

    void take(std::size_t size)
    {
        least = std::min(least, size);
        most = std::max(most, size);
    }
};

void appendValues(std::string& text, const Values& values, std::size_t count)
{
    for (const int value : values) {
        text += std::to_string(value) + ';';
    }
    text.append(count - values.size(), ';');
}

} // namespace

void surveyBlackbox(InputFile& file, LogSurvey& survey, Report& report)
{
    Range inputs;
    Range outputs;
    RecordSink sink([&](quint32 time, const Values& in, const Values& out) {
        inputs.take(in.size());
        outputs.take(out.size());
        survey.addRecord({static_cast<std::uint32_t>(survey.records), time, {}, 0, 0});
    });
    sink.report = &report;
    formats::readBlackbox(file, sink);
    file.check();
    survey.inputs = inputs.most;
    survey.widest = inputs.most + outputs.most;
    survey.narrowest = inputs.least < inputs.most ? inputs.least : inputs.most + outputs.least;
    for (std::size_t i = 0; i < survey.widest; ++i) {
        const bool isInput = i < inputs.most;
        survey.labels.push_back(
            isInput ? "In" + std::to_string(i) : "Out" + std::to_string(i - inputs.most));
    }
}

void readBlackboxRecords(InputFile& file, const LogSurvey& survey, LogTarget& target)
{
    std::string text;
    std::uint32_t number = 0;
    RecordSink sink([&](quint32 time, const Values& in, const Values& out) {
        text.clear();
        appendValues(text, in, survey.inputs);
        appendValues(text, out, survey.widest - survey.inputs);
        target.addRecord({number++, time, text, survey.widest, 0});
    });
    formats::readBlackbox(file, sink);
    file.check();
}

} // namespace convert
