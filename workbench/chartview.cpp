// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/chartview.h"

#include <QKeyEvent>

namespace {

constexpr qreal scrollStep = 10; // pixels

} // namespace

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
    switch (event->key()) {
    case Qt::Key_Plus:
        chart()->zoomIn();
        break;
    case Qt::Key_Minus:
        chart()->zoomOut();
        break;
    case Qt::Key_0:
        chart()->zoomReset();
        break;
    case Qt::Key_Left:
        chart()->scroll(-scrollStep, 0);
        break;
    case Qt::Key_Right:
        chart()->scroll(scrollStep, 0);
        break;
    case Qt::Key_Up:
        chart()->scroll(0, scrollStep);
        break;
    case Qt::Key_Down:
        chart()->scroll(0, -scrollStep);
        break;
    default:
        QGraphicsView::keyPressEvent(event);
        break;
    }
}
