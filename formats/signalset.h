// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/signaldecoder.h"

#include <QVector>
#include <limits>

class QIODevice;

namespace formats {

// The texts of signals, in the cells of the signal table and in signal set files. A column is one
// of the table, 0 to SignalColumnCount - 1.

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

// Rows of the signal table. Many times what anybody needs; a table of frames, chosen by mistake for
// a signal set, has more, and each row takes 4 kB and some time at every drawing of the chart.
constexpr int MostSignals = 100'000;

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

// A signal set file: UTF-8, one signal a line, the fields of CanSignalData in the order of the
// signal table, separated by ";", lines ended by carriage return and line feed. There are no quotes
// and no escapes: a name that holds ";" or a line break spoils its line. Whether a signal is
// plotted is not kept.
//
// Each line ends in a twelfth field, the characters "%12", as all files in use have it.
QByteArray signalSet(const QVector<CanSignalData>& signalList);

// The signals up to the first empty line, at most so many. A number that cannot be read is 0, as is
// one that a short line does not have. A negative multiplexer value, which is written with 16
// digits, comes back as 0. A device that is not open gives no signals.
QVector<CanSignalData> readSignalSet(QIODevice& device, int most = std::numeric_limits<int>::max());

} // namespace formats
