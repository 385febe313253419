// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/renderer.h"

#include <QPainter>
#include <QVector>
#include <QtMath>

namespace chart {

namespace {

// Lays an opaque colour over another, on a share of a pixel in 256ths. Rounds: a pile of curves
// would fade what is below it otherwise.
QRgb blend(QRgb below, QRgb colour, int share)
{
    constexpr QRgb everyOther = 0x00ff00ff; // two channels at once
    const auto mix = [share = static_cast<unsigned>(share)](QRgb over, QRgb under) {
        return (over & everyOther) * share + (under & everyOther) * (256 - share) + 0x00800080;
    };
    return (mix(colour, below) >> 8 & everyOther) | (mix(colour >> 8, below >> 8) & ~everyOther);
}

// A line as wide as a pixel, antialiased, without caps. QPainter takes three times as long, and
// leads it up to a pixel beside its way, depending on where the picture cuts it: columns that are
// painted anew would not fit to those beside them.
void drawThinLine(QImage& picture, QRgb colour, QPointF from, QPointF to)
{
    QSize size = picture.size();
    std::ptrdiff_t right = 1;
    std::ptrdiff_t down = picture.bytesPerLine() / int(sizeof(QRgb));
    if (qAbs(to.x() - from.x()) > qAbs(to.y() - from.y())) { // the same, lying on its side
        from = from.transposed();
        to = to.transposed();
        size.transpose();
        std::swap(right, down);
    }
    if (from.y() > to.y()) {
        std::swap(from, to);
    }
    const double begin = qMax(0.0, from.y());
    const double end = qMin<double>(size.height(), to.y());
    if (!(begin < end)) {
        return;
    }
    const double slope = (to.x() - from.x()) / (to.y() - from.y()); // -1 to 1
    const double x = from.x() + (qFloor(begin) + 0.5 - from.y()) * slope - 0.5;
    if (!(x > -size.height() - 2 && x < size.width() + size.height() + 1)) { // or NaN
        return;
    }
    auto* const pixels = reinterpret_cast<QRgb*>(picture.bits());
    const auto isInside = [&](int column) { return column >= 0 && column < size.width(); };
    // In 256ths and 65536ths of a pixel.
    const int first = int(begin * 256);
    const int last = int(end * 256);
    auto place = static_cast<qint64>(std::floor(x * 65536));
    const auto step = static_cast<qint64>(slope * 65536);
    for (int y = first / 256; y * 256 < last; ++y, place += step) {
        const int column = int(place >> 16);
        const int share = qMin(y * 256 + 256, last) - qMax(y * 256, first);
        const int beside = share * int(place & 0xffff) >> 16;
        QRgb* const pixel = pixels + y * down + column * right;
        if (isInside(column)) {
            *pixel = blend(*pixel, colour, share - beside);
        }
        if (isInside(column + 1)) {
            pixel[right] = blend(pixel[right], colour, beside);
        }
    }
}

// The points of a channel in one column of pixels.
struct Column
{
    double pixel; // where it begins
    int count = 0;
    Point first = {};
    Point last = {};
    Span values = {}; // of the points that have numbers
};

class CurvePainter
{
public:
    CurvePainter(const Scene& ofScene, int firstColumn, QImage& picture)
        : scene(ofScene)
        , columns(picture)
        , left(firstColumn / scene.pixelRatio)
        , right((firstColumn + picture.width()) / scene.pixelRatio)
        , painter(&picture)
    {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(-firstColumn, 0);
        painter.scale(scene.pixelRatio, scene.pixelRatio);
    }

    void paint(const Curve& curve);

private:
    QPointF position(const Point& point) const
    {
        return {scene.keys.pixel(point.key), scene.values.pixel(point.value)};
    }
    void addColumns(const Curve& curve, const Span& keys);
    void addColumn(const Column& column);
    void addToLine(QPointF point);
    void finishLine();

    const Scene& scene;
    QImage& columns;
    double left; // of the columns, in pixels of the plot
    double right;
    QPainter painter;

