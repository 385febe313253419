// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/renderer.h"

#include "chart/columns.h"

#include <QPainter>
#include <QVector>

namespace chart {

namespace {

// Follows a curve from column to column. A few points in a column are joined by lines. More are
// drawn as a bar from the lowest to the highest, which is faster and hides no more.
class CurvePainter
{
public:
    CurvePainter(const Scene& ofScene, int firstColumn, QImage& columns)
        : scene(ofScene)
        , frame(firstColumn, 0, columns.width(), columns.height())
        , painter(&columns)
    {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(-firstColumn, 0);
    }

    void paint(const Curve& curve);

private:
    int columnOf(double key) const;
    QPointF position(const Point& point) const
    {
        return {scene.keys.pixel(point.key), scene.values.pixel(point.value)};
    }
    void paint(const Column& column);
    void addToLine(QPointF point);
    void finishLine();

    const Scene& scene;
    QRectF frame; // of the columns
    QPainter painter;

    QVector<QPointF> line; // begins with the last point of a bar, if there is one before it
};

int CurvePainter::columnOf(double key) const
{
    constexpr double farOutside = 1e9;
    const double pixel = scene.keys.pixel(key);
    return std::isnan(pixel) ? std::numeric_limits<int>::min()
                             : static_cast<int>(std::floor(qBound(-farOutside, pixel, farOutside)));
}

void CurvePainter::paint(const Curve& curve)
{
    painter.setPen(curve.pen);
    const double reach = 1 + curve.pen.widthF(); // of a point into the columns beside its own
    Span keys;
    keys.include(scene.keys.coordinate(frame.left() - reach));
    keys.include(scene.keys.coordinate(frame.right() + reach));
    visitColumns(
        *curve.history, curve.channel, keys, [this](double key) { return columnOf(key); },
        [this](const Column& column) { paint(column); });
    finishLine();
}

void CurvePainter::paint(const Column& column)
{
    Span extent; // from the top down
    extent.include(scene.values.pixel(column.values.lowest));
    extent.include(scene.values.pixel(column.values.highest));
    if (column.count <= Column::Few || extent.isEmpty()) {
        for (const Point& point : column.few) {
            addToLine(position(point));
        }
        return;
    }
    const QPointF entry = position(column.few.front());
    if (line.size() == 1 && qAbs(entry.x() - line.first().x()) < 1 && std::isfinite(entry.y())) {
        extent.include(line.first().y()); // bars that meet need no line between them
        line.resize(0);
    } else {
        addToLine(entry);
        finishLine();
    }
    const double width = painter.pen().widthF();
    QRectF bar(0, 0, width, qMax(width, extent.highest - extent.lowest));
    bar.moveCenter(QPointF(column.number + 0.5, (extent.lowest + extent.highest) / 2));
    painter.fillRect(bar & frame, painter.pen().color());
    addToLine(position(column.last()));
}

void CurvePainter::addToLine(QPointF point)
{
    if (std::isfinite(point.x()) && std::isfinite(point.y())) {
        line.append(point);
    } else {
        finishLine(); // a gap
    }
}

void CurvePainter::finishLine()
{
    if (line.size() > 1) {
        painter.drawPolyline(line.constData(), line.size());
    }
    line.resize(0);
}

} // namespace

double Scale::pixel(double coordinate) const
{
    if (!isLogarithmic) {
        return lowerPixel + (coordinate - lower) / (upper - lower) * (upperPixel - lowerPixel);
    }
    // What has no logarithm lies well outside, where QCPAxis puts it.
    constexpr double outside = 200;
    const double away = upperPixel < lowerPixel ? -outside : outside;
    if (coordinate >= 0 && upper < 0) {
        return upperPixel + away;
    }
    if (coordinate <= 0 && upper >= 0) {
        return lowerPixel - away;
    }
    return lowerPixel +
           std::log(coordinate / lower) / std::log(upper / lower) * (upperPixel - lowerPixel);
}

double Scale::coordinate(double pixel) const
{
    const double share = (pixel - lowerPixel) / (upperPixel - lowerPixel);
    return isLogarithmic ? lower * std::pow(upper / lower, share) : lower + share * (upper - lower);
}

void render(
    const Scene& scene, const std::vector<Curve>& curves, int first, QImage& columns,
    const std::atomic<bool>& isCancelled)
{
    columns.fill(Qt::transparent);
    CurvePainter painter(scene, first, columns);
    for (const Curve& curve : curves) {
        if (isCancelled) {
            return;
        }
        painter.paint(curve);
    }
}

} // namespace chart
