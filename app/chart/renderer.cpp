// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/renderer.h"

#include <QPainter>
#include <algorithm>
#include <array>

namespace chart {

namespace {

// From so many points in a column on, only their extent is drawn.
constexpr std::size_t CrowdSize = 4;

constexpr int NoColumn = std::numeric_limits<int>::min(); // of a key that is NaN

int columnOf(double pixel)
{
    constexpr double farOutside = 1e9;
    return std::isnan(pixel) ? NoColumn
                             : static_cast<int>(std::floor(qBound(-farOutside, pixel, farOutside)));
}

// Neighbouring points of a block in one column.
struct Piece
{
    const Block* block;
    int first;
    int end;
    int column;
};

// The points in the columns from `left` to before `right`, in pieces that all channels of the same
// blocks have in common.
class Stretch
{
public:
    Stretch(const View& view, const Series& series, int left, int right);

    // Two points of a channel more on either side. A line leads to the first; the second keeps the
    // cap of the line, which shifts all of its last segment, out of the picture.
    template <typename Use>
    void before(int channel, Use use) const;
    template <typename Use>
    void behind(int channel, Use use) const;

    std::vector<Piece> pieces;

private:
    void add(const Block& block, int first, int end);
    Piece single(int at, int index) const;

    const Scale& keys;
    const BlockList& blocks;
    bool isOrdered;
    int firstBlock = 0;
    int firstPoint = 0; // of the block
    int endBlock;
    int endPoint = 0;
};

Stretch::Stretch(const View& view, const Series& series, int left, int right)
    : keys(view.keys)
    , blocks(*series.blocks)
    , isOrdered(series.isOrdered)
    , endBlock(static_cast<int>(blocks.size()))
{
    const bool isReversed = keys.upperPixel < keys.lowerPixel;
    const auto isBefore = [&](double key) {
        return isReversed ? keys.pixel(key) >= right : keys.pixel(key) < left;
    };
    const auto isBehind = [&](double key) {
        return isReversed ? keys.pixel(key) < left : keys.pixel(key) >= right;
    };
    const auto found = std::partition_point(blocks.begin(), blocks.end(), [&](const auto& block) {
        return isOrdered && isBefore(block->lastKey());
    });
    firstBlock = static_cast<int>(found - blocks.begin());
    for (auto block = found; block != blocks.end(); ++block) {
        int first = 0;
        while (isOrdered && block == found && isBefore((*block)->key(first))) {
            ++first;
        }
        int end = (*block)->size();
        while (isOrdered && end > first && isBehind((*block)->key(end - 1))) {
            --end;
        }
        add(**block, first, end);
        firstPoint = block == found ? first : firstPoint;
        if (end < (*block)->size()) {
            endBlock = static_cast<int>(block - blocks.begin());
            endPoint = end;
            break;
        }
    }
}

void Stretch::add(const Block& block, int first, int end)
{
    const int last = first < end ? columnOf(keys.pixel(block.key(end - 1))) : NoColumn;
    for (int stop = first; first < end; first = stop) {
        const int column = columnOf(keys.pixel(block.key(first)));
        stop = isOrdered && column == last ? end : first + 1;
        while (stop < end && columnOf(keys.pixel(block.key(stop))) == column) {
            ++stop;
        }
        pieces.push_back({&block, first, stop, column});
    }
}

Piece Stretch::single(int at, int index) const
{
    const Block* block = blocks[static_cast<std::size_t>(at)].get();
    return {block, index, index + 1, columnOf(keys.pixel(block->key(index)))};
}

template <typename Use>
void Stretch::before(int channel, Use use) const
{
    std::array<Piece, 2> found;
    std::size_t count = 0;
    int index = firstPoint - 1;
    for (int at = firstBlock; count < found.size();) {
        if (index < 0 || channel >= blocks[static_cast<std::size_t>(at)]->width) {
            if (--at < 0) {
                break;
            }
            index = blocks[static_cast<std::size_t>(at)]->size() - 1;
        } else {
            found[count++] = single(at, index--);
        }
    }
    std::for_each(found.rend() - static_cast<std::ptrdiff_t>(count), found.rend(), use);
}

template <typename Use>
void Stretch::behind(int channel, Use use) const
{
    int count = 0;
    int index = endPoint;
    for (auto at = static_cast<std::size_t>(endBlock); at < blocks.size() && count < 2;) {
        if (channel >= blocks[at]->width || index >= blocks[at]->size()) {
            ++at;
            index = 0;
        } else {
            use(single(static_cast<int>(at), index++));
            ++count;
        }
    }
}

// A share of 256 of a premultiplied pixel.
QRgb shareOf(QRgb pixel, quint32 share)
{
    constexpr quint32 even = 0xff00ff;
    return ((pixel & even) * share >> 8 & even) | ((pixel >> 8 & even) * share & ~even);
}

// Follows curves from column to column. Few points in a column are joined by QPainter's lines; a
// crowd is a run from its lowest to its highest point, and runs in neighbouring columns meet.
class CurvePainter
{
public:
    CurvePainter(const View& pictureView, QImage& picture, int firstColumn)
        : view(pictureView)
        , image(picture)
        , bits(reinterpret_cast<QRgb*>(picture.bits()))
        , first(firstColumn)
        , painter(&picture)
    {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(-first, 0);
    }

