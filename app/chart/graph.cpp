// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/graph.h"

#include "chart/columns.h"
#include "chart/curvepicture.h"

namespace chart {

Graph::Graph(CurvePicture* inPicture, std::shared_ptr<History> ofHistory, int ofChannel)
    : QCPGraph(inPicture->parentPlot()->xAxis, inPicture->parentPlot()->yAxis)
    , picture(inPicture)
    , history(std::move(ofHistory))
    , channel(ofChannel)
{}

void Graph::addPoint(double key, double value)
{
    absorb();
    picture->noteChange(history->add(key, &value, channel, 1));
}

void Graph::clearPoints()
{
    mDataContainer->clear();
    history->clear();
    picture->noteChange({-Infinite, Infinite});
}

bool Graph::isPlainLine() const
{
    return mLineStyle == lsLine && mScatterStyle.isNone() && mBrush.style() == Qt::NoBrush &&
           mPen.style() == Qt::SolidLine;
}

Curve Graph::curve() const
{
    absorb();
    QPen pen = selected() && mSelectionDecorator ? mSelectionDecorator->pen() : mPen;
    if (pen.widthF() <= 1) {
        pen.setWidth(0); // as thin as the device can: faster, and what the library does
    }
    return {history.get(), channel, isThinned(), pen};
}

// Whether the library would use its adaptive sampling: from two points a pixel on.
bool Graph::isThinned() const
{
    // With one far outside the view, so many points would still be drawn one by one.
    const double most = 8.0 * mKeyAxis->axisRect()->width() + 2;
    const QCPRange view = mKeyAxis->range();
    double count = 0;
    double first = 0;
    double last = 0;
    history->visit(channel, {view.lower, view.upper}, [&](const Block& block, int begin, int end) {
        const double* const keys = block.keys().data();
        first = count > 0 ? first : keys[begin];
        last = keys[end - 1];
        count += end - begin;
        return count < most;
    });
    const double pixels = mKeyAxis->coordToPixel(last) - mKeyAxis->coordToPixel(first);
    const double fewest = std::floor(2 * qAbs(pixels) + 2); // false with a NaN
    return mAdaptiveSampling && (count >= most || count >= fewest);
}

// Takes over what addData() has put into the library's container.
void Graph::absorb() const
{
    if (!isLent && !mDataContainer->isEmpty()) {
        QCPGraphDataContainer arrivals = *mDataContainer;
        mDataContainer->clear();
        for (const QCPGraphData& point : arrivals) {
            picture->noteChange(history->add(point.key, &point.value, channel, 1));
        }
    }
}

// Between two keys, and one on either side.
QVector<QCPGraphData> Graph::pointsBetween(const Span& keys) const
{
    absorb();
    QVector<QCPGraphData> points;
    history->visit(channel, keys, [&](const Block& block, int begin, int end) {
        for (int i = begin; i < end; ++i) {
            points.append({block.keys()[static_cast<std::size_t>(i)], block.value(channel, i)});
        }
        return true;
    });
    return points;
}

// The library's own code, over these points.
template <typename Work>
auto Graph::withLibrary(const QVector<QCPGraphData>& points, Work work) const
{
    isLent = true;
    mDataContainer->set(points, true);
    const auto takeBack = qScopeGuard([this] {
        mDataContainer->clear();
        isLent = false;
    });
    return work();
}

void Graph::draw(QCPPainter* painter)
{
    if (!isPlainLine() || !picture->inReplot()) {
        const QCPRange keys = mKeyAxis->range();
        withLibrary(pointsBetween({keys.lower, keys.upper}), [&] { QCPGraph::draw(painter); });
    }
}

int Graph::dataCount() const
{
    absorb();
    return history->count(channel);
}

Point Graph::pointAt(int index) const
{
    absorb();
    return history->point(channel, index);
}

int Graph::findBegin(double sortKey, bool expandedRange) const
{
    absorb();
    const int index = history->lowerBound(channel, sortKey);
    return expandedRange ? qMax(0, index - 1) : index;
}

int Graph::findEnd(double sortKey, bool expandedRange) const
{
    const int count = dataCount();
    const int end = history->lowerBound(channel, std::nextafter(sortKey, Infinite));
    return expandedRange ? qMin(count, end + 1) : end;
}

// The plot asks every graph at each press and each step of the wheel. Of a crowded column the
// library gets a line that covers what is painted.
double Graph::selectTest(const QPointF& pos, bool onlySelectable, QVariant* details) const
{
    absorb();
    const int reach = mParentPlot->selectionTolerance();
    Span keys;
    keys.include(mKeyAxis->pixelToCoord(pos.x() - reach));
    keys.include(mKeyAxis->pixelToCoord(pos.x() + reach));
    const auto columnOf = [this](double key) { return std::floor(mKeyAxis->coordToPixel(key)); };
    QVector<QCPGraphData> points;
    visitColumns(*history, channel, keys, columnOf, [&](const Column& column) {
        points.append({column.first.key, column.first.value});
        if (column.isCluster()) {
            points.append({column.last.key, column.values.lowest});
            points.append({column.last.key, column.values.highest});
            points.append({column.last.key, column.last.value});
        }
    });
    return withLibrary(points, [&] { return QCPGraph::selectTest(pos, onlySelectable, details); });
}

QCPDataSelection Graph::selectTestRect(const QRectF& rect, bool onlySelectable) const
{
    return withLibrary(
        pointsBetween(), [&] { return QCPGraph::selectTestRect(rect, onlySelectable); });
}

QCPRange Graph::getKeyRange(bool& found, QCP::SignDomain domain) const
{
    return withLibrary(pointsBetween(), [&] { return QCPGraph::getKeyRange(found, domain); });
}

QCPRange Graph::getValueRange(bool& found, QCP::SignDomain domain, const QCPRange& keyRange) const
{
    return withLibrary(
        pointsBetween(), [&] { return QCPGraph::getValueRange(found, domain, keyRange); });
}

} // namespace chart
