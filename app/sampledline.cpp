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
    Cluster cluster = open; // a local copy, so that the loop runs in registers
    for (; point != end; ++point) {
        if (point->key < cluster.startKey + pixelKeys) {
            if (point->value < cluster.lowest) {
                cluster.lowest = point->value;
            } else if (point->value > cluster.highest) {
                cluster.highest = point->value;
            }
            ++cluster.count;
            continue;
        }
        const QCPGraphData& last = *(point - 1); // there is one, if only of an earlier call
        drawCluster(cluster);
        if (cluster.count >= 2 && point->key > cluster.startKey + pixelKeys * 2) {
            drawPoint(cluster.startKey + pixelKeys * 0.8, last.value);
        }
        previousEndKey = last.key;
        cluster = openCluster(*point);
    }
    open = cluster;
    taken += int(end - first);
    closed = line.size();
    drawCluster(open);
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

void SampledLine::drawCluster(const Cluster& cluster)
{
    if (cluster.count < 2) {
        drawPoint(cluster.first.key, cluster.first.value);
        return;
    }
    if (previousEndKey < cluster.startKey - pixelKeys) {
        drawPoint(cluster.startKey + pixelKeys * 0.2, cluster.first.value);
    }
    drawPoint(cluster.startKey + pixelKeys * 0.25, cluster.lowest);
    drawPoint(cluster.startKey + pixelKeys * 0.75, cluster.highest);
}

void SampledLine::drawPoint(double key, double value)
{
    const QPointF pixel(keys->coordToPixel(key), values->coordToPixel(value));
    sound = sound && (line.isEmpty() || line.constLast().x() <= pixel.x());
    line.append(pixel);
}