    void paint(const Curve& curve, const Stretch& stretch)
    {
        painter.setPen(curve.pen);
        ink = qPremultiply(curve.pen.color().rgba());
        width = qMax(1.0, curve.pen.widthF());
        channel = curve.series.channel;
        const auto use = [this](const Piece& piece) { add(piece); };
        stretch.before(channel, use);
        std::for_each(stretch.pieces.begin(), stretch.pieces.end(), use);
        stretch.behind(channel, use);
        finishColumn();
        finishRun();
        finishLine();
    }

private:
    void add(const Piece& piece);
    void finishColumn();
    void addToLine(QPointF point);
    void finishLine();
    void finishRun();
    void fill(int row, double covered);

    const View& view;
    QImage& image;
    QRgb* bits;
    int first;
    QPainter painter;
    QRgb ink = 0;
    double width = 1;
    int channel = 0;

    // The column in hand.
    int column = NoColumn;
    std::size_t points = 0;
    std::array<QPointF, CrowdSize - 1> few;
    QPointF last;
    Span extent;

    int runColumn = NoColumn; // of a crowd that may still grow to meet the next one
    Span run;
    QVector<QPointF> line; // begins with the last point of that crowd
};

void CurvePainter::add(const Piece& piece)
{
    if (channel >= piece.block->width) {
        return;
    }
    if (piece.column != column) {
        finishColumn();
        column = piece.column;
    }
    const auto position = [&](int index) {
        return QPointF(
            view.keys.pixel(piece.block->key(index)),
            view.values.pixel(piece.block->value(channel, index)));
    };
    const auto count = static_cast<std::size_t>(piece.end - piece.first);
    for (std::size_t i = 0; i < count && points + i < few.size(); ++i) {
        few[points + i] = position(piece.first + static_cast<int>(i));
    }
    points += count;
    const Span values = piece.block->extent(channel, piece.first, piece.end);
    extent.include(view.values.pixel(values.lowest));
    extent.include(view.values.pixel(values.highest));
    last = position(piece.end - 1);
}

void CurvePainter::finishColumn()
{
    if (points < CrowdSize) {
        finishRun();
        std::for_each(few.begin(), few.begin() + points, [this](QPointF p) { addToLine(p); });
    } else {
        const double entry = few.front().y();
        const double seam = line.size() == 1 ? (line.first().y() + entry) / 2 : qQNaN();
        if (qAbs(qint64(column) - runColumn) == 1 && std::isfinite(seam)) {
            run.include(seam);
            extent.include(seam);
        } else {
            addToLine(few.front());
        }
        finishRun();
        finishLine();
        runColumn = column;
        run = extent;
        addToLine(last);
    }
    points = 0;
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

void CurvePainter::finishRun()
{
    if (runColumn != NoColumn && !run.isEmpty()) {
        const double more = qMax(0.0, width - (run.highest - run.lowest)) / 2;
        const double top = qBound(0.0, run.lowest - more, double(image.height()));
        const double bottom = qBound(0.0, run.highest + more, double(image.height()));
        const int firstRow = static_cast<int>(top);
        const int lastRow = static_cast<int>(std::ceil(bottom)) - 1;
        for (int row = firstRow + 1; row < lastRow; ++row) {
            fill(row, 1);
        }
        if (firstRow < lastRow) {
            fill(firstRow, firstRow + 1 - top);
        }
        if (firstRow <= lastRow) {
            fill(lastRow, bottom - qMax(top, double(lastRow)));
        }
    }
    runColumn = NoColumn;
}

void CurvePainter::fill(int row, double covered)
{
    const int wide = qRound(width);
    const int left = runColumn - first - (wide - 1) / 2;
    const int right = qMin(image.width(), left + wide);
    const QRgb colour = shareOf(ink, static_cast<quint32>(256 * covered));
    const quint32 ground = 256 - static_cast<quint32>(qAlpha(colour));
    QRgb* const pixels = bits + qptrdiff{row} * image.width();
    for (int x = qMax(0, left); x < right; ++x) {
        pixels[x] = ground == 1 ? colour : colour + shareOf(pixels[x], ground);
    }
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

bool Scale::operator==(const Scale& other) const
{
    return lower == other.lower && upper == other.upper && lowerPixel == other.lowerPixel &&
           upperPixel == other.upperPixel && isLogarithmic == other.isLogarithmic;
}

QImage render(
    const View& view, const std::vector<Curve>& curves, int first, int count,
    const std::atomic<bool>& cancelled)
{
    QImage image(count, view.size.height(), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) {
        return image;
    }
    image.fill(Qt::transparent);
    int margin = 0; // how far ink reaches beside its points
    for (const Curve& curve : curves) {
        margin = qMax(margin, 3 + static_cast<int>(curve.pen.widthF()));
    }
    CurvePainter painter(view, image, first);
    std::unique_ptr<const Stretch> stretch;
    const BlockList* blocks = nullptr;
    for (const Curve& curve : curves) {
        if (cancelled) {
            break;
        }
        if (blocks != curve.series.blocks.get()) {
            blocks = curve.series.blocks.get();
            stretch = std::make_unique<const Stretch>(
                view, curve.series, first - margin, first + count + margin);
        }
        painter.paint(curve, *stretch);
    }
    return image;
}

double distance(const View& view, const Series& series, QPointF place, int reach)
{
    static const std::atomic<bool> never{false};
    const QPoint corner = place.toPoint() - QPoint(reach, reach);
    const QImage image =
        render(view, {{series, QPen(Qt::black)}}, corner.x(), 2 * reach + 1, never);
    double nearest = Infinite;
    for (int y = qMax(0, corner.y()); y < qMin(image.height(), corner.y() + 2 * reach + 1); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 64) {
                const QPointF apart = QPointF(corner.x() + x + 0.5, y + 0.5) - place;
                nearest = qMin(nearest, std::hypot(apart.x(), apart.y()));
            }
        }
    }
    return nearest;
}

} // namespace chart
