// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/cansignaldata.h"

namespace formats {

// The columns of the signal table.
enum SignalColumn {
    FrameIdColumn,
    BitOffsetColumn,
    BitLengthColumn,
    MultiplierColumn,
    AddendColumn,
    ShowModeColumn,
    MuxOffsetColumn,
    MuxLengthColumn,
    MuxValueColumn,
    RequiredLengthColumn,
    NameColumn,
    SignalColumnCount,
};

// The functions below take a column from 0 to SignalColumnCount - 1.

// The text that the table puts back into a cell. Identifier and multiplexer value in base 16 behind
// "0x", without padding; multiplier and addend with six significant digits, so that the text may
// say less than the value.
QString signalCellText(const CanSignalData& signal, int column);

// The text of a cell of a row that was loaded from a file. Unlike signalCellText the multiplexer
// value has no "0x".
QString loadedSignalCellText(const CanSignalData& signal, int column);

enum class CellEdit {
    Changed,   // the signal took the value; the cell keeps the text as typed
    Unchanged, // no number, or the value that the signal has: signalCellText goes into the cell
    Renamed,   // the signal took the name, which has no effect on its curve
};

// Gives the text that the user typed to the signal.
CellEdit applySignalCell(CanSignalData& signal, int column, const QString& text);

} // namespace formats
