// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/candumptableview.h"

#include "capture/candumptextdelegate.h"

#include <QPalette>

namespace capture {

CandumpTableView::CandumpTableView(QWidget* parent)
    : QTableView(parent)
    , pacer([this] { QTableView::dataChanged(QModelIndex(), QModelIndex()); }, nullptr)
{
    setItemDelegate(new CandumpTextDelegate(this));
    // The model's colours, black and reds, need a light ground, on a dark desktop as well. Of the
    // viewport alone: some styles give the headers the ground of the view.
    QPalette light;
    light.setColor(QPalette::Base, Qt::white);
    viewport()->setPalette(light);
}

void CandumpTableView::dataChanged(const QModelIndex&, const QModelIndex&, const QVector<int>&)
{
    pacer.request();
}

} // namespace capture
