// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/importcheck.h"

#include "formats/logreader.h"
#include "formats/signaldecoder.h"
#include "formats/traceformat.h"
#include "support/literalimport.h"

#include <QBuffer>

namespace {

// Charts of fewer graphs than a log has columns, and of more.
constexpr int graphCount = 131;

// Time stamps at which a log goes on.
constexpr int origin = 1000;

QString describe(const GraphPoint& point)
{
    return QStringLiteral("%1 %2").arg(point.key, 0, 'g', 17).arg(point.value, 0, 'g', 17);
}

QString describe(const QString& text)
{
    return text;
}

template <typename FastList, typename SlowList>
QString difference(const char* what, const FastList& fast, const SlowList& slow)
{
    const auto size = qMin(fast.size(), slow.size());
    for (auto i = size - size; i < size; ++i) {
        if (describe(fast[i]) != describe(slow[i])) {
            return QStringLiteral("%1 %2: %3 instead of %4")
                .arg(QLatin1String(what))
                .arg(i)
                .arg(describe(fast[i]), describe(slow[i]));
        }
    }
    return fast.size() == slow.size() ? QString()
                                      : QStringLiteral("%1 %2 instead of %3")
                                            .arg(fast.size())
                                            .arg(QLatin1String(what))
                                            .arg(slow.size());
}

} // namespace

QByteArray damaged(QByteArray content, std::mt19937& random)
{
    static const QList<QByteArray> stumbles =
        QByteArray(
            "| |\t|\n|\r|\r\n|\n\n|;|,|#|##|=|:| -> "
            "|-|+|.|(|!|0x|x|$;|1e3|nan|-inf|007|64|140|2147483648|"
            "99999999999999999999|0.1234567890123456789|CANFD 1 2 3 4 5 6|\xc2\xa0|\xe2\x80\x83|"
            "\xef\xbb\xbf|\xff|\xc3|" +
            QByteArray(1, '\0') + "|" + QByteArray(140, 'a'))
            .split('|');
    const auto below = [&random](int bound) {
        return bound > 0 ? static_cast<int>(random() % static_cast<unsigned>(bound)) : 0;
    };
    for (int changes = 1 + below(4); changes > 0; --changes) {
        const int place = below(content.size() + 1);
        const int removed = below(2) == 0 ? 0 : below(below(8) == 0 ? content.size() : 6);
        content.replace(place, removed, stumbles[below(stumbles.size())]);
    }
    static const QByteArray mark("\xff\xfe");
    return below(50) == 0 ? mark + content : content;
}

QString describe(const CanFrames& frame)
{
    const QByteArray payload(reinterpret_cast<const char*>(frame.payload), sizeof frame.payload);
    return QStringLiteral("%1 %2 %3 %4 %5")
        .arg(frame.frameTime, 0, 'g', 17)
        .arg(frame.busNumber)
        .arg(frame.frameId)
        .arg(frame.length)
        .arg(QString::fromLatin1(payload.toHex()));
}

QString traceDifference(const QString& kind, QByteArray content)
{
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    literal::Trace slow;
    QByteArray slowLines;
    slow.convert = [&slowLines](const QByteArray& line) { slowLines += line; };
    literal::readTrace(kind, device, slow);

    device.seek(0);
    QVector<CanFrames> frames;
    QStringList diagnosis;
    QBuffer lines;
    lines.open(QIODevice::WriteOnly);
    TraceImport import{
        frames,
        [&diagnosis](std::string_view line) {
            diagnosis << QString::fromUtf8(line.data(), static_cast<int>(line.size()));
        },
        &lines};
    const int count = traceFormat(kind)->read(device, import);

    if (count != slow.count) {
        return QStringLiteral("count %1 instead of %2").arg(count).arg(slow.count);
    }
    const QString differences =
        difference("frame", frames, slow.frames) + difference("trace", diagnosis, slow.diagnosis);
    return lines.data() == slowLines ? differences : differences + QStringLiteral(" conversion");
}

QString logDifference(QByteArray content)
{
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    literal::Log slow;
    slow.firstTimestamp = origin;
    std::vector<std::vector<GraphPoint>> graphs(graphCount);
    literal::readLog(device, graphCount, slow, [&graphs](int graph, GraphPoint point) {
        graphs[graph].push_back(point);
    });

    device.seek(0);
    const LogContent log = readLog(device, graphCount, origin, -1);
    QStringList labels;
    for (const LogContent::Label& label : log.labels) {
        labels << QStringLiteral("%1 %2 %3").arg(label.channel).arg(label.hides).arg(label.text);
    }
    QStringList slowLabels;
    for (auto label = slow.labels.cbegin(); label != slow.labels.cend(); ++label) {
        slowLabels << QStringLiteral("%1 %2 %3")
                          .arg(label.key())
                          .arg(slow.hidden.contains(label.key()))
                          .arg(label.value());
    }
    QStringList tags;
    for (const LogContent::Tag& tag : log.tags) {
        tags << QStringLiteral("%1 %2 %3")
                    .arg(tag.firstTimestamp)
                    .arg(tag.lastTimestamp)
                    .arg(tag.text);
    }
    QString differences =
        difference("label", labels, slowLabels) + difference("tag", tags, slow.tags);
    for (int graph = 0; graph < graphCount; ++graph) {
        differences += difference("point", log.points.points(graph), graphs[graph]);
    }
    const bool sameTimes =
        log.firstTimestamp == slow.firstTimestamp && log.lastTimestamp == slow.lastTimestamp;
    return sameTimes ? differences : differences + QStringLiteral(" time stamps");
}

QString curveDifference(const CanSignalData& signal, const QVector<CanFrames>& frames)
{
    std::vector<GraphPoint> slow;
    const bool isDrawn = literal::readSignal(
        signal, frames, [&slow](int, GraphPoint point) { slow.push_back(point); });
    FrameIndex index;
    const auto fast = signalCurve(signal, frames, index);
    if (fast.has_value() != isDrawn) {
        return QStringLiteral("geometry");
    }
    return isDrawn ? difference("point", *fast, slow) : QString();
}
