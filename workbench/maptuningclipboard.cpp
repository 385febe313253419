// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui_maptuning.h"
#include "workbench/maptuning.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace {

// The first fields of a text, the empty ones too. Unlike QString::split it makes no more of them
// than are asked for: a clipboard may hold millions.
QStringList firstFields(const QString& text, QChar separator, int most)
{
    QStringList fields;
    int start = 0;
    while (fields.size() < most) {
        const int end = text.indexOf(separator, start);
        if (end < 0) {
            fields << text.mid(start);
            break;
        }
        fields << text.mid(start, end - start);
        start = end + 1;
    }
    return fields;
}

} // namespace

// Two forms: tab-separated text, nothing quoted, and the table that spreadsheets exchange as HTML.
// In the text a tab follows every cell and a line feed every row, the last ones too; read back, it
// has one more, empty, field in each row and one more, empty, row.
void MapTuning::mapValues_copy()
{
    const QRect cells = selectedRectangle();
    if (cells.isEmpty()) {
        return;
    }
    QString text;
    QString html = QStringLiteral("<!--StartFragment-->\n<table>");
    for (int row = cells.top(); row <= cells.bottom(); ++row) {
        html += QLatin1String("<tr>\n");
        for (int column = cells.left(); column <= cells.right(); ++column) {
            const QTableWidgetItem* item = ui->mapValues->item(row, column);
            const QString cell = item ? item->text() : QString();
            // A text always can be converted: this asks for the type, so that every cell is marked
            // as a number.
            const bool isNumber = QVariant(cell).canConvert<double>();
            html += QLatin1String(isNumber ? "  <td x:num>" : "  <td>");
            html += cell + QLatin1String("</td>\n");
            text += cell + QLatin1Char('\t');
        }
        html += QLatin1String("</tr>\n");
        text += QLatin1Char('\n');
    }
    // The text replaces the table that was put there a moment before: other programs get the text.
    auto* table = new QMimeData;
    table->setHtml(html + QLatin1String("</table><!--EndFragment-->\n"));
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setMimeData(table);
    clipboard->setText(text);
}

// A carriage return stays in the last field of its line.
void MapTuning::mapValues_paste()
{
    const QString text = QGuiApplication::clipboard()->text();
    const QRect cells = selectedRectangle();
    if (cells.isEmpty()) {
        return;
    }
    int row = cells.top();
    for (const QString& line : firstFields(text, QLatin1Char('\n'), cells.height())) {
        int column = cells.left();
        for (const QString& field : firstFields(line, QLatin1Char('\t'), cells.width())) {
            if (!ui->mapValues->item(row, column)) {
                // Sends a 0 of its own, also where the field is empty.
                ui->mapValues->setItem(row, column, new QTableWidgetItem);
            }
            ui->mapValues->item(row, column)->setText(field);
            ++column;
        }
        ++row;
    }
}
