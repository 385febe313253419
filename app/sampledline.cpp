// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/sampledline.h"

#include <limits>

// The arithmetic is that of QCPGraph::getOptimizedLineData, step by step. Do not simplify it: a
// different rounding is a different picture.

void SampledLine::restart(const QCPAxis* keyAxis, const QCPAxis* valueAxis)
{
    keys = keyAxis;
    values = valueAxis;
    line.resize(0); // keeps the room
    closed = 0;
    taken = 0;
    sound = true;
}

void SampledLine::extend(Iterator first, Iterator end)
{
    if (first == end) {
        return;
    }
    line.resize(closed);
    auto point = first;
    if (taken == 0) {
        open = openCluster(*point);
        previousEndKey = open.startKey;
        pixelKeys =
            qAbs(open.startKey - keys->pixelToCoord(keys->coordToPixel(open.startKey) + 1.0));
        ++point;
    }
    for (point = fillCluster(point, end); point != end; point = fillCluster(point + 1, end)) {
        const QCPGraphData& last = *(point - 1); // there is one, if only of an earlier call
        drawCluster();
        if (open.count >= 2 && point->key > open.startKey + pixelKeys * 2) {
            drawPoint(open.startKey + pixelKeys * 0.8, last.value);
        }
        previousEndKey = last.key;
        open = openCluster(*point);
    }
    taken += int(end - first);
    closed = line.size();
    drawCluster();
}

// Takes points into the open cluster. The first that lies beyond it, or the end.
SampledLine::Iterator SampledLine::fillCluster(Iterator point, Iterator end)
{
    // In local variables, so that the loop runs in registers: it sees 60,000 points a curve.
    const double endKey = open.startKey + pixelKeys;
    double lowest = open.lowest;
    double highest = open.highest;
    const Iterator first = point;
    for (; point != end && point->key < endKey; ++point) {
        lowest = point->value < lowest ? point->value : lowest;
        highest = point->value > highest ? point->value : highest;
    }
    open.lowest = lowest;
    open.highest = highest;
    open.count += int(point - first);
    return point;
}

SampledLine::Cluster SampledLine::openCluster(const QCPGraphData& point)
{
    const double pixel = keys->coordToPixel(point.key);
    if (!(qAbs(pixel) < std::numeric_limits<int>::max())) { // also false for "not a number"
        sound = false;
        return {point.key, point, point.value, point.value, 1};
    }
    return {keys->pixelToCoord(int(pixel)), point, point.value, point.value, 1};
}

void SampledLine::drawCluster()
{
    if (open.count < 2) {
        drawPoint(open.first.key, open.first.value);
        return;
    }
    if (previousEndKey < open.startKey - pixelKeys) {
        drawPoint(open.startKey + pixelKeys * 0.2, open.first.value);
    }
    drawPoint(open.startKey + pixelKeys * 0.25, open.lowest);
    drawPoint(open.startKey + pixelKeys * 0.75, open.highest);
}

void SampledLine::drawPoint(double key, double value)
{
    line.append(QPointF(keys->coordToPixel(key), values->coordToPixel(value)));
}
