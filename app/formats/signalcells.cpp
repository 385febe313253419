// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/signalcells.h"

namespace formats {

namespace {

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
    const Value typed = text.toInt(&isNumber, base);
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

QString hexText(quint64 value)
{
    return QStringLiteral("%1").arg(value, 0, 16);
}

} // namespace

QString loadedSignalCellText(const CanSignalData& signal, int column)
{
    switch (column) {
    case FrameIdColumn:
        return QStringLiteral("0x%1").arg(signal.frameId, 0, 16);
    case BitOffsetColumn:
        return QString::number(signal.bitOffset);
    case BitLengthColumn:
        return QString::number(signal.bitLength);
    case MultiplierColumn:
        return realText(signal.multiplier);
    case AddendColumn:
        return realText(signal.addend);
    case ShowModeColumn:
        return QString::number(signal.showMode);
    case MuxOffsetColumn:
        return QString::number(signal.muxOffset);
    case MuxLengthColumn:
        return QString::number(signal.muxLength);
    case MuxValueColumn:
        return hexText(static_cast<quint64>(signal.muxValue));
    case RequiredLengthColumn:
        return QString::number(signal.requiredLength);
    default:
        return signal.signalName;
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
    case BitOffsetColumn:
        return storeInteger(signal.bitOffset, text, 10);
    case BitLengthColumn:
        return storeInteger(signal.bitLength, text, 10);
    case MultiplierColumn:
        return storeReal(signal.multiplier, text);
    case AddendColumn:
        return storeReal(signal.addend, text);
    case ShowModeColumn: {
        const CellEdit edit = storeInteger(signal.showMode, text, 10);
        if (edit == CellEdit::Changed) {
            signal.plotted = signal.showMode != 0;
        }
        return edit;
    }
    case MuxOffsetColumn:
        return storeInteger(signal.muxOffset, text, 10);
    case MuxLengthColumn:
        return storeInteger(signal.muxLength, text, 10);
    case MuxValueColumn:
        return storeInteger(signal.muxValue, text, 16);
    case RequiredLengthColumn:
        return storeInteger(signal.requiredLength, text, 10);
    default:
        signal.signalName = text;
        return CellEdit::Renamed;
    }
}

} // namespace formats
