// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/importcheck.h"

#include "bench/slowroad.h"
#include "formats/logreader.h"
#include "formats/signaldecoder.h"
#include "formats/textfield.h"
#include "formats/traceformat.h"

#include <QBuffer>

using namespace formats;

namespace {

QString describe(const GraphPoint& point)
{
    return QString("(%1,%2)").arg(point.key, 0, 'g', 17).arg(point.value, 0, 'g', 17);
}

QString label(int channel, const QString& text, bool hides)
{
    return QString("%1=%2%3").arg(channel).arg(text, hides ? "!" : "");
}

QString times(int last, int first)
{
    return QString("%1-%2").arg(last).arg(first);
}

} // namespace

Readings traceReadings(const QString& kind, QByteArray content, bool isExact)
{
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    slowroad::Trace slow;
    QByteArray slowConversion;
    slow.convert = [&slowConversion](const QByteArray& line) { slowConversion += line; };
    slowroad::readTrace(kind, device, slow);

    device.seek(0);
    QVector<CanFrames> frames;
    QBuffer conversion;
    conversion.open(QIODevice::WriteOnly);
    Readings lines{{}, slow.diagnosis};
    const auto trace = [&lines](std::string_view line) { lines.fast << textOf(line); };
    TraceImport import{frames, trace, &conversion};
    const int count = traceFormat(kind)->read(device, import);
    for (const CanFrames& frame : frames) {
        lines.fast << describe(frame, isExact);
    }
    for (const CanFrames& frame : slow.frames) {
        lines.slow << describe(frame, isExact);
    }
    lines.fast << QString(conversion.data()).split('\n', Qt::SkipEmptyParts);
    lines.slow << QString(slowConversion).split('\n', Qt::SkipEmptyParts);
    return count == frames.size() ? lines : Readings{{"miscounted"}, {}};
}

Readings logReadings(QByteArray content, int graphCount, int firstTimestamp)
{
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    slowroad::Log slow;
    slow.firstTimestamp = firstTimestamp;
    QVector<QString> points(graphCount, "|");
    slowroad::readLog(device, graphCount, slow, [&points](int graph, GraphPoint point) {
        points[graph] += describe(point);
    });
    Readings parts;
    for (auto entry = slow.labels.cbegin(); entry != slow.labels.cend(); ++entry) {
        parts.slow << label(entry.key(), entry.value(), slow.hidden.contains(entry.key()));
    }
    parts.slow << slow.tags << points.toList() << times(slow.lastTimestamp, slow.firstTimestamp);

    device.seek(0);
    const LogContent log = readLog(device, graphCount, firstTimestamp, -1);
    for (const LogContent::Label& entry : log.labels) {
        parts.fast << label(entry.channel, entry.text, entry.hides);
    }
    for (const LogContent::Tag& tag : log.tags) {
        parts.fast << tag.text + '@' + times(tag.lastTimestamp, tag.firstTimestamp);
    }
    for (int graph = 0; graph < graphCount; ++graph) {
        parts.fast << "|";
        for (const GraphPoint& point : log.points.points(graph)) {
            parts.fast.last() += describe(point);
        }
    }
    parts.fast << times(log.lastTimestamp, log.firstTimestamp);
    return parts;
}

Readings curveReadings(const CanSignalData& signal, const QVector<CanFrames>& frames)
{
    Readings points;
    const bool isDrawn = slowroad::readSignal(
        signal, frames, [&points](int, GraphPoint point) { points.slow << describe(point); });
    FrameIndex index;
    const auto curve = signalCurve(signal, frames, index);
    for (std::size_t i = 0; curve && i < curve->size(); ++i) {
        points.fast << describe((*curve)[i]);
    }
    return curve.has_value() == isDrawn ? points : Readings{{"stays"}, {}};
}

QString describe(const CanFrames& frame, bool isExact)
{
    const int size = isExact ? int(sizeof frame.payload) : payloadSize(frame);
    const QByteArray payload(reinterpret_cast<const char*>(frame.payload), size);
    return QString("%1 can%2 %3 [%4] %5")
        .arg(frame.frameTime, 0, 'g', isExact ? 17 : 12)
        .arg(frame.busNumber)
        .arg(frame.frameId, 0, 16)
        .arg(frame.length)
        .arg(QString(payload.toHex()));
}
