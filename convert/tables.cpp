// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/tables.h"

#include "formats/candumpline.h"
#include "formats/framelines.h"
#include "formats/textfield.h"

#include <algorithm>

namespace convert {

namespace {

using formats::LogRecord;
using formats::RecordingTarget;
using formats::TraceFrame;

class LogTable : public RecordingTarget
{
public:
    LogTable(TextOutput& output, const Survey& survey, const std::vector<Channel>& channels)
        : out(output)
        , columnCount(channels.size())
        , isWhole(channels.size() == survey.widest)
        , isColumn(survey.widest)
    {
        out.put("time_s,");
        for (const Channel& channel : channels) {
            isColumn[static_cast<std::size_t>(channel.number)] = true;
            out.put(formats::csvField(channel.name) + ',');
        }
        out.put("tag");
        out.endRow();
    }

    void addRecord(const LogRecord& record) override
    {
        endRow();
        for (const Tag& tag : waiting) {
            if (tag.time == record.milliseconds) {
                appendToTag(tag.text);
            } else {
                putTagRow(tag);
            }
        }
        waiting.clear();
        char* place = out.room(formats::MaxSecondsLength + record.values.size() + columnCount + 1);
        place = formats::putSeconds(place, record.milliseconds);
        *place++ = ',';
        const std::size_t width = isWhole ? record.width : columnCount;
        place = isWhole ? putAll(place, record.values) : putSelected(place, record.values);
        out.advanceTo(std::fill_n(place, columnCount - width, ','));
        openRow = record.milliseconds;
    }

    void addTag(std::optional<std::uint32_t> milliseconds, std::string_view text) override
    {
        if (openRow && openRow == milliseconds) {
            appendToTag(text);
        } else {
            waiting.push_back({milliseconds, std::string(text)});
        }
    }

    void finish() override
    {
        endRow();
        for (const Tag& tag : waiting) {
            putTagRow(tag);
        }
    }

private:
    struct Tag
    {
        std::optional<std::uint32_t> time;
        std::string text;
    };

    // The digits are taken over as they stand, many times as fast as numbers would be.
    static char* putAll(char* place, std::string_view values)
    {
        return std::replace_copy(values.begin(), values.end(), place, ';', ',');
    }

    char* putSelected(char* place, std::string_view values) const
    {
        for (const bool isSelected : isColumn) {
            const std::string_view field = formats::takeField(values, ';');
            if (isSelected) {
                place = formats::putText(place, field);
                *place++ = ',';
            }
        }
        return place;
    }

    void appendToTag(std::string_view text)
    {
        openTag.append(openTag.empty() ? "" : "; ").append(text);
    }

    void putTagRow(const Tag& tag)
    {
        char* place = out.room(formats::MaxSecondsLength + columnCount + 1);
        place = tag.time ? formats::putSeconds(place, *tag.time) : place;
        out.advanceTo(std::fill_n(place, columnCount + 1, ','));
        out.put(formats::csvField(tag.text));
        out.endRow();
    }

    void endRow()
    {
        if (openRow) {
            out.put(formats::csvField(openTag));
            out.endRow();
            openRow.reset();
            openTag.clear();
        }
    }

    TextOutput& out;
    const std::size_t columnCount;
    const bool isWhole;                   // all channels are columns
    std::vector<bool> isColumn;           // by channel
    std::optional<std::uint32_t> openRow; // the time of the row that still lacks its tag
    std::string openTag;
    std::vector<Tag> waiting; // tags that may belong to the next record
};

class SignalTable : public RecordingTarget
{
public:
    SignalTable(TextOutput& output, const SignalPlan& signalPlan)
        : out(output)
        , plan(signalPlan)
    {
        out.put("time_s");
        for (const Message& message : plan.messages) {
            firstColumns.push_back(columnCount);
            columnCount += message.names.size();
            for (const std::string& name : message.names) {
                out.put(',' + formats::csvField(name));
            }
        }
        out.endRow();
    }

    void addFrame(const TraceFrame& frame) override
    {
        const int place = plan.find(frame);
        if (place < 0) {
            return;
        }
        const auto& contents = plan.messages[static_cast<std::size_t>(place)].contents;
        const std::size_t before = firstColumns[static_cast<std::size_t>(place)];
        char* end = out.room((1 + contents.size()) * (formats::MaxRealLength + 1) + columnCount);
        end = std::fill_n(formats::putMicroseconds(end, frame.time), before, ',');
        bool hasValue = false;
        for (const formats::CanSignal* signal : contents) {
            *end++ = ',';
            if (const auto value = signal->value(frame)) {
                hasValue = true;
                end = formats::putReal(end, *value);
            }
        }
        if (hasValue) {
            out.advanceTo(std::fill_n(end, columnCount - before - contents.size(), ','));
            out.endRow();
        }
    }

private:
    TextOutput& out;
    const SignalPlan& plan;
    std::vector<std::size_t> firstColumns; // by message
    std::size_t columnCount = 0;
};

class FrameList : public RecordingTarget
{
public:
    FrameList(Kind listKind, TextOutput& output, Report& fileReport)
        : kind(listKind)
        , out(output)
        , report(fileReport)
    {
        if (kind == Kind::Csv) {
            out.put(formats::FrameCsvHeader);
            out.endRow();
        } else if (kind == Kind::Asc) {
            out.put("date Thu Jan 1 00:00:00 1970\nbase hex  timestamps absolute\n"
                    "no internal events logged\n");
        }
    }

    void addFrame(const TraceFrame& frame) override
    {
        if (frame.bus < 0 && kind != Kind::Csv) {
            report.warn("a frame without a bus number, written as of the first bus");
        }
        if (kind == Kind::Candump) {
            out.advanceTo(formats::putCandumpLine(out.room(formats::MaxFrameLine), frame));
        } else if (kind == Kind::Asc) {
            out.advanceTo(formats::putAscLine(out.room(formats::MaxFrameLine), frame));
            if (frame.isError && frame.id != 0) {
                report.warn("class of an error frame, which .asc cannot say");
            }
        } else {
            out.advanceTo(formats::putCsvLine(out.room(formats::MaxFrameLine), frame));
            out.endRow();
            if ((frame.flags & TraceFrame::ErrorState) != 0) {
                report.warn("error state of a CAN FD frame, which .csv cannot say");
            }
        }
    }

private:
    const Kind kind;
    TextOutput& out;
    Report& report;
};

} // namespace

TextOutput::TextOutput(const std::string& path, bool replaces)
    : file(path, replaces)
    , buffer(1 << 17, '\0')
{}

void TextOutput::put(std::string_view text)
{
    advanceTo(formats::putText(room(text.size()), text));
}

void TextOutput::commit()
{
    makeRoom(0);
    file.commit();
}

void TextOutput::makeRoom(std::size_t size)
{
    file.write({buffer.data(), used});
    used = 0;
    buffer.resize(std::max(buffer.size(), size));
}

TextTarget logTable(TextOutput& output, const Survey& survey, const std::vector<Channel>& channels)
{
    return std::make_unique<LogTable>(output, survey, channels);
}

TextTarget signalTable(TextOutput& output, const SignalPlan& plan)
{
    return std::make_unique<SignalTable>(output, plan);
}

TextTarget frameList(Kind kind, TextOutput& output, Report& report)
{
    return std::make_unique<FrameList>(kind, output, report);
}

} // namespace convert
