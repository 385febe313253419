// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/blackboxlog.h"

#include "formats/blackboxreader.h"

#include <algorithm>

namespace convert {

namespace {

using Values = std::vector<int>;

class RecordSink : public formats::BlackboxSink
{
public:
    void addFrame(const formats::TraceFrame& /*frame*/) override {}
    void addOddity(const char* /*what*/, std::int64_t /*line*/) override {}
};

class ShapeSink : public RecordSink
{
public:
    BlackboxShape shape;

    void addRecord(quint32 /*timestamp*/, const Values& inputs, const Values& outputs) override
    {
        shape.mostInputs = std::max(shape.mostInputs, inputs.size());
        shape.leastInputs = std::min(shape.leastInputs, inputs.size());
        shape.mostOutputs = std::max(shape.mostOutputs, outputs.size());
        shape.leastOutputs = std::min(shape.leastOutputs, outputs.size());
    }
};

class LogAdapter : public RecordSink
{
public:
    LogAdapter(const BlackboxShape& fileShape, LogTarget& logTarget, Report* fileReport)
        : shape(fileShape)
        , target(logTarget)
        , report(fileReport)
    {}

    void addRecord(quint32 timestamp, const Values& inputs, const Values& outputs) override
    {
        text.clear();
        append(inputs, shape.mostInputs);
        append(outputs, shape.mostOutputs);
        target.addRecord({number++, timestamp, text, shape.mostInputs + shape.mostOutputs, 0});
    }

    void addOddity(const char* what, std::int64_t line) override
    {
        if (report != nullptr) {
            report->odd(what, line);
        }
    }

private:
    void append(const Values& values, std::size_t count)
    {
        for (const int value : values) {
            text += std::to_string(value) + ';';
        }
        text.append(count - values.size(), ';');
    }

    const BlackboxShape& shape;
    LogTarget& target;
    Report* const report;
    std::string text;
    std::uint32_t number = 0;
};

void appendNames(std::vector<std::string>& names, const char* word, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        names.push_back(word + std::to_string(i));
    }
}

} // namespace

std::size_t BlackboxShape::wholeChannels() const
{
    if (leastInputs < mostInputs) {
        return leastInputs;
    }
    return mostInputs + std::min(leastOutputs, mostOutputs);
}

BlackboxShape blackboxShape(InputFile& file)
{
    ShapeSink sink;
    formats::readBlackbox(file, sink);
    return sink.shape;
}

void readBlackboxLog(InputFile& file, const BlackboxShape& shape, LogTarget& target, Report* report)
{
    std::vector<std::string> names;
    appendNames(names, "In", shape.mostInputs);
    appendNames(names, "Out", shape.mostOutputs);
    target.addHeader(names);
    LogAdapter adapter(shape, target, report);
    formats::readBlackbox(file, adapter);
    file.check();
}

} // namespace convert
