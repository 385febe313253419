// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace workbench {

// A block of table cells as it travels over the clipboard: the texts of the cells, row by row.
using CellBlock = QVector<QStringList>;

// Tab-separated text, nothing quoted. A tab follows every cell and a line feed every row, the last
// ones too; read back, such a text has one more, empty, field in each row and one more, empty, row.
QString toText(const CellBlock& cells);

// The table that spreadsheets exchange as HTML.
QString toHtml(const CellBlock& cells);

// Reads tab-separated text, at most the given number of rows and of columns in a row. Empty fields
// count, also those at the ends; carriage returns stay in the last field of their line.
CellBlock fromText(const QString& text, int mostRows, int mostColumns);

} // namespace workbench
