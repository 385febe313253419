// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/candumpwindow.h"

#include "ui_candumpwindow.h"

#include <QHeaderView>

CandumpWindow::CandumpWindow(QAbstractTableModel* model, QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::CandumpWindow>())
{
    ui->setupUi(this);
    setAttribute(Qt::WA_QuitOnClose, false);
    ui->tableView->setModel(model);
    // As wide as their longest text and some room around it; the last one takes the rest. Not by
    // ResizeToContents, which would ask the cells after each frame.
    constexpr int Bytes = 8;
    for (int column = 0; column < model->columnCount(); ++column) {
        const QString widest = column < Bytes ? QStringLiteral("B000") : QStringLiteral("CAN0000");
        ui->tableView->setColumnWidth(column, fontMetrics().horizontalAdvance(widest));
    }
    ui->tableView->horizontalHeader()->setStretchLastSection(true);
}

CandumpWindow::~CandumpWindow() = default;
