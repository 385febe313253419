// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/livegraph.h"

#include "app/livechart.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <typeinfo>

namespace {

quint64 nextPolylineNumber()
{
    static quint64 last = 0;
    return ++last;
}

// How far the ink of a line may lie from the line itself, in pixels: more than half the pen, since
// the caps of thin diagonal lines are long.
int reach(const QPen& pen)
{
    if (pen.widthF() <= 1) {
        return 2;
    }
    constexpr double squareCap = 1.5; // in half widths; more than its diagonal
    const double corner =
        pen.joinStyle() == Qt::BevelJoin ? squareCap : qMax(squareCap, pen.miterLimit());
    return 1 + int(std::ceil(pen.widthF() / 2 * corner));
}

int column(double pixel)
{
    constexpr double farOutside = 1e6;
    return int(std::floor(qBound(-farOutside, pixel, farOutside)));
}

// The first index from 0 to count for which isBefore is false.
template <typename Predicate>
int firstNot(int count, Predicate isBefore)
{
    int low = 0;
    while (low < count) {
        const int middle = low + (count - low) / 2;
        if (isBefore(middle)) {
            low = middle + 1;
        } else {
            count = middle;
        }
    }
    return low;
}

} // namespace

bool LiveGraph::Mapping::operator==(const Mapping& other) const
{
    return keyAxis == other.keyAxis && valueAxis == other.valueAxis && area == other.area &&
           keys == other.keys && values == other.values && valueScale == other.valueScale &&
           valuesReversed == other.valuesReversed;
}

LiveGraph::LiveGraph(QCPAxis* keyAxis, QCPAxis* valueAxis, int ordinal, LiveChart* liveChart)
    : QCPGraph(keyAxis, valueAxis)
    , chart(liveChart)
    , store(new PointStore(ordinal))
{
    setData(store);
}

bool LiveGraph::append(double key, double value)
{
    if (mDataContainer != store || !mKeyAxis) {
        addData(key, value); // to whatever somebody has put in the place of the store
        return true;
    }
    // Neither left of the view, with all other points, nor behind a point that is right of it.
    const QCPRange view = mKeyAxis->range();
    const double newest = store->isEmpty() ? key : (store->constEnd() - 1)->key;
    const bool outside = key >= newest && (key < view.lower || newest > view.upper);
    store->append(key, value);
    return mVisible && !outside;
}

void LiveGraph::draw(QCPPainter* painter)
{
    if (!chart || !chart->paint(this, painter)) {
        QCPGraph::draw(painter);
    }
}

std::optional<CurveInk> LiveGraph::currentInk()
{
    if (!isPlainLine()) {
        return {};
    }
    CurveInk now;
    now.pen = selected() && mSelectionDecorator ? mSelectionDecorator->pen() : mPen;
    if (mKeyAxis->range().size() <= 0 || store->isEmpty()) {
        return now;
    }
    const auto [begin, end] = pointsInView();
    now.points = int(end - begin);
    if (now.points < 2) {
        return now;
    }
    const int firstPoint = int(begin - store->constBegin());
    const Mapping current = mapping();
    if (firstPoint != firstPointOfLine || store->revision() != revisionOfLine ||
        !(current == mappingOfLine)) {
        startPolyline(current, firstPoint);
    }

    now.sampled = isSampled(now.points);
    if (now.sampled) {
        sampledLine.extend(begin + sampledLine.consumed(), end);
        if (!sampledLine.isSound()) {
            return {};
        }
        now.settled = sampledLine.settled();
    } else {
        // QCPGraph copes with keys that are no numbers; the search by columns does not.
        const auto isFinite = [](const QCPGraphData& point) { return std::isfinite(point.key); };
        if (!std::all_of(begin + checkedPoints, end, isFinite)) {
            return {};
        }
        checkedPoints = now.points;
        now.settled = now.points - 1;
    }
    now.pixels = now.sampled ? sampledLine.pixels().size() : now.points;
    if (now.pixels >= 2) { // a single point leaves no ink
        now.polyline = polyline;
        now.columns = columnsFrom(now, 0);
    }
    return now;
}

std::optional<ColumnSpan> LiveGraph::changedColumns(
    const CurveInk& before, const CurveInk& now) const
{
    if (before.polyline == 0 && now.polyline == 0) {
        return ColumnSpan();
    }
    int start = 0;
    if (before.polyline != 0) {
        if (before.polyline != now.polyline || before.sampled != now.sampled ||
            before.pen != now.pen) {
            return {};
        }
        if (before.points == now.points) {
            return ColumnSpan();
        }
        // The last segment was drawn with a cap, which shifts the whole segment by a fraction of a
        // pixel. The segment that ends at the last settled point was the last one at the latest.
        start = qMax(0, before.settled - 1);
    }
    return columnsFrom(now, start);
}

void LiveGraph::paintColumns(
    QCPPainter* painter, const CurveInk& ink, const ColumnSpan& columns) const
{
    if (ink.polyline == 0) {
        return;
    }
    const QVector<QPointF> piece = pixels(ink, columns);
    if (piece.isEmpty()) {
        return;
    }
    painter->setPen(ink.pen);
    painter->setBrush(Qt::NoBrush);
    drawLinePlot(painter, piece);
}

