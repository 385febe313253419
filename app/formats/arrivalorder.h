// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/graphpoint.h"

#include <algorithm>
#include <cmath>

// Adds points to the sorted data of a chart curve and leaves them in the order in which adding one
// by one would: a point that is not before the newest goes behind its equals, a late one before
// them. A bulk insert of the chart library breaks ties the other way, and adding late points one by
// one takes quadratic time.
//
// Container is the chart library's; it is a parameter to keep this layer free of the chart.
template <typename Container>
void addInArrivalOrder(Container& curve, const QVector<GraphPoint>& arrivals)
{
    using Point = typename std::decay<decltype(*curve.constBegin())>::type;
    if (arrivals.isEmpty()) {
        return;
    }
    const int known = curve.size();
    QVector<Point> ordered(known + arrivals.size());
    std::copy(curve.constBegin(), curve.constEnd(), ordered.begin());
    QVector<Point> late;
    auto end = ordered.begin() + known;
    for (const GraphPoint& arrival : arrivals) {
        const Point point(arrival.key, arrival.value);
        if (end != ordered.begin() && arrival.key < (end - 1)->key) {
            late.append(point);
        } else {
            *end++ = point;
        }
    }
    ordered.erase(end, ordered.end());
    if (!late.isEmpty()) {
        const auto isNan = [](const Point& point) { return std::isnan(point.key); };
        if (std::any_of(ordered.cbegin(), ordered.cend(), isNan)) {
            // Without an order among the keys only the slow way knows where a point goes.
            for (const GraphPoint& arrival : arrivals) {
                curve.add(Point(arrival.key, arrival.value));
            }
            return;
        }
        const auto isBefore = [](const Point& a, const Point& b) { return a.key < b.key; };
        std::reverse(late.begin(), late.end());
        std::stable_sort(late.begin(), late.end(), isBefore);
        QVector<Point> merged(ordered.size() + late.size());
        std::merge(
            late.cbegin(), late.cend(), ordered.cbegin(), ordered.cend(), merged.begin(), isBefore);
        ordered.swap(merged);
    }
    curve.set(ordered, true);
}
