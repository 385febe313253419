// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/graph.h"

#include "chart/curvepicture.h"

namespace chart {

Graph::Graph(
    QCustomPlot* plot, const QString& layer, CurvePicture* inPicture,
    std::shared_ptr<History> ofHistory, int ofChannel)
    : QCPGraph(plot->xAxis, plot->yAxis)
    , picture(inPicture)
    , history(std::move(ofHistory))
    , channel(ofChannel)
{
    setLayer(layer);
}

void Graph::addPoint(double key, double value)
{
    picture->add(*history, key, &value, channel, 1);
}

void Graph::clearPoints()
{
    picture->clear(*history);
}

void Graph::draw(QCPPainter* painter)
{
    if (dataCount() == 0) {
        return; // of loaded signals most have no points
    }
    const QPen pen = selected() ? mSelectionDecorator->pen() : mPen;
    const double width = pen.widthF() > 1 ? pen.widthF() : 0; // as the library does it
    picture->take({history.get(), channel, pen.color().rgba(), width, false}, painter);
}

// The plot asks every graph at each press and each step of the wheel. Gives the distance in pixels
// to the curve as it is painted around a place, or -1.
double Graph::selectTest(const QPointF& pos, bool /*onlySelectable*/, QVariant* details) const
{
    if (dataCount() == 0 || !mKeyAxis->axisRect()->rect().contains(pos.toPoint())) {
        return -1;
    }
    const int reach = mParentPlot->selectionTolerance();
    const int size = 2 * reach + 1;
    const QRect around(pos.toPoint() - QPoint(reach, reach), QSize(size, size));
    const QImage image =
        picture->imageOf({history.get(), channel, qRgb(0, 0, 0), 0, false}, around, 1);
    double least = -1;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const double distance = std::hypot(x - reach, y - reach);
            if (qAlpha(image.pixel(x, y)) > 63 && (least < 0 || distance < least)) {
                least = distance;
            }
        }
    }
    if (details) {
        details->setValue(QCPDataSelection(QCPDataRange(0, 1))); // selected as a whole
    }
    return least;
}

QCPRange Graph::getKeyRange(bool& found, QCP::SignDomain /*domain*/) const
{
    const Span keys = history->keys(channel);
    found = !keys.isEmpty();
    return found ? QCPRange(keys.lowest, keys.highest) : QCPRange();
}

QCPRange Graph::getValueRange(
    bool& found, QCP::SignDomain /*domain*/, const QCPRange& keyRange) const
{
    const bool isWhole = keyRange == QCPRange();
    const Span keys = isWhole ? Span{-Infinite, Infinite} : Span{keyRange.lower, keyRange.upper};
    Span values;
    history->visit(channel, keys, [&](const Block& block, int begin, int end) {
        begin = qMax(begin, block.lowerBound(keys.lowest));
        end = qMin(end, block.upperBound(keys.highest));
        if (begin < end) {
            values.unite(block.extent(channel, begin, end));
        }
        return true;
    });
    found = !values.isEmpty();
    return found ? QCPRange(values.lowest, values.highest) : QCPRange();
}

} // namespace chart
