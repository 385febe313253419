// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/signalset.h"

#include <QIODevice>
#include <QStringList>

namespace formats {

namespace {

QString signalLine(const CanSignalData& signal)
{
    // Eleven values for twelve places. The name goes last, so that a "%1" in it survives.
    return QStringLiteral("0x%1;%2;%3;%4;%5;%6;%7;%8;0x%9;%10;%11;%12\r\n")
        .arg(signal.frameId, 0, 16)
        .arg(signal.bitOffset)
        .arg(signal.bitLength)
        .arg(signal.multiplier, 0, 'g', -1)
        .arg(signal.addend, 0, 'g', -1)
        .arg(signal.showMode)
        .arg(signal.muxOffset)
        .arg(signal.muxLength)
        .arg(static_cast<quint64>(signal.muxValue), 0, 16)
        .arg(signal.requiredLength)
        .arg(signal.signalName);
}

CanSignalData parseSignal(const QString& line)
{
    const QStringList fields = line.split(QLatin1Char(';'));
    CanSignalData signal;
    signal.frameId = fields.value(0).toInt(nullptr, 16);
    signal.bitOffset = fields.value(1).toInt();
    signal.bitLength = fields.value(2).toInt();
    signal.multiplier = fields.value(3).toDouble();
    signal.addend = fields.value(4).toDouble();
    signal.showMode = fields.value(5).toInt();
    signal.muxOffset = fields.value(6).toInt();
    signal.muxLength = fields.value(7).toInt();
    signal.muxValue = fields.value(8).toInt(nullptr, 16);
    signal.requiredLength = fields.value(9).toInt();
    signal.signalName = fields.value(10);
    return signal;
}

// A zero byte ends the line's text.
QString nextLine(QIODevice& device)
{
    const QByteArray line = device.readLine().trimmed();
    return QString::fromUtf8(line.constData());
}

} // namespace

QByteArray signalSet(const QVector<CanSignalData>& signalList)
{
    QByteArray content;
    for (const CanSignalData& signal : signalList) {
        content += signalLine(signal).toUtf8();
    }
    return content;
}

QVector<CanSignalData> readSignalSet(QIODevice& device)
{
    QVector<CanSignalData> signalList;
    if (!device.isOpen()) {
        return signalList;
    }
    for (QString line = nextLine(device); !line.isEmpty(); line = nextLine(device)) {
        signalList.append(parseSignal(line));
    }
    return signalList;
}

} // namespace formats
