// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/plotlines.h"

#include <QPainter>
#include <QSignalBlocker>
#include <QTimer>
#include <algorithm>
#include <cmath>

namespace workbench {

namespace {

constexpr int mostDrawnByChart = 500; // points of a line
constexpr int mostWhole = 10000;      // points up to which a series holds its whole line
constexpr double margin = 8;          // pixels beside the plot area whose points are kept
constexpr int mostPainted = 40000;    // segments at a time; some 20 ms
constexpr int mostTraced = 10000;     // points that wait for a hidden window to be shown

// What a chart clips its lines to: the plot area, and the pixels that its edges touch.
QRectF clipOf(const QRectF& area)
{
    const auto fraction = [](qreal value) { return value - std::floor(value); };
    return area.adjusted(
        -fraction(area.x()), -fraction(area.y()),
        std::max(fraction(area.x()), fraction(area.width() + 0.5)),
        std::max(fraction(area.y()), fraction(area.height() + 0.5)));
}

QRect pictureRect(const QRectF& area)
{
    return clipOf(area).toAlignedRect();
}

} // namespace

PlotLines::PlotLines(
    QtCharts::QChart* plottedIn, QtCharts::QValueAxis* horizontal, QtCharts::QValueAxis* vertical)
    : QGraphicsObject(plottedIn)
    , chart(plottedIn)
    , axisX(horizontal)
    , axisY(vertical)
{
    setZValue(100); // over the grid, the axes and the lines of the chart
    setAcceptedMouseButtons(Qt::NoButton);
    connect(chart, &QtCharts::QChart::plotAreaChanged, this, &PlotLines::changeView);
    connect(axisX, &QtCharts::QValueAxis::rangeChanged, this, &PlotLines::changeView);
    connect(axisY, &QtCharts::QValueAxis::rangeChanged, this, &PlotLines::changeView);
    changeView();
}

void PlotLines::add(QtCharts::QLineSeries* series)
{
    lines.emplace_back();
    lines.back().series = series;
    if (drawing) {
        takeOver(lines.back());
    }
}

void PlotLines::remove(QtCharts::QLineSeries* series)
{
    const auto isIt = [series](const Line& line) { return line.series == series; };
    lines.erase(std::remove_if(lines.begin(), lines.end(), isIt), lines.end());
    drawing = drawing && !lines.empty();
    update();
}

void PlotLines::append(QtCharts::QLineSeries* series, float x, int y)
{
    const auto isIt = [series](const Line& candidate) { return candidate.series == series; };
    const auto found = std::find_if(lines.begin(), lines.end(), isIt);
    if (found == lines.end()) {
        return;
    }
    Line& line = *found;
    const QPointF point(x, y);
    const int size = line.history.size();
    const QPointF previous = size > 0 ? line.history.at(size - 1) : point;
    line.history.append(x, y);
    if (!drawing) {
        series->append(point);
        if (line.history.size() > mostDrawnByChart) {
            drawing = true;
            for (Line& each : lines) {
                takeOver(each);
            }
        }
        return;
    }
    const bool seen = isSeen(previous, point);
    addToSeries(line, previous, point, seen);
    if (seen && size > 0) {
        trace(line, previous, point);
    }
}

bool PlotLines::isSeen(const QPointF& from, const QPointF& to) const
{
    return std::max(from.x(), to.x()) >= left && std::min(from.x(), to.x()) <= right;
}

QPointF PlotLines::position(const QPointF& value) const
{
    const qreal pixelsX = area.width() / (axisX->max() - axisX->min());
    const qreal pixelsY = area.height() / (axisY->max() - axisY->min());
    return {
        area.x() + (value.x() - axisX->min()) * pixelsX,
        area.y() + (area.height() - (value.y() - axisY->min()) * pixelsY)};
}

void PlotLines::takeOver(Line& line)
{
    line.pen = line.series->pen();
    QPen noPen = line.pen;
    noPen.setStyle(Qt::NoPen); // the colour stays: the legend shows it
    line.series->setPen(noPen);
    update();
}

void PlotLines::addToSeries(Line& line, const QPointF& previous, const QPointF& point, bool seen)
{
    if (line.whole && line.history.size() > mostWhole) {
        line.whole = false;
        fillSeries(line);
        return;
    }
    const QSignalBlocker chartIsNotTold(line.series);
    if (line.left && seen) {
        line.series->append(previous);
    }
    if (line.whole || seen) {
        line.series->append(point);
    }
    line.left = !line.whole && !seen;
}

void PlotLines::fillSeries(Line& line)
{
    QVector<QPointF> points = line.history.between(left, right);
    thinColumns(points, (axisX->max() - axisX->min()) / area.width());
    const QSignalBlocker chartIsNotTold(line.series);
    line.series->replace(std::move(points));
    line.left = false;
}

// Comes before the chart lays out its lines for the new view.
void PlotLines::changeView()
{
    const QRectF oldArea = area;
    const double oldLeft = left;
    const double oldRight = right;
    prepareGeometryChange();
    area = chart->plotArea();
    const double beside = margin * (axisX->max() - axisX->min()) / std::max(area.width(), 1.0);
    left = axisX->min() - beside;
    right = axisX->max() + beside;
    const bool refill = left != oldLeft || right != oldRight || area.width() != oldArea.width();
    for (Line& line : lines) {
        dropPicture(line);
        if (refill && !line.whole) {
            fillSeries(line);
        }
    }
    if (drawing) {
        suspendAnimation();
    }
}

// The chart would lay out its lines sixty times a second, and nobody would see it.
void PlotLines::suspendAnimation()
{
    const QtCharts::QChart::AnimationOptions options = chart->animationOptions();
    if (options != QtCharts::QChart::NoAnimation) {
        chart->setAnimationOptions(QtCharts::QChart::NoAnimation);
        QTimer::singleShot(0, this, [this, options] { chart->setAnimationOptions(options); });
    }
}

QRectF PlotLines::boundingRect() const
{
    return pictureRect(area);
}

void PlotLines::paint(
    QPainter* painter, const QStyleOptionGraphicsItem* /*option*/, QWidget* /*widget*/)
{
    if (!drawing || area.isEmpty()) {
        return;
    }
    int budget = mostPainted;
    for (Line& line : lines) {
        if (line.picture.isNull() && budget > 0) {
            beginPicture(line, painter->device()->devicePixelRatioF());
        }
        budget -= paintSegments(line, budget);
        painter->drawImage(pictureRect(area).topLeft(), line.picture);
    }
    if (budget == 0) {
        QTimer::singleShot(0, this, [this] { update(); });
    }
}

void PlotLines::beginPicture(Line& line, qreal pixelRatio) const
{
    line.picture =
        QImage(pictureRect(area).size() * pixelRatio, QImage::Format_ARGB32_Premultiplied);
    line.picture.setDevicePixelRatio(pixelRatio);
    line.picture.fill(Qt::transparent);
    line.traced = line.history.between(left, right);
}

void PlotLines::dropPicture(Line& line)
{
    line.picture = QImage();
    line.traced.clear();
    line.painted = 0;
}

// The new segment waits for the next painting.
void PlotLines::trace(Line& line, const QPointF& previous, const QPointF& point)
{
    if (line.traced.size() - line.painted > mostTraced) {
        dropPicture(line);
    }
    if (!line.picture.isNull()) {
        if (line.traced.isEmpty() || line.traced.last() != previous) {
            line.traced << previous; // the points before it were not seen
        }
        line.traced << point;
    }
    const qreal edge = line.pen.widthF() + 1;
    const QRectF segment = QRectF(position(previous), position(point)).normalized();
    update(segment.adjusted(-edge, -edge, edge, edge) & boundingRect());
}

// Segment by segment and without joins, as the chart itself draws a line. Gives how many it were.
int PlotLines::paintSegments(Line& line, int most) const
{
    const int segments = std::min(line.traced.size() - 1 - line.painted, most);
    if (line.picture.isNull() || segments <= 0) {
        return 0;
    }
    QPainter painter(&line.picture);
    painter.translate(-pictureRect(area).topLeft());
    painter.setClipRect(clipOf(area));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(line.pen);
    const int end = line.painted + segments;
    for (; line.painted < end; ++line.painted) {
        painter.drawLine(
            position(line.traced[line.painted]), position(line.traced[line.painted + 1]));
    }
    if (line.painted == line.traced.size() - 1) {
        line.traced.clear();
        line.painted = 0;
    }
    return segments;
}

} // namespace workbench
