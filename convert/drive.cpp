// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/drive.h"

#include "formats/framelines.h"
#include "formats/textfield.h"

#include <QDateTime>
#include <algorithm>
#include <filesystem>

namespace convert {

namespace {

using formats::TraceFrame;

// Frames of several buses are not always in the order of their times.
constexpr double FrameSlack = 1.0; // s

enum FrameField { Bus, Id, Ide, Dlc, Length, Direction, Edl, Brs, Esi, Data };

std::size_t longestPayload(const std::vector<Survey>& surveys)
{
    const bool isFd = std::any_of(surveys.begin(), surveys.end(), [](const Survey& survey) {
        return survey.frames.isFd || survey.frames.longest > 8;
    });
    return isFd ? TraceFrame::MostBytes : 8;
}

// The names are those of the ASAM bus logging.
std::vector<Field> frameFields(std::size_t frameBytes)
{
    std::vector<Field> fields;
    for (const auto& [name, size] :
         {std::pair("BusChannel", 4),
          {"ID", 4},
          {"IDE", 1},
          {"DLC", 1},
          {"DataLength", 1},
          {"Dir", 1},
          {"EDL", 1},
          {"BRS", 1},
          {"ESI", 1}}) {
        fields.emplace_back(Field::Unsigned, size, name);
    }
    fields.emplace_back(Field::Bytes, frameBytes, "DataBytes");
    return fields;
}

} // namespace

DriveWriter::DriveWriter(
    Container& output, const std::vector<Survey>& surveys, const SignalPlan* signalPlan)
    : container(output)
    , plan(signalPlan)
    , frameBytes(longestPayload(surveys))
    , messages(plan != nullptr ? plan->messages.size() : 0)
{}

void DriveWriter::begin(const Survey& survey, const std::vector<Channel>& channels)
{
    firstTime = survey.first.milliseconds / 1000.0;
    fieldOf.assign(survey.widest, -1);
    log = nullptr;
    if (channels.empty()) {
        return;
    }
    TableInfo info{TableInfo::Channels, "channels", "XCU", {}, 0.0};
    for (const Channel& channel : channels) {
        fieldOf[static_cast<std::size_t>(channel.number)] = static_cast<int>(info.fields.size());
        Field& field = info.fields.emplace_back(
            Field::Signed, sizeof(std::int32_t), channel.name, channel.unit);
        field.channel = channel.number;
        field.mayLack = survey.mayLack(channel);
    }
    log = &container.addTable(std::move(info));
}

void DriveWriter::addRecord(const formats::LogRecord& record)
{
    if (log == nullptr) {
        return;
    }
    log->begin(record.milliseconds / 1000.0);
    const char* place = record.values.data();
    for (std::size_t channel = 0; channel < record.width; ++channel, ++place) {
        const bool isNegative = *place == '-';
        place += isNegative ? 1 : 0;
        const char* const digits = place;
        std::int64_t value = 0;
        for (; *place != ';'; ++place) {
            value = 10 * value + (*place - '0');
        }
        if (fieldOf[channel] >= 0 && place != digits) {
            log->put(static_cast<std::size_t>(fieldOf[channel]), isNegative ? -value : value);
        }
    }
    log->end();
}

void DriveWriter::addTag(std::optional<std::uint32_t> milliseconds, std::string_view text)
{
    tags.push_back({milliseconds ? *milliseconds / 1000.0 : firstTime, std::string(text)});
}

void DriveWriter::addFrame(const TraceFrame& frame)
{
    putFrame(frame);
    if (plan != nullptr) {
        putSignals(frame);
    }
}

void DriveWriter::putFrame(const TraceFrame& frame)
{
    static constexpr const char* names[] = {"CAN_DataFrame", "CAN_RemoteFrame", "CAN_ErrorFrame"};
    const std::size_t kind = frame.isError ? 2 : frame.isRemote ? 1 : 0;
    Table*& table = frames[kind];
    if (table == nullptr) {
        table = &container.addTable(
            {TableInfo::Frames, names[kind], "CAN", frameFields(frameBytes), FrameSlack});
    }
    const auto put = [table](FrameField field, std::int64_t value) { table->put(field, value); };
    table->begin(frame.time);
    put(Bus, std::max(frame.bus, 0) + 1);
    put(Id, frame.id);
    put(Ide, frame.isExtended ? 1 : 0);
    put(Dlc, frame.isRemote ? frame.length : formats::lengthCode(frame.length));
    put(Length, frame.isRemote ? 0 : frame.length);
    put(Edl, frame.isFd ? 1 : 0);
    put(Brs, (frame.flags & TraceFrame::BitRateSwitch) != 0 ? 1 : 0);
    put(Esi, (frame.flags & TraceFrame::ErrorState) != 0 ? 1 : 0);
    table->put(Data, frame.bytes, sizeof frame.bytes);
    table->end();
}

void DriveWriter::putSignals(const TraceFrame& frame)
{
    const int place = plan->find(frame);
    if (place < 0) {
        return;
    }
    const Message& message = plan->messages[static_cast<std::size_t>(place)];
    Table*& table = messages[static_cast<std::size_t>(place)];
    if (table == nullptr) {
        TableInfo info{TableInfo::Signals, message.name, message.name, {}, 0.0};
        for (std::size_t i = 0; i < message.contents.size(); ++i) {
            const formats::CanSignal& signal = *message.contents[i];
            Field& field = info.fields.emplace_back(
                Field::Real, sizeof(double), message.names[i], signal.unit);
            field.mayLack = true;
            field.texts = signal.texts;
        }
        table = &container.addTable(std::move(info));
    }
    table->begin(frame.time);
    bool hasValue = false;
    for (std::size_t i = 0; i < message.contents.size(); ++i) {
        if (const auto value = message.contents[i]->value(frame)) {
            table->put(i, *value);
            hasValue = true;
        }
    }
    if (hasValue) {
        table->end();
    }
}

void DriveWriter::finish()
{
    container.addTags(tags);
}

// Files of the console are called by their time, in a folder called by the controller's number:
// XCU0001/extLoggerLogs/2026.11.15-053000.log
Origin originOf(const std::vector<std::string>& paths, const std::deque<Recording>& recordings)
{
    Origin origin;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const auto path = std::filesystem::absolute(paths[i]);
        const QString shown = QString::fromStdString(path.filename()); // UTF-8 in any case
        origin.inputs += (i > 0 ? ", " : "") + shown.toStdString();
        if (path.parent_path().filename() == "extLoggerLogs") {
            origin.serial = path.parent_path().parent_path().filename();
        }
        const QString name = QString::fromStdString(path.stem());
        const QDateTime time =
            QDateTime::fromString(name.right(17), QStringLiteral("yyyy.MM.dd-HHmmss"));
        if (time.isValid() && (!origin.start || time.toSecsSinceEpoch() < *origin.start)) {
            origin.start = time.toSecsSinceEpoch();
            origin.clock = recordings[i].begin.value_or(0.0);
        }
    }
    return origin;
}

} // namespace convert
