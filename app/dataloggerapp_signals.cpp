// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/chosenfile.h"
#include "app/dataloggerapp.h"
#include "chart/livechart.h"
#include "formats/channels.h"
#include "formats/signaldecoder.h"
#include "formats/signalset.h"
#include "platform/diagnostics.h"
#include "ui_dataloggerapp.h"

#include <QFileDialog>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <new>
#include <qcustomplot.h>

void DataLoggerApp::on_addCanTrace_clicked()
{
    addSignal(CanSignalData());
    ui->canTraceFrames->setRowCount(canSignals.size());
}

// For one more row of the table, adds the curve to the chart. The signal stands in the list before
// any cell does: each new cell runs the slot below.
void DataLoggerApp::addSignal(const CanSignalData& signal)
{
    QCPGraph* graph = liveChart->addSignal();
    graph->setName(QStringLiteral("Graph %1").arg(plot->graphCount())); // the library's own name
    graph->setPen(QPen(formats::channelColour(canSignalGraphs.size())));
    canSignalGraphs.append(graph);
    canSignals.append(signal);
}

void DataLoggerApp::on_canTraceFrames_itemChanged(QTableWidgetItem* item)
{
    const int row = item->row();
    const int column = item->column();
    emit addLog(QStringLiteral("row: %1, col: %2, val: %3").arg(row).arg(column).arg(item->text()));
    if (row < 0 || row >= canSignals.size() || column >= formats::SignalColumnCount) {
        return;
    }
    // A text that the console wrote says less than the value: it never changes it.
    CanSignalData& signal = canSignals[row];
    const formats::CellEdit edit = writingCells
                                       ? formats::CellEdit::Unchanged
                                       : formats::applySignalCell(signal, column, item->text());
    if (edit == formats::CellEdit::Changed) {
        rebuildSignalGraph(row);
    } else if (edit == formats::CellEdit::Unchanged) {
        const QScopedValueRollback<bool> writing(writingCells, true);
        item->setText(formats::signalCellText(signal, column));
    }
}

void DataLoggerApp::rebuildSignalGraph(int row)
{
    const CanSignalData& signal = canSignals[row];
    if (!formats::isDrawable(signal)) {
        return; // no place for such a signal in a frame: the old curve stays, without a word
    }
    auto* graph = static_cast<chart::Graph*>(canSignalGraphs[row]); // addSignal() made it
    graph->clearPoints();
    try {
        formats::drawSignal(
            signal, canTraceFrameList, frameIndex,
            [graph](double time, double value) { graph->addPoint(time, value); });
    } catch (const std::bad_alloc&) {
        // The log goes on with the part of the curve that there is.
        platform::errorLine("chart: out of memory, stopped in a signal");
    }
    requestReplot();
}

void DataLoggerApp::on_saveCanSignals_clicked()
{
    // Not getSaveFileName(): it knows no suffix, and one that is added behind its back would
    // replace a file without a question.
    QFileDialog dialog(this, tr("Open log file"), QString(), tr("CSV Files (*.csv)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("csv"));
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    QFile file(dialog.selectedFiles().constFirst());
    file.open(QIODevice::WriteOnly);
    file.write(formats::signalSet(canSignals));
}

// The rows are added to those that are there. They draw nothing until "Show" is changed.
void DataLoggerApp::on_loadCanSignals_clicked()
{
    readChosenFile(tr("CSV Files (*.csv)"), [this](app::ChosenFile& file) { loadSignals(file); });
    ui->canTraceFrames->setRowCount(canSignals.size()); // if memory did not do for all
    fitSignalColumns();
}

void DataLoggerApp::loadSignals(app::ChosenFile& file)
{
    const QScopedValueRollback<bool> writing(writingCells, true);
    const int room = qMax(0, formats::MostSignals - static_cast<int>(canSignals.size()));
    QVector<CanSignalData> loaded = formats::readSignalSet(file, room + 1);
    if (loaded.size() > room) {
        loaded.resize(room);
        platform::errorLine(
            qPrintable(file.fileName()), ", line ", room + 1,
            ": no room for more signals, left out from here on");
    }
    // All rows at once, or each one would have the table laid out anew, and each cell a hundred
    // rows measured.
    ui->canTraceFrames->horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    ui->canTraceFrames->setRowCount(canSignals.size() + loaded.size());
    for (const CanSignalData& signal : loaded) {
        addSignal(signal);
        const int row = canSignals.size() - 1;
        for (int column = 0; column < formats::SignalColumnCount; ++column) {
            ui->canTraceFrames->setItem(
                row, column, new QTableWidgetItem(formats::loadedSignalCellText(signal, column)));
        }
        file.pause();
    }
}
