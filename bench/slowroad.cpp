// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/slowroad.h"

#include <QTextStream>
#include <cstring>

using namespace formats;

namespace slowroad {
namespace {

constexpr int PayloadSize = 64;

void setPayload(CanFrames& frame, const QByteArray& bytes)
{
    std::memcpy(
        frame.payload, bytes.constData(),
        static_cast<std::size_t>(qMin(bytes.size(), PayloadSize)));
}

double elapsed(double time, Trace& trace)
{
    if (trace.count == 0) {
        trace.base = time;
    }
    return time - trace.base;
}

bool readTxt(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList parts = line.split(QStringLiteral(" -> "), Qt::SkipEmptyParts);
    const QTime time = QTime::fromString(parts.value(0), QStringLiteral("HH:mm:ss.zzz"));
    if (trace.count == 0) {
        trace.baseTime = time;
    }
    frame.frameTime = trace.baseTime.msecsTo(time);
    QStringList elements = parts.value(1).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    frame.frameId = elements.value(1).split(QLatin1Char('=')).value(1).toInt();
    const QByteArray bytes = QByteArray::fromHex(elements.mid(3).join(QString()).toUtf8());
    frame.length = bytes.size();
    setPayload(frame, bytes);
    return true;
}

bool readCandump(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList parts = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QString time = parts.value(0);
    time.remove(QLatin1Char('(')).remove(QLatin1Char(')'));
    frame.frameTime = elapsed(time.toDouble(), trace);
    const QString data = parts.value(2);
    const bool isFd = data.contains(QLatin1String("##"));
    const QStringList halves = data.split(isFd ? QStringLiteral("##") : QStringLiteral("#"));
    frame.frameId = halves.value(0).toInt(nullptr, 16);
    const QByteArray bytes = QByteArray::fromHex(halves.value(1).toUtf8());
    frame.length = bytes.size();
    setPayload(frame, bytes);
    return true;
}

bool readTrc(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList fields = line.split(QLatin1Char('\t'), Qt::SkipEmptyParts);
    if (fields.size() < 2) {
        return false;
    }
    QString time = fields.value(0);
    frame.frameTime = elapsed(time.replace(QLatin1Char(','), QLatin1Char('.')).toDouble(), trace);
    frame.frameId = fields.value(3).toInt(nullptr, 16);
    frame.length = fields.value(4).toInt();
    setPayload(frame, QByteArray::fromHex(fields.value(5).toUtf8()));
    return true;
}

bool readCsv(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList fields = line.split(QLatin1Char(','));
    if (fields.size() < 13) {
        trace.diagnosis << QStringLiteral("Invalid line >") + line + QLatin1Char('<');
        return false;
    }
    QString time = fields.value(1);
    frame.frameTime = elapsed(time.replace(QLatin1Char('!'), QLatin1Char('0')).toDouble(), trace);
    frame.frameId = fields.value(2).toInt(nullptr, 16);
    QByteArray bytes;
    for (int i = 3; i <= 10; ++i) {
        if (!fields.value(i).isEmpty()) {
            bytes.append(static_cast<char>(fields.value(i).toInt(nullptr, 16)));
        }
    }
    frame.length = bytes.size();
    setPayload(frame, bytes);
    return true;
}

void setBytes(CanFrames& frame, const QStringList& elements, int first)
{
    for (int i = 0; i < frame.length && i < PayloadSize; ++i) {
        frame.payload[i] = static_cast<unsigned char>(elements.value(first + i).toInt(nullptr, 16));
    }
}

bool readAsc(const QString& line, CanFrames& frame, Trace& trace)
{
    const QStringList elements = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    frame.frameTime = elapsed(elements.value(0).toDouble(), trace);
    const bool isFd = elements.value(1) == QLatin1String("CANFD");
    if (isFd || elements.value(1) == QLatin1String("2")) {
        frame.busNumber = isFd ? 1 : 2;
        frame.frameId = elements.value(isFd ? 4 : 2).toInt(nullptr, 16);
        frame.length = elements.value(isFd ? 8 : 5).toInt();
        setBytes(frame, elements, isFd ? 9 : 6);
        trace.convert(convertedLine(frame.frameTime, frame));
    }
    return true;
}

bool readTraceLine(const QString& line, CanFrames& frame, Trace& trace)
{
    if (line.startsWith(QLatin1Char(';'))) {
        return false;
    }
    const QStringList elements = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    frame.busNumber = 1;
    frame.frameTime = elapsed(elements.value(1).toDouble(), trace) / 1000.0;
    frame.frameId = elements.value(3).toInt(nullptr, 16);
    frame.length = elements.value(4).toInt();
    setBytes(frame, elements, 5);
    return true;
}

quint64 readField(const unsigned char* work, bool leastFirst, int offset, int length)
{
    quint64 accumulator = 0;
    for (qint64 i = 0; i < length; ++i) {
        const qint64 p = leastFirst ? offset + i : qint64{offset} + length - 1 - i;
        const bool isInside = p >= 0 && p < 512;
        const auto bit = leastFirst ? p % 8 : 7 - p % 8;
        if (isInside && (work[p / 8] >> bit & 1) != 0) {
            accumulator |= static_cast<quint64>(qint64{static_cast<qint32>(1U << i % 32)});
        }
    }
    return accumulator;
}

// One line of a trace into a frame that serves all lines. False if the line makes no frame.
using LineReader = bool (*)(const QString& line, CanFrames& frame, Trace& trace);

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

void readTrace(const QString& kind, QIODevice& device, Trace& trace)
{
    static const QMap<QString, LineReader> readers{
        {QStringLiteral(".txt"), readTxt}, {QStringLiteral(".candump"), readCandump},
        {QStringLiteral(".trc"), readTrc}, {QStringLiteral(".csv"), readCsv},
        {QStringLiteral(".asc"), readAsc}, {QStringLiteral(".trace"), readTraceLine},
    };
    const LineReader read = readers.value(kind);
    CanFrames frame;
    const auto readLine = [&](const QString& line) {
        if (read(line, frame, trace)) {
            trace.frames.append(frame);
            ++trace.count;
        }
    };
    QTextStream stream(&device);
    stream.setCodec("UTF-8");
    if (read == readTrc) {
        trace.diagnosis << QStringLiteral("trc file!");
        for (const QString& line : stream.readAll().split(QLatin1Char('\r'))) {
            readLine(line);
        }
        return;
    }
    QString line = stream.readLine().trimmed();
    if (read == readCsv) {
        trace.diagnosis << QStringLiteral("csv file!");
        while (line != QLatin1String("TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD")) {
            if (stream.atEnd()) {
                return;
            }
            line = stream.readLine().trimmed();
        }
        trace.diagnosis << QStringLiteral("Found start marker");
        line = stream.readLine().trimmed();
    }
    for (; !line.isEmpty(); line = stream.readLine().trimmed()) {
        readLine(line);
    }
}

void readLog(QIODevice& device, int graphCount, Log& log, const AddPoint& addPoint)
{
    while (!device.atEnd()) {
        const QString line = QString::fromUtf8(device.readLine().constData());
        const QStringList parts = line.split(QLatin1Char(';'));
        const bool isHeader = parts[0] == QLatin1String("#");
        const bool isTag = parts[0] == QLatin1String("$");
        for (int i = 2; isHeader && i < parts.size() && i <= 129; ++i) {
            log.labels[i - 2] = parts[i];
            if (parts[i] == QLatin1String("x")) {
                log.hidden.insert(i - 2);
            }
        }
        if (isHeader || parts.size() < (isTag ? 3 : 2)) {
            continue;
        }
        log.lastTimestamp = parts[1].toInt();
        if (log.firstTimestamp == -1) {
            log.firstTimestamp = log.lastTimestamp;
        }
        if (isTag) {
            log.tags << parts[2].trimmed() +
                            QStringLiteral("@%1-%2").arg(log.lastTimestamp).arg(log.firstTimestamp);
            continue;
        }
        const auto ms = static_cast<qint32>(
            static_cast<quint32>(log.lastTimestamp) - static_cast<quint32>(log.firstTimestamp));
        const double key = static_cast<double>(static_cast<float>(ms) / 1000.0F);
        for (int i = 2; i < parts.size(); ++i) {
            if (graphCount >= i - 1) {
                addPoint(i - 2, {key, static_cast<double>(parts[i].toInt())});
            }
        }
    }
}

bool readSignal(
    const CanSignalData& signal, const QVector<CanFrames>& frames, const AddPoint& addPoint)
{
    if (signal.bitLength < 1 || signal.bitOffset < 0 ||
        qint64{signal.bitOffset} + signal.bitLength > 512) {
        return false;
    }
    const int mode = signal.showMode;
    const bool isField = mode >= 1 && mode <= 4;
    const bool leastFirst = mode == 1 || mode == 3;
    const quint64 bound = quint64{1} << signal.bitLength % 64;
    bool hasPrevious = false;
    double previous = 0.0;
    for (const CanFrames& frame : frames) {
        if (!signal.plotted || frame.frameId != signal.frameId ||
            (signal.requiredLength != -1 && frame.length != signal.requiredLength)) {
            continue;
        }
        unsigned char work[PayloadSize] = {};
        std::memcpy(work, frame.payload, qBound(0, frame.length, PayloadSize));
        if (signal.muxLength != 0) {
            const quint64 mux =
                isField ? readField(work, leastFirst, signal.muxOffset, signal.muxLength) : 0;
            if (mux != static_cast<quint64>(signal.muxValue)) {
                continue;
            }
        }
        double value = 0.0;
        if ((mode == 5 || mode == 6) && signal.bitLength == 32) {
            quint64 accumulator = 0;
            for (int p = signal.bitOffset; p < signal.bitOffset + 32; ++p) {
                accumulator |= work[p / 8] & (1 << p % 8 & 0xff);
            }
            const auto low = static_cast<quint32>(accumulator);
            float single = 0.0F;
            std::memcpy(&single, &low, sizeof single);
            value = static_cast<double>(single);
        } else if (isField) {
            const quint64 bits = readField(work, leastFirst, signal.bitOffset, signal.bitLength);
            const bool isNegative = mode >= 3 && (bits & bound >> 1) != 0;
            value = isNegative ? static_cast<double>(static_cast<qint64>(bits | ~(bound - 1)))
                               : static_cast<double>(bits);
        }
        const double y = value * signal.multiplier + signal.addend;
        if (hasPrevious) {
            addPoint(0, {frame.frameTime, previous});
        }
        addPoint(0, {frame.frameTime, y});
        previous = y;
        hasPrevious = true;
    }
    return true;
}

} // namespace slowroad
