// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/renderer.h"

#include <QPainter>
#include <QVector>
#include <array>

namespace chart {

namespace {

constexpr std::size_t Few = 4;

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
    void add(const Curve& curve, const Block& block, int begin, int end);
    void finishColumn();
    void addToLine(QPointF point);
    void finishLine();

    const Scene& scene;
    QRectF frame; // of the columns
    QPainter painter;

    int column = 0; // the one in hand
    int count = 0;
    std::vector<QPointF> points; // the first few of them
    QPointF last;
    Span extent;           // from the top down
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
    const double reach = 2 + curve.pen.widthF(); // of a point into the columns beside its own
    Span keys;
    keys.include(scene.keys.coordinate(frame.left() - reach));
    keys.include(scene.keys.coordinate(frame.right() + reach));
    const bool isOrdered = curve.history->isOrdered();
    curve.history->visit(curve.channel, keys, [&](const Block& block, int begin, int end) {
        const double* const all = block.keys().data();
        while (begin < end) {
            const int next = columnOf(all[begin]);
            const auto isInNext = [&](double key) { return columnOf(key) == next; };
            int stop = begin + 1;
            if (isOrdered && isInNext(all[end - 1])) {
                stop = end;
            } else if (isOrdered) {
                const double* const found = std::partition_point(all + begin, all + end, isInNext);
                stop = static_cast<int>(found - all);
            }
            if (next != column) {
                finishColumn();
                column = next;
            }
            add(curve, block, begin, stop);
            begin = stop;
        }
    });
    finishColumn();
    finishLine();
}

void CurvePainter::add(const Curve& curve, const Block& block, int begin, int end)
{
    const auto position = [&](int index) {
        return QPointF(
            scene.keys.pixel(block.keys()[static_cast<std::size_t>(index)]),
            scene.values.pixel(block.value(curve.channel, index)));
    };
    for (int i = begin; i < end && points.size() < Few; ++i) {
        points.push_back(position(i));
    }
    count += end - begin;
    const Span values = block.extent(curve.channel, begin, end);
    extent.include(scene.values.pixel(values.lowest));
    extent.include(scene.values.pixel(values.highest));
    last = position(end - 1);
}

void CurvePainter::finishColumn()
{
    if (count == static_cast<int>(points.size()) || extent.isEmpty()) {
        std::for_each(points.begin(), points.end(), [this](QPointF point) { addToLine(point); });
    } else {
        addToLine(points.front());
        finishLine();
        const double width = painter.pen().widthF();
        QRectF bar(0, 0, width, qMax(width, extent.highest - extent.lowest));
        bar.moveCenter(QPointF(column + 0.5, (extent.lowest + extent.highest) / 2));
        painter.fillRect(bar & frame, painter.pen().color());
        addToLine(last);
    }
    points.clear();
    count = 0;
    extent = Span();
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
