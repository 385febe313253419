// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui_maptuning.h"
#include "workbench/cellblock.h"
#include "workbench/maptuning.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

void MapTuning::mapValues_copy()
{
    const QRect rectangle = selectedRectangle();
    if (rectangle.isEmpty()) {
        return;
    }
    workbench::CellBlock cells;
    for (int row = rectangle.top(); row <= rectangle.bottom(); ++row) {
        cells << QStringList();
        for (int column = rectangle.left(); column <= rectangle.right(); ++column) {
            const QTableWidgetItem* item = ui->mapValues->item(row, column);
            cells.last() << (item ? item->text() : QString());
        }
    }
    // The text replaces the table that was put there a moment before: other programs get the text.
    auto* table = new QMimeData;
    table->setHtml(workbench::toHtml(cells));
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setMimeData(table);
    clipboard->setText(workbench::toText(cells));
}

void MapTuning::mapValues_paste()
{
    const QString text = QGuiApplication::clipboard()->text();
    const QRect target = selectedRectangle();
    if (target.isEmpty()) {
        return;
    }
    const workbench::CellBlock cells = workbench::fromText(text, target.height(), target.width());
    for (int row = 0; row < cells.size(); ++row) {
        for (int column = 0; column < cells[row].size(); ++column) {
            const int tableRow = target.top() + row;
            const int tableColumn = target.left() + column;
            QTableWidgetItem* item = ui->mapValues->item(tableRow, tableColumn);
            if (!item) {
                // Sends a 0 of its own, also where the field is empty.
                item = new QTableWidgetItem;
                ui->mapValues->setItem(tableRow, tableColumn, item);
            }
            item->setText(cells[row][column]);
        }
    }
}