    bool isThin = false; // of the curve's lines
    QVector<QPointF> line;
    Column previous{}; // the last that was added, if any
};

void CurvePainter::paint(const Curve& curve)
{
    painter.setPen(QPen(QColor::fromRgba(curve.colour), curve.width));
    isThin = curve.width == 0 && qAlpha(curve.colour) == 255;
    const Span keys{
        scene.keys.coordinate(left - curve.reach()), scene.keys.coordinate(right + curve.reach())};
    previous = {};
    if (curve.isDense) {
        addColumns(curve, keys);
    } else {
        curve.history->visit(curve.channel, keys, [&](const Block& block, int begin, int end) {
            for (int i = begin; i < end; ++i) {
                addToLine(position(block.point(curve.channel, i)));
            }
            return true;
        });
    }
    finishLine();
}

// The points between two keys and one on either side, column by column.
void CurvePainter::addColumns(const Curve& curve, const Span& keys)
{
    const auto columnOf = [this](double key) {
        return std::floor(scene.keys.pixel(key) - 0.5) + 0.5;
    };
    Column column{};
    curve.history->visit(curve.channel, keys, [&](const Block& block, int begin, int end) {
        const double* const all = block.keys().data();
        while (begin < end) {
            const double pixel = columnOf(all[begin]);
            const auto isInColumn = [&](double key) { return columnOf(key) == pixel; };
            int stop = end;
            if (!isInColumn(all[end - 1])) {
                stop = int(std::partition_point(all + begin + 1, all + end, isInColumn) - all);
            }
            if (column.count > 0 && column.pixel != pixel) {
                addColumn(column);
                column = Column{};
            }
            if (column.count == 0) {
                column.pixel = pixel;
                column.first = block.point(curve.channel, begin);
            }
            column.count += stop - begin;
            column.last = block.point(curve.channel, stop - 1);
            column.values.unite(block.extent(curve.channel, begin, stop));
            begin = stop;
        }
        return true;
    });
    if (column.count > 0) {
        addColumn(column);
    }
}

// Leads the line to a column and through it, as the library's adaptive sampling does, but for this:
// where the curve falls, the highest point comes first. With the lowest first, the line would cross
// each column twice, and falling flanks would look thicker than rising ones. And between columns
// that are apart, it runs from point to point: no other point of theirs can change it.
void CurvePainter::addColumn(const Column& column)
{
    if (previous.count > 0 && column.pixel - previous.pixel != 1) {
        addToLine(position(previous.last));
        addToLine(position(column.first));
    }
    if (column.count > 1 && !column.values.isEmpty()) {
        const auto [lowest, highest] = column.values;
        const bool falls = column.last.value < column.first.value;
        addToLine({column.pixel + 0.25, scene.values.pixel(falls ? highest : lowest)});
        addToLine({column.pixel + 0.75, scene.values.pixel(falls ? lowest : highest)});
    } else {
        addToLine(position(column.first));
    }
    previous = column;
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
    if (isThin) {
        const QRgb colour = painter.pen().color().rgba();
        const QTransform& toPicture = painter.transform();
        for (int i = 1; i < line.size(); ++i) {
            drawThinLine(columns, colour, toPicture.map(line[i - 1]), toPicture.map(line[i]));
        }
    } else if (line.size() > 1) {
        painter.drawPolyline(line.constData(), line.size());
    }
    line.resize(0);
}

} // namespace

bool isDense(const Curve& curve, const Scale& keys)
{
    const Span all = curve.history->keys(curve.channel);
    const Span seen{std::max(keys.lower, all.lowest), std::min(keys.upper, all.highest)};
    const double fewest = 2 * (keys.pixel(seen.highest) - keys.pixel(seen.lowest)) + 2;
    double count = 0;
    curve.history->visit(curve.channel, seen, [&](const Block& /*block*/, int begin, int end) {
        count += end - begin;
        return count < fewest;
    });
    return count >= fewest;
}

void render(
    const Scene& scene, const std::vector<Curve>& curves, int first, int count, uchar* bits,
    const std::atomic<bool>& isCancelled)
{
    constexpr qsizetype pixel = sizeof(QRgb);
    QImage columns(
        bits + pixel * first, count, scene.size.height(), int(pixel * scene.size.width()),
        QImage::Format_ARGB32_Premultiplied);
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
