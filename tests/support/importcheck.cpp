// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/importcheck.h"

#include "bench/slowroad.h"
#include "formats/signaldecoder.h"
#include "formats/traceformat.h"

#include <QBuffer>

namespace {

QString describe(GraphPoint point)
{
    return QStringLiteral("(%1,%2)").arg(point.key, 0, 'g', 17).arg(point.value, 0, 'g', 17);
}

QString difference(const QStringList& fast, const QStringList& slow)
{
    return fast == slow ? QString()
                        : fast.join('|') + "\ninstead of\n" + slow.join('|') + "\nfrom\n";
}

} // namespace

QString describe(const CanFrames& frame, int digits)
{
    int size = sizeof frame.payload;
    while (size > 0 && frame.payload[size - 1] == 0) {
        --size;
    }
    return QStringLiteral("%1 can%2 %3 [%4] %5")
        .arg(frame.frameTime, 0, 'g', digits)
        .arg(frame.busNumber)
        .arg(frame.frameId, 0, 16)
        .arg(frame.length)
        .arg(QByteArray::fromRawData(reinterpret_cast<const char*>(frame.payload), size)
                 .toHex()
                 .data());
}

QString describe(const RecordPoints& records, int channel)
{
    QString text;
    for (const GraphPoint& point : records.points(channel)) {
        text += describe(point);
    }
    return text;
}

QStringList describe(const LogContent& log)
{
    QStringList parts;
    for (const LogContent::Label& label : log.labels) {
        parts << QString::number(label.channel) + '=' + label.text + (label.hides ? "!" : "");
    }
    for (const LogContent::Tag& tag : log.tags) {
        parts << tag.text + QStringLiteral("@%1-%2").arg(tag.lastTimestamp).arg(tag.firstTimestamp);
    }
    for (int channel = 0; channel < log.points.channelCount(); ++channel) {
        parts << describe(log.points, channel);
    }
    return parts << QStringLiteral("%1-%2").arg(log.lastTimestamp).arg(log.firstTimestamp);
}

QString traceDifference(const QString& kind, QByteArray content)
{
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    slowroad::Trace slow;
    QByteArray slowLines;
    slow.convert = [&slowLines](const QByteArray& line) { slowLines += line; };
    slowroad::readTrace(kind, device, slow);

    device.seek(0);
    QVector<CanFrames> frames;
    QStringList fastTexts;
    const auto trace = [&fastTexts](std::string_view line) {
        fastTexts << QString::fromUtf8(line.data(), static_cast<int>(line.size()));
    };
    QBuffer lines;
    lines.open(QIODevice::WriteOnly);
    TraceImport import{frames, trace, &lines};
    fastTexts << QString::number(traceFormat(kind)->read(device, import)) << lines.data();

    QStringList slowTexts = slow.diagnosis << QString::number(slow.count) << slowLines;
    for (const CanFrames& frame : frames) {
        fastTexts << describe(frame);
    }
    for (const CanFrames& frame : slow.frames) {
        slowTexts << describe(frame);
    }
    return difference(fastTexts, slowTexts);
}

QString logDifference(QByteArray content)
{
    constexpr int graphCount = 131; // more than a log has columns
    constexpr int origin = 1000;
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    slowroad::Log slow;
    slow.firstTimestamp = origin;
    std::vector<QString> graphs(graphCount);
    slowroad::readLog(device, graphCount, slow, [&graphs](int graph, GraphPoint point) {
        graphs[static_cast<std::size_t>(graph)] += describe(point);
    });
    QStringList texts;
    for (auto label = slow.labels.cbegin(); label != slow.labels.cend(); ++label) {
        texts << QString::number(label.key()) + '=' + label.value() +
                     (slow.hidden.contains(label.key()) ? "!" : "");
    }
    texts << slow.tags;
    std::copy(graphs.begin(), graphs.end(), std::back_inserter(texts));
    texts << QStringLiteral("%1-%2").arg(slow.lastTimestamp).arg(slow.firstTimestamp);
    device.seek(0);
    return difference(describe(readLog(device, graphCount, origin, -1)), texts);
}

QString curveDifference(const CanSignalData& signal, const QVector<CanFrames>& frames)
{
    QStringList texts;
    const auto addPoint = [&texts](int, GraphPoint point) { texts << describe(point); };
    if (!slowroad::readSignal(signal, frames, addPoint)) {
        texts << "the curve stays";
    }
    FrameIndex index;
    const auto curve = signalCurve(signal, frames, index);
    QStringList fastTexts(curve.has_value() ? QStringList() : QStringList("the curve stays"));
    for (std::size_t i = 0; curve.has_value() && i < curve->size(); ++i) {
        fastTexts << describe((*curve)[i]);
    }
    return difference(fastTexts, texts);
}

QByteArray damaged(QByteArray content, std::mt19937& random)
{
    static const QList<QByteArray> stumbles =
        QByteArray(
            "| |\t|\n|\r|\r\n|\n\n|;|,|#|##|=|:| -> |-|+|.|(|!|0x|x|$;|1e3|nan|-inf|007|64|"
            "140|2147483648|99999999999999999999|0.1234567890123456789|CANFD 1 2 3 4 5 6|"
            "\xc2\xa0|\xe2\x80\x83|\xef\xbb\xbf|\xff|\xc3|@|" +
            QByteArray(140, 'a'))
            .replace('@', QByteArray(1, '\0'))
            .split('|');
    const auto below = [&random](int bound) {
        return bound > 0 ? static_cast<int>(random() % static_cast<unsigned>(bound)) : 0;
    };
    for (int changes = 1 + below(4); changes > 0; --changes) {
        const int place = below(content.size() + 1);
        const int removed = below(2) == 0 ? 0 : below(below(8) == 0 ? content.size() : 6);
        content.replace(place, removed, stumbles[below(stumbles.size())]);
    }
    return below(50) == 0 ? "\xff\xfe" + content : content;
}
