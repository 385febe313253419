// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/signalset.h"

#include "formats/linereader.h"
#include "formats/textfield.h"

#include <QIODevice>
#include <QStringList>

namespace formats {

namespace {

// What the columns of plain integers show; null for the others.
constexpr int CanSignalData::*Integers[SignalColumnCount] = {
    nullptr,
    &CanSignalData::bitOffset,
    &CanSignalData::bitLength,
    nullptr,
    nullptr,
    &CanSignalData::showMode,
    &CanSignalData::muxOffset,
    &CanSignalData::muxLength,
    nullptr,
    &CanSignalData::requiredLength,
    nullptr,
};

template <typename Value>
CellEdit store(Value& stored, const QString& text, int base = 10)
{
    bool isNumber = false;
    Value typed = 0;
    if constexpr (std::is_integral_v<Value>) {
        typed = wholeNumber(text, base, &isNumber);
    } else {
        typed = text.toDouble(&isNumber);
    }
    if (!isNumber || typed == stored) {
        return CellEdit::Unchanged;
    }
    stored = typed;
    return CellEdit::Changed;
}

CanSignalData parseSignal(const QString& line)
{
    const QStringList fields = line.split(QLatin1Char(';'));
    CanSignalData signal;
    signal.requiredLength = 0; // unless the line has a number, as for all others
    for (int column = 0; column < SignalColumnCount; ++column) {
        applySignalCell(signal, column, fields.value(column).left(LongestShownText));
    }
    // Other than in a cell, a number that is too large counts, as infinity.
    signal.multiplier = fields.value(MultiplierColumn).toDouble();
    signal.addend = fields.value(AddendColumn).toDouble();
    signal.plotted = false;
    return signal;
}

// A zero byte ends the line's text.
QString nextLine(LineReader& lines)
{
    const std::string_view line = lines.next();
    const QByteArray text = QByteArray(line.data(), static_cast<int>(line.size())).trimmed();
    return QString::fromUtf8(text.constData());
}

} // namespace

QString loadedSignalCellText(const CanSignalData& signal, int column)
{
    switch (column) {
    case FrameIdColumn:
        return QLatin1String("0x") + QString::number(static_cast<quint64>(signal.frameId), 16);
    case MultiplierColumn:
        return QString::number(signal.multiplier);
    case AddendColumn:
        return QString::number(signal.addend);
    case MuxValueColumn:
        return QString::number(static_cast<quint64>(signal.muxValue), 16);
    case NameColumn:
        return signal.signalName;
    default:
        return QString::number(signal.*Integers[column]);
    }
}

QString signalCellText(const CanSignalData& signal, int column)
{
    const QString text = loadedSignalCellText(signal, column);
    return column == MuxValueColumn ? QLatin1String("0x") + text : text;
}

CellEdit applySignalCell(CanSignalData& signal, int column, const QString& text)
{
    switch (column) {
    case FrameIdColumn:
        return store(signal.frameId, text, 16);
    case MultiplierColumn:
        return store(signal.multiplier, text);
    case AddendColumn:
        return store(signal.addend, text);
    case MuxValueColumn:
        return store(signal.muxValue, text, 16);
    case NameColumn:
        signal.signalName = text;
        return CellEdit::Renamed;
    default:
        break;
    }
    const CellEdit edit = store(signal.*Integers[column], text);
    if (column == ShowModeColumn && edit == CellEdit::Changed) {
        signal.plotted = signal.showMode != 0;
    }
    return edit;
}

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

QVector<CanSignalData> readSignalSet(QIODevice& device, int most)
{
    QVector<CanSignalData> signalList;
    LineReader lines(device, LineReader::Bytes);
    QString line = nextLine(lines);
    while (!line.isEmpty() && signalList.size() < most) {
        signalList.append(parseSignal(line));
        line = nextLine(lines);
    }
    return signalList;
}

} // namespace formats