bool LiveGraph::isPlainLine() const
{
    if (mDataContainer != store || mLineStyle != lsLine || !mKeyAxis || !mValueAxis) {
        return false;
    }
    if (mKeyAxis->axisRect() != mValueAxis->axisRect() ||
        mKeyAxis->orientation() != Qt::Horizontal || mKeyAxis->rangeReversed() ||
        mKeyAxis->scaleType() != QCPAxis::stLinear || mValueAxis->orientation() != Qt::Vertical) {
        return false;
    }
    const bool antialiased =
        (mAntialiased || mParentPlot->antialiasedElements().testFlag(QCP::aePlottables)) &&
        !mParentPlot->notAntialiasedElements().testFlag(QCP::aePlottables);
    if (!antialiased || mParentPlot->plottingHints().testFlag(QCP::phFastPolylines)) {
        return false;
    }
    if (!mScatterStyle.isNone() || mBrush.style() != Qt::NoBrush) {
        return false;
    }
    QPen pen = mPen;
    if (selected()) {
        if (mSelectable != QCP::stWhole) {
            return false;
        }
        if (mSelectionDecorator) {
            if (typeid(*mSelectionDecorator) != typeid(QCPSelectionDecorator) ||
                mSelectionDecorator->brush().style() != Qt::NoBrush ||
                !mSelectionDecorator->getFinalScatterStyle(mScatterStyle).isNone()) {
                return false;
            }
            pen = mSelectionDecorator->pen();
        }
    }
    return pen.style() == Qt::SolidLine;
}

LiveGraph::Mapping LiveGraph::mapping() const
{
    return {
        mKeyAxis.data(),
        mValueAxis.data(),
        clipRect(),
        mKeyAxis->range(),
        mValueAxis->range(),
        mValueAxis->scaleType(),
        mValueAxis->rangeReversed()};
}

void LiveGraph::startPolyline(const Mapping& newMapping, int firstPoint)
{
    polyline = nextPolylineNumber();
    mappingOfLine = newMapping;
    revisionOfLine = store->revision();
    firstPointOfLine = firstPoint;
    checkedPoints = 0;
    sampledLine.restart(mKeyAxis, mValueAxis);
}

// The points that QCPGraph draws: those in view and one more on either side.
std::pair<QCPGraphDataContainer::const_iterator, QCPGraphDataContainer::const_iterator>
LiveGraph::pointsInView() const
{
    auto begin = store->constBegin();
    auto end = store->constEnd();
    const QCPRange view = mKeyAxis->range();
    // In most drawings these are all points, which is cheaper to see than to search for.
    if (end - begin < 2 || !((begin + 1)->key >= view.lower) || !((end - 1)->key <= view.upper)) {
        getVisibleDataBounds(begin, end, store->dataRange());
    }
    return {begin, end};
}

// QCPGraph samples from two points a pixel on. Where the pace of the points is close to that, the
// answer flips back and forth from one point to the next.
bool LiveGraph::isSampled(int pointCount) const
{
    if (!mAdaptiveSampling) {
        return false;
    }
    const auto first = store->constBegin() + firstPointOfLine;
    const double span = qAbs(
        mKeyAxis->coordToPixel(first->key) -
        mKeyAxis->coordToPixel((first + (pointCount - 1))->key));
    const double limit = 2 * span + 2;
    return limit < double(std::numeric_limits<int>::max()) && pointCount >= int(limit);
}

// The columns of the ink from a point of the polyline on.
ColumnSpan LiveGraph::columnsFrom(const CurveInk& ink, int index) const
{
    const int margin = reach(ink.pen);
    return {column(pixelX(ink, index)) - margin, column(pixelX(ink, ink.pixels - 1)) + 1 + margin};
}

double LiveGraph::pixelX(const CurveInk& ink, int index) const
{
    if (ink.sampled) {
        return sampledLine.pixels().at(index).x();
    }
    return mKeyAxis->coordToPixel((store->constBegin() + firstPointOfLine + index)->key);
}

QVector<QPointF> LiveGraph::pixels(const CurveInk& ink, const ColumnSpan& columns) const
{
    const int margin = reach(ink.pen);
    const double left = double(columns.first) - margin;
    const double right = double(columns.last) + 1 + margin;
    const int inside = firstNot(ink.pixels, [&](int index) { return pixelX(ink, index) < left; });
    const int behind = firstNot(ink.pixels, [&](int index) { return pixelX(ink, index) <= right; });
    if (inside == ink.pixels || behind == 0) {
        return {};
    }
    // One segment more than touches the columns at either end: the caps belong outside.
    const int first = qMax(0, inside - 2);
    const int last = qMin(ink.pixels - 1, behind + 1);
    if (ink.sampled) {
        return sampledLine.pixels().mid(first, last - first + 1);
    }
    QVector<QPointF> result;
    result.reserve(last - first + 1);
    for (auto point = store->constBegin() + firstPointOfLine + first; result.size() <= last - first;
         ++point) {
        result.append(
            QPointF(mKeyAxis->coordToPixel(point->key), mValueAxis->coordToPixel(point->value)));
    }
    return result;
}
