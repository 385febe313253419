// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/plotcurve.h"

#include <QPainter>
#include <QSignalBlocker>
#include <QStyleOptionGraphicsItem>
#include <algorithm>
#include <cmath>
#include <limits>

using workbench::PlotCurve;

namespace {

constexpr std::size_t mostWhole = 2000; // points up to which a series holds all of them
constexpr qreal besidePoint = 4;        // pixels that a curve may take up left and right of a point
constexpr double beyond = std::numeric_limits<double>::infinity();
constexpr double ownColumn = std::numeric_limits<double>::quiet_NaN(); // not equal to any other

} // namespace

PlotCurve::PlotCurve(QLineSeries& lineSeries, QValueAxis& horizontalAxis, QValueAxis& verticalAxis)
    : QGraphicsObject(lineSeries.chart())
    , series(lineSeries)
    , axisX(horizontalAxis)
    , pen(lineSeries.pen())
{
    constexpr qreal asSeries = 4; // so that all curves lie in the order of their choice
    setZValue(asSeries);
    setFlag(ItemUsesExtendedStyleOption); // tells paint what is exposed
    QPen noPen = pen;
    noPen.setStyle(Qt::NoPen); // the colour stays: the legend shows it
    series.setPen(noPen);
    connect(&axisX, &QValueAxis::rangeChanged, this, &PlotCurve::changeView);
    connect(&verticalAxis, &QValueAxis::rangeChanged, this, [this] { update(); });
    connect(series.chart(), &QChart::plotAreaChanged, this, &PlotCurve::changeView);
    changeView();
}

void PlotCurve::append(float x, int y)
{
    history.push_back({x, y});
    const std::size_t points = history.size();
    if (points == mostWhole + 1) {
        changeView();
    } else if (show(static_cast<int>(points) - 1)) {
        fillSeries();
        updateNewest();
    }
}

void PlotCurve::changeView()
{
    prepareGeometryChange();
    plotArea = series.chart()->plotArea();
    left = axisX.min();
    right = axisX.max();
    width = (right - left) / plotArea.width();
    column = ownColumn;
    shown.clear();
    for (int index = 0; index < static_cast<int>(history.size()); ++index) {
        show(index);
    }
    fillSeries();
    update();
}

// All that lies on one side of the view is one column.
double PlotCurve::columnOf(float x) const
{
    if (history.size() <= mostWhole) {
        return ownColumn;
    }
    if (x < left) {
        return -beyond;
    }
    return x > right ? beyond : std::floor(x / width);
}

// Takes the next point into what is shown; false if it makes no difference.
bool PlotCurve::show(int index)
{
    const double next = columnOf(history[index].x);
    if (next != column) {
        if (!shown.isEmpty() && shown.last() != at(index - 1)) {
            shown << at(index - 1); // where the curve leaves the column
        }
        column = next;
        start = shown.size();
        low = high = index;
        shown << at(index);
        return true;
    }
    const int y = history[index].y;
    if (std::isinf(column) || (y >= history[low].y && y <= history[high].y)) {
        return false;
    }
    (y < history[low].y ? low : high) = index;
    shown.resize(start + 1);
    for (const int extreme : {std::min(low, high), std::max(low, high)}) {
        if (shown.last() != at(extreme)) {
            shown << at(extreme);
        }
    }
    return true;
}

void PlotCurve::fillSeries()
{
    const QSignalBlocker chartIsNotTold(series);
    series.replace(shown);
}

// Repaints the strip from the column before the newest one.
void PlotCurve::updateNewest()
{
    const qreal from = position(shown[std::max(start - 1, 0)]).x();
    const qreal to = position(shown.last()).x();
    const QRectF strip(std::min(from, to), plotArea.top(), std::abs(to - from), plotArea.height());
    const QRectF inView = strip.adjusted(-besidePoint, 0, besidePoint, 1) & boundingRect();
    if (!inView.isEmpty()) {
        update(inView); // an empty one would mean all
    }
}

// The pixels that the chart clips its series to: a curve along the right or lower edge is not cut.
QRectF PlotCurve::boundingRect() const
{
    const auto beyondEdge = [](qreal from, qreal size) {
        return std::max(from - std::floor(from), size + 0.5 - std::floor(size + 0.5));
    };
    const qreal overRight = beyondEdge(plotArea.x(), plotArea.width());
    const qreal overBottom = beyondEdge(plotArea.y(), plotArea.height());
    return plotArea.adjusted(0, 0, overRight, overBottom).toAlignedRect();
}

void PlotCurve::paint(
    QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* /*widget*/)
{
    const QRectF exposed = option->exposedRect.translated(-plotArea.topLeft());
    const double from = left + (exposed.left() - besidePoint) * width;
    const double to = left + (exposed.right() + besidePoint) * width;
    painter->setClipRect(boundingRect(), Qt::IntersectClip);
    painter->setPen(pen);
    for (int index = 1; index < shown.size(); ++index) {
        const QPointF& begin = shown[index - 1];
        const QPointF& end = shown[index];
        if (std::max(begin.x(), end.x()) >= from && std::min(begin.x(), end.x()) <= to) {
            painter->drawLine(position(begin), position(end)); // without joins, as the chart does
        }
    }
}
