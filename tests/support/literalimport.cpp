// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/literalimport.h"

#include "formats/textfield.h"
#include "formats/traceformat.h"

#include <QBuffer>
#include <QFileDevice>
#include <QMap>
#include <QTextStream>
#include <QTime>
#include <cstring>

namespace {

constexpr int PayloadSize = 64;

} // namespace

namespace literal {
namespace {

struct Trace
{
    TraceImport& import;
    int count;
    double base;
    QTime baseTime;
};

QStringList words(const QString& line, const char* separator)
{
    return line.split(QString(separator), Qt::SkipEmptyParts);
}

int hex(const QString& text)
{
    return text.toInt(nullptr, 16);
}

void setPayload(CanFrames& frame, const QString& digits)
{
    const QByteArray bytes = QByteArray::fromHex(digits.toUtf8());
    frame.length = bytes.size();
    std::memcpy(frame.payload, bytes.constData(), size_t(qMin(bytes.size(), PayloadSize)));
}

void setBytes(CanFrames& frame, const QStringList& bytes)
{
    for (int i = 0; i < frame.length && i < PayloadSize; ++i) {
        frame.payload[i] = static_cast<unsigned char>(hex(bytes.value(i)));
    }
}

double elapsed(const QString& time, Trace& trace)
{
    trace.base = trace.count == 0 ? time.toDouble() : trace.base;
    return time.toDouble() - trace.base;
}

bool readTxt(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList parts = words(line, " -> ");
    const QTime time = QTime::fromString(parts.value(0), "HH:mm:ss.zzz");
    trace.baseTime = trace.count == 0 ? time : trace.baseTime;
    frame.frameTime = trace.baseTime.msecsTo(time);
    const QStringList elements = words(parts.value(1), ":");
    frame.frameId = elements.value(1).split('=').value(1).toInt();
    setPayload(frame, elements.mid(3).join(QString()));
    return true;
}

bool readCandump(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList parts = words(line, " ");
    frame.frameTime = elapsed(QString(parts.value(0)).remove('(').remove(')'), trace);
    const QStringList data = parts.value(2).split(parts.value(2).contains("##") ? "##" : "#");
    frame.frameId = hex(data.value(0));
    setPayload(frame, data.value(1));
    return true;
}

bool readTrc(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList fields = words(line, "\t");
    if (fields.size() < 2) {
        return false;
    }
    frame.frameTime = elapsed(QString(fields[0]).replace(',', '.'), trace);
    frame.frameId = hex(fields.value(3));
    setPayload(frame, fields.value(5));
    frame.length = fields.value(4).toInt();
    return true;
}

bool readCsv(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList fields = line.split(',');
    if (fields.size() < 13) {
        trace.import.trace(("Invalid line >" + line + '<').toStdString());
        return false;
    }
    frame.frameTime = elapsed(QString(fields[1]).replace('!', '0'), trace);
    frame.frameId = hex(fields[2]);
    QStringList bytes = fields.mid(3, 8);
    bytes.removeAll(QString());
    frame.length = bytes.size();
    setBytes(frame, bytes);
    return true;
}

bool readAsc(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList elements = words(line, " ");
    frame.frameTime = elapsed(elements.value(0), trace);
    const bool isFd = elements.value(1) == "CANFD";
    if (isFd || elements.value(1) == "2") {
        frame.busNumber = isFd ? 1 : 2;
        frame.frameId = hex(elements.value(isFd ? 4 : 2));
        frame.length = elements.value(isFd ? 8 : 5).toInt();
        setBytes(frame, elements.mid(isFd ? 9 : 6));
        trace.import.candumpFile->write(convertedLine(frame.frameTime, frame));
        if (auto* file = qobject_cast<QFileDevice*>(trace.import.candumpFile)) {
            file->flush();
        }
    }
    return true;
}

bool readTraceLine(const QString& line, CanFrames& frame, Trace& trace)
{
    if (line.startsWith(';')) {
        return false;
    }
    const QStringList elements = words(line, " ");
    frame.busNumber = 1;
    frame.frameTime = elapsed(elements.value(1), trace) / 1000.0;
    frame.frameId = hex(elements.value(3));
    frame.length = elements.value(4).toInt();
    setBytes(frame, elements.mid(5));
    return true;
}

} // namespace

QByteArray convertedLine(double seconds, const CanFrames& frame)
{
    const QByteArray payload(
        reinterpret_cast<const char*>(frame.payload), qBound(0, frame.length, PayloadSize));
    return QStringLiteral("(%1) can%2 %3#%4\n")
        .arg(QString::number(seconds, 'f', 6))
        .arg(frame.busNumber)
        .arg(frame.frameId, 3, 16, QLatin1Char(' '))
        .arg(QString::fromLatin1(payload.toHex()))
        .toUtf8();
}

int readTrace(const QString& kind, QIODevice& device, TraceImport& import)
{
    using LineReader = bool (*)(const QString& line, CanFrames& frame, Trace& trace);
    static const QMap<QString, LineReader> readers{{".txt", readTxt}, {".candump", readCandump},
                                                   {".trc", readTrc}, {".csv", readCsv},
                                                   {".asc", readAsc}, {".trace", readTraceLine}};
    const LineReader read = readers.value(kind);
    Trace trace{import, 0, 0.0, QTime()};
    CanFrames frame; // serves all lines
    const auto readLine = [&](const QString& line) {
        if (read(line, frame, trace)) {
            import.frames.append(frame);
            ++trace.count;
        }
    };
    QTextStream stream(&device);
    stream.setCodec("UTF-8");
    if (read == readTrc) {
        import.trace("trc file!");
        for (const QString& line : stream.readAll().split('\r')) {
            readLine(line);
        }
        return trace.count;
    }
    QString line = stream.readLine().trimmed();
    if (read == readCsv) {
        import.trace("csv file!");
        while (line != "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD") {
            if (stream.atEnd()) {
                return 0;
            }
            line = stream.readLine().trimmed();
        }
        import.trace("Found start marker");
        line = stream.readLine().trimmed();
    }
    for (; !line.isEmpty(); line = stream.readLine().trimmed()) {
        readLine(line);
    }
    return trace.count;
}

LogContent readLog(QIODevice& device, int graphCount, int firstTimestamp)
{
    LogContent log{{}, {}, RecordPoints(graphCount), firstTimestamp, -1};
    QMap<int, LogContent::Label> labels;
    while (!device.atEnd()) {
        const QStringList parts = QString::fromUtf8(device.readLine().constData()).split(';');
        const bool isTag = parts[0] == "$";
        if (parts[0] == "#") {
            for (int i = 2; i < parts.size() && i <= 129; ++i) {
                LogContent::Label& label = labels[i - 2];
                label = {i - 2, parts[i], label.hides || parts[i] == "x"};
            }
        } else if (parts.size() >= (isTag ? 3 : 2)) {
            log.lastTimestamp = parts[1].toInt();
            if (log.firstTimestamp == -1) {
                log.firstTimestamp = log.lastTimestamp;
            }
            if (isTag) {
                log.tags.append({parts[2].trimmed(), log.firstTimestamp, log.lastTimestamp});
                continue;
            }
            const auto ms = static_cast<qint32>(
                static_cast<quint32>(log.lastTimestamp) - static_cast<quint32>(log.firstTimestamp));
            log.points.beginRecord(static_cast<double>(static_cast<float>(ms) / 1000.0F));
            for (int i = 2; i < parts.size() && graphCount >= i - 1; ++i) {
                log.points.add(i - 2, parts[i].toInt());
            }
        }
    }
    log.labels = labels.values().toVector();
    return log;
}

quint64 readField(const CanFrames& frame, bool leastFirst, int offset, int length)
{
    const int end = 8 * qBound(0, frame.length, PayloadSize);
    quint64 accumulator = 0;
    for (qint64 i = 0; i < length; ++i) {
        const qint64 p = leastFirst ? offset + i : qint64{offset} + length - 1 - i;
        const auto bit = leastFirst ? p % 8 : 7 - p % 8;
        if (p >= 0 && p < end && (frame.payload[p / 8] >> bit & 1) != 0) {
            accumulator |= static_cast<quint64>(qint64{static_cast<qint32>(1U << i % 32)});
        }
    }
    return accumulator;
}

} // namespace literal

