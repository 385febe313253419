// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/candumptableview.h"

#include "app/candumptextdelegate.h"
#include "app/displayframe.h"

#include <QPalette>
#include <QTimerEvent>

CandumpTableView::CandumpTableView(QWidget* parent)
    : QTableView(parent)
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
    if (repaintPause.isActive()) {
        changedInPause = true;
        return;
    }
    repaintPause.start(DisplayFrameMs, Qt::PreciseTimer, this);
    QTableView::dataChanged(QModelIndex(), QModelIndex());
}

void CandumpTableView::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != repaintPause.timerId()) {
        QTableView::timerEvent(event);
    } else if (changedInPause) {
        changedInPause = false;
        QTableView::dataChanged(QModelIndex(), QModelIndex());
    } else {
        repaintPause.stop();
    }
}
