// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/graph.h"

#include "chart/livechart.h"

#include <typeinfo>

namespace chart {

Graph::Graph(LiveChart* liveChart, int channelOfRecords)
    : QCPGraph(liveChart->customPlot()->xAxis, liveChart->customPlot()->yAxis)
    , chart(liveChart)
    , channel(channelOfRecords)
    , own(channel < 0 ? std::make_unique<History>(false) : nullptr)
{}

void Graph::addPoint(double key, double value)
{
    absorb();
    chart->noteChange(makeOwn().add(key, &value, 1));
}

void Graph::clearPoints()
{
    mDataContainer->clear();
    own = std::make_unique<History>(false);
    chart->noteChange({-Infinite, Infinite});
}

const History& Graph::history() const
{
    return own ? *own : chart->records();
}

History& Graph::makeOwn() const
{
    if (!own) {
        auto points = std::make_unique<History>(false);
        for (const QCPGraphData& point : allPoints()) {
            points->add(point.key, &point.value, 1);
        }
        own = std::move(points);
    }
    return *own;
}

Series Graph::series() const
{
    return history().series(historyChannel());
}

Series Graph::snapshot(const Series& ofRecords) const
{
    return own ? own->snapshot(0) : Series{ofRecords.blocks, channel, ofRecords.isOrdered};
}

void Graph::absorb() const
{
    if (!isLent && !mDataContainer->isEmpty()) {
        QCPGraphDataContainer arrivals = *mDataContainer;
        mDataContainer->clear();
        for (const QCPGraphData& point : arrivals) {
            chart->noteChange(makeOwn().add(point.key, &point.value, 1));
        }
    }
}

QVector<QCPGraphData> Graph::allPoints() const
{
    QVector<QCPGraphData> points;
    const Series all = series();
    for (const auto& block : *all.blocks) {
        for (int i = 0; all.channel < block->width && i < block->size(); ++i) {
            points.append(QCPGraphData(block->key(i), block->value(all.channel, i)));
        }
    }
    return points;
}

// The library's own code over all points, which takes 16 bytes each and its time.
template <typename Work>
auto Graph::withLibrary(Work work) const
{
    absorb();
    const QVector<QCPGraphData> points = allPoints();
    isLent = true;
    mDataContainer->set(points, true);
    const auto takeBack = qScopeGuard([this] {
        mDataContainer->clear();
        isLent = false;
    });
    return work();
}

bool Graph::isPlainLine() const
{
    const bool antialiased =
        (mAntialiased || mParentPlot->antialiasedElements().testFlag(QCP::aePlottables)) &&
        !mParentPlot->notAntialiasedElements().testFlag(QCP::aePlottables);
    if (mLineStyle != lsLine || !antialiased || mKeyAxis != mParentPlot->xAxis ||
        mValueAxis != mParentPlot->yAxis || !mScatterStyle.isNone() ||
        mBrush.style() != Qt::NoBrush || linePen().style() != Qt::SolidLine) {
        return false;
    }
    return !selected() || !mSelectionDecorator ||
           (mSelectable == QCP::stWhole &&
            typeid(*mSelectionDecorator) == typeid(QCPSelectionDecorator) &&
            mSelectionDecorator->brush().style() == Qt::NoBrush &&
            mSelectionDecorator->getFinalScatterStyle(mScatterStyle).isNone());
}

QPen Graph::linePen() const
{
    return selected() && mSelectionDecorator ? mSelectionDecorator->pen() : mPen;
}

void Graph::draw(QCPPainter* painter)
{
    if (!chart->paint(this, painter)) {
        withLibrary([&] { QCPGraph::draw(painter); });
    }
}

int Graph::dataCount() const
{
    absorb();
    return history().count(historyChannel());
}

double Graph::dataMainKey(int index) const
{
    return index >= 0 && index < dataCount() ? history().point(historyChannel(), index).first : 0;
}

double Graph::dataMainValue(int index) const
{
    return index >= 0 && index < dataCount() ? history().point(historyChannel(), index).second : 0;
}

int Graph::findBegin(double sortKey, bool expandedRange) const
{
    absorb();
    const int index = history().lowerBound(historyChannel(), sortKey);
    return expandedRange ? qMax(0, index - 1) : index;
}

int Graph::findEnd(double sortKey, bool expandedRange) const
{
    const int count = dataCount();
    const int end = history().lowerBound(historyChannel(), std::nextafter(sortKey, Infinite));
    return expandedRange ? qMin(count, end + 1) : end;
}

double Graph::selectTest(const QPointF& pos, bool onlySelectable, QVariant* details) const
{
    if (!isPlainLine()) {
        return withLibrary([&] { return QCPGraph::selectTest(pos, onlySelectable, details); });
    }
    const bool isReachable =
        mKeyAxis->axisRect()->rect().contains(pos.toPoint()) ||
        mParentPlot->interactions().testFlag(QCP::iSelectPlottablesBeyondAxisRect);
    const int count = dataCount();
    if ((onlySelectable && mSelectable == QCP::stNone) || count == 0 || !isReachable) {
        return -1;
    }
    if (details) {
        const int index = qMin(findBegin(mKeyAxis->pixelToCoord(pos.x()), false), count - 1);
        details->setValue(QCPDataSelection(QCPDataRange(index, index + 1)));
    }
    const Scene place = chart->emptyScene(1);
    return distance(
        place.view, series(), pos - place.area.topLeft() + QPointF(0.5, 0.5),
        mParentPlot->selectionTolerance());
}

QCPRange Graph::getKeyRange(bool& found, QCP::SignDomain domain) const
{
    return withLibrary([&] { return QCPGraph::getKeyRange(found, domain); });
}

QCPRange Graph::getValueRange(bool& found, QCP::SignDomain domain, const QCPRange& keyRange) const
{
    return withLibrary([&] { return QCPGraph::getValueRange(found, domain, keyRange); });
}

} // namespace chart
