// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/signalcells.h"

#include "formats/textfield.h"

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
CellEdit store(Value& stored, Value typed, bool isNumber)
{
    if (!isNumber || typed == stored) {
        return CellEdit::Unchanged;
    }
    stored = typed;
    return CellEdit::Changed;
}

template <typename Value>
CellEdit storeInteger(Value& stored, const QString& text, int base)
{
    bool isNumber = false;
    const Value typed = wholeNumber(text, base, &isNumber);
    return store(stored, typed, isNumber);
}

CellEdit storeReal(double& stored, const QString& text)
{
    bool isNumber = false;
    const double typed = text.toDouble(&isNumber);
    return store(stored, typed, isNumber);
}

QString realText(double value)
{
    return QStringLiteral("%1").arg(value, 0, 'g', -1);
}

} // namespace

QString loadedSignalCellText(const CanSignalData& signal, int column)
{
    switch (column) {
    case FrameIdColumn:
        return QLatin1String("0x") + QString::number(static_cast<quint64>(signal.frameId), 16);
    case MultiplierColumn:
        return realText(signal.multiplier);
    case AddendColumn:
        return realText(signal.addend);
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
        return storeInteger(signal.frameId, text, 16);
    case MultiplierColumn:
        return storeReal(signal.multiplier, text);
    case AddendColumn:
        return storeReal(signal.addend, text);
    case MuxValueColumn:
        return storeInteger(signal.muxValue, text, 16);
    case NameColumn:
        signal.signalName = text;
        return CellEdit::Renamed;
    default:
        break;
    }
    const CellEdit edit = storeInteger(signal.*Integers[column], text, 10);
    if (column == ShowModeColumn && edit == CellEdit::Changed) {
        signal.plotted = signal.showMode != 0;
    }
    return edit;
}

} // namespace formats
