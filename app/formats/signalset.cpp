// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/signalset.h"

#include "formats/signalcells.h"

#include <QIODevice>
#include <QStringList>

namespace formats {

namespace {

CanSignalData parseSignal(const QString& line)
{
    const QStringList fields = line.split(QLatin1Char(';'));
    CanSignalData signal;
    signal.requiredLength = 0; // unless the line has a number, as for all others
    for (int column = 0; column < SignalColumnCount; ++column) {
        applySignalCell(signal, column, fields.value(column));
    }
    signal.plotted = false;
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
    QString content;
    for (const CanSignalData& signal : signalList) {
        for (int column = 0; column < SignalColumnCount; ++column) {
            content += signalCellText(signal, column) + QLatin1Char(';');
        }
        content += QLatin1String("%12\r\n");
    }
    return content.toUtf8();
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
