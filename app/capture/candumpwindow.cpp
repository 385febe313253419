// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/candumpwindow.h"

#include "ui_candumpwindow.h"

CandumpWindow::CandumpWindow(QAbstractTableModel* model, QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::CandumpWindow>())
{
    ui->setupUi(this);
    setAttribute(Qt::WA_QuitOnClose, false);
    ui->tableView->setModel(model);
}

CandumpWindow::~CandumpWindow() = default;
