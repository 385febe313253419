// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/blackboxreader.h"

#include "formats/channelcount.h"
#include "formats/frameconversion.h"
#include "schema/blackbox.pb.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <fstream>
#include <google/protobuf/arena.h>

namespace formats {

namespace {

void readFrames(const xcu::BlackboxFileL& file, TraceImport& import)
{
    constexpr std::size_t classicSize = 8;
    import.reserve(file.candumplines_size());
    FrameConversion conversion(import.candumpFile);
    xcu::BlackboxCandumpFileLine record;
    for (const std::string& bytes : file.candumplines()) {
        if (!record.ParseFromString(bytes)) {
            continue;
        }
        CanFrames frame;
        frame.frameTime = record.timestamp() / 1000.0;
        frame.busNumber = static_cast<int>(record.busnumber());
        frame.frameId = record.canid();
        const std::size_t size = std::min(record.framedata().size(), classicSize);
        frame.length = static_cast<int>(size);
        std::memcpy(frame.payload, record.framedata().data(), size);
        import.append(frame);
        conversion.write(frame.frameTime / 1000.0, frame);
    }
}

// The values of one side of a record, as many as have a channel.
void addValues(
    RecordPoints& points, const google::protobuf::RepeatedField<int>& values, int firstChannel,
    int channelCount)
{
    for (int i = 0; i < std::min(channelCount, values.size()); ++i) {
        points.add(firstChannel + i, values.Get(i));
    }
}

RecordPoints readLog(const xcu::BlackboxFileL& file, int inputCount, int outputCount)
{
    RecordPoints points(inputCount + outputCount);
    xcu::BlackboxFileLine record;
    for (const std::string& bytes : file.loglines()) {
        record.ParseFromString(bytes); // a damaged record keeps what came before the damage
        points.beginRecord(static_cast<double>(static_cast<float>(record.timestamp()) / 1000.0F));
        addValues(points, record.inputs(), 0, inputCount);
        addValues(points, record.outputs(), inputCount, outputCount);
    }
    return points;
}

QStringList channelTexts(int inputCount, int outputCount)
{
    QStringList texts;
    for (int i = 0; i < inputCount; ++i) {
        texts.append(QStringLiteral("In%1").arg(i));
    }
    for (int i = 0; i < outputCount; ++i) {
        texts.append(QStringLiteral("Out%1").arg(i));
    }
    return texts;
}

} // namespace

BlackboxContent readBlackbox(std::istream& stream, TraceImport& import)
{
    google::protobuf::Arena arena;
    auto& file = *google::protobuf::Arena::CreateMessage<xcu::BlackboxFileL>(&arena);
    file.ParseFromIstream(&stream);

    xcu::BlackboxFileLine first;
    if (file.loglines_size() > 0) {
        first.ParseFromString(file.loglines(0));
    }
    const int inputCount = first.inputs_size();
    const int outputCount = first.outputs_size();

    BlackboxContent content;
    content.statusText =
        QStringLiteral("Read log file. %4 log points (%1 IN/%2 OUT), %3 canbus frames, %5")
            .arg(inputCount)
            .arg(outputCount)
            .arg(file.candumplines_size())
            .arg(file.loglines_size())
            .arg(stream.eof() ? 1 : 0);
    content.firstTimestamp = first.timestamp();
    content.hasLog = file.loglines_size() > 0;
    readFrames(file, import);

    const int inputChannels = std::min(inputCount, ChannelTotal);
    const int outputChannels = std::min(outputCount, ChannelTotal - inputChannels);
    content.channelTexts = channelTexts(inputChannels, outputChannels);
    content.points = readLog(file, inputChannels, outputChannels);
    return content;
}

BlackboxContent readBlackboxFile(const QString& fileName, TraceImport& import)
{
    std::fstream stream(QFile::encodeName(fileName).constData(), std::ios::in | std::ios::binary);
    return readBlackbox(stream, import);
}

} // namespace formats
