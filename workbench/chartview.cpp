// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/chartview.h"

#include <QKeyEvent>
#include <QMap>

ChartView::ChartView(QChart* chart, QWidget* parent)
    : QChartView(chart, parent)
{
    setRubberBand(QChartView::RectangleRubberBand);
}

bool ChartView::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::TouchBegin) {
        touching = true;
        chart()->setAnimationOptions(QChart::NoAnimation);
    }
    return QGraphicsView::viewportEvent(event);
}

void ChartView::mousePressEvent(QMouseEvent* event)
{
    if (!touching) {
        QChartView::mousePressEvent(event);
    }
}

void ChartView::mouseMoveEvent(QMouseEvent* event)
{
    if (!touching) {
        QChartView::mouseMoveEvent(event);
    }
}

void ChartView::mouseReleaseEvent(QMouseEvent* event)
{
    touching = false;
    // On purpose at every release: from the first click on, zooming is animated.
    chart()->setAnimationOptions(QChart::SeriesAnimations);
    QChartView::mouseReleaseEvent(event);
}

void ChartView::keyPressEvent(QKeyEvent* event)
{
    // Pixels to the right and up.
    static const QMap<int, QPointF> scrolls = {
        {Qt::Key_Left, {-10, 0}},
        {Qt::Key_Right, {10, 0}},
        {Qt::Key_Up, {0, 10}},
        {Qt::Key_Down, {0, -10}}};
    const int key = event->key();
    if (key == Qt::Key_Plus) {
        chart()->zoomIn();
    } else if (key == Qt::Key_Minus) {
        chart()->zoomOut();
    } else if (key == Qt::Key_0) {
        chart()->zoomReset();
    } else if (scrolls.contains(key)) {
        chart()->scroll(scrolls[key].x(), scrolls[key].y());
    } else {
        QGraphicsView::keyPressEvent(event);
    }
}