namespace {

template <typename Read>
QStringList traceText(QByteArray content, bool isExact, Read read)
{
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    QBuffer conversion;
    conversion.open(QIODevice::WriteOnly);
    QVector<CanFrames> frames;
    QStringList lines;
    const auto trace = [&lines](std::string_view line) { lines << textOf(line); };
    TraceImport import{frames, trace, &conversion};
    const int count = read(device, import);
    for (const CanFrames& frame : frames) {
        lines << describe(frame, isExact);
    }
    lines << QString(conversion.data()).split('\n', Qt::SkipEmptyParts);
    return count == frames.size() ? lines : lines << QString::number(count);
}

QStringList logText(const LogContent& log)
{
    QStringList parts;
    for (const LogContent::Label& label : log.labels) {
        parts << QString("%1=%2%3").arg(label.channel).arg(label.text, label.hides ? "!" : "");
    }
    for (const LogContent::Tag& tag : log.tags) {
        parts << QString("%1@%2-%3").arg(tag.text).arg(tag.lastTimestamp).arg(tag.firstTimestamp);
    }
    for (int graph = 0; graph < log.points.channelCount(); ++graph) {
        QString points = "|";
        for (const GraphPoint& point : log.points.points(graph)) {
            points += QString("(%1,%2)").arg(point.key, 0, 'g', 17).arg(point.value, 0, 'g', 17);
        }
        parts << points;
    }
    return parts << QString("%1-%2").arg(log.lastTimestamp).arg(log.firstTimestamp);
}

} // namespace

Readings traceReadings(const QString& kind, const QByteArray& content, bool isExact)
{
    const auto slow = [&kind](QIODevice& device, TraceImport& import) {
        return literal::readTrace(kind, device, import);
    };
    return {
        traceText(content, isExact, traceFormat(kind)->read), traceText(content, isExact, slow)};
}

Readings logReadings(const QByteArray& content, int graphCount, int firstTimestamp)
{
    QBuffer device;
    device.setData(content);
    device.open(QIODevice::ReadOnly);
    const LogContent fast = readLog(device, graphCount, firstTimestamp, -1);
    device.seek(0);
    return {logText(fast), logText(literal::readLog(device, graphCount, firstTimestamp))};
}

QString describe(const CanFrames& frame, bool isExact)
{
    const int size = isExact ? PayloadSize : payloadSize(frame);
    const QByteArray payload(reinterpret_cast<const char*>(frame.payload), size);
    return QString("%1 can%2 %3 [%4] %5")
        .arg(frame.frameTime, 0, 'g', isExact ? 17 : 12)
        .arg(frame.busNumber)
        .arg(frame.frameId, 0, 16)
        .arg(frame.length)
        .arg(QString(payload.toHex()));
}
