// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/graphpoint.h"

#include <QVector>
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

// Adds points to the sorted data of a chart curve and leaves them in the order in which adding one
// by one would: a point that is not before the newest goes behind its equals, a late one before
// them. A bulk insert of the chart library breaks ties the other way, and adding late points one by
// one takes quadratic time.
//
// The curve gets room for `spare` more points, so that it does not copy itself when they come.
//
// Container is the chart library's; it is a parameter to keep this layer free of the chart.
template <typename Container, typename Points>
void addInArrivalOrder(Container& curve, const Points& arrivals, std::size_t spare = 0)
{
    using Point = typename std::decay<decltype(*curve.constBegin())>::type;
    // A QVector holds at most 2 GiB, and ends the program when asked for more.
    static constexpr std::size_t mostPoints =
        (std::numeric_limits<int>::max() - 64) / sizeof(Point);
    const int known = curve.size();
    const int room = std::max(0, static_cast<int>(mostPoints) - known);
    const std::size_t added = std::min(arrivals.size(), static_cast<std::size_t>(room));
    if (added == 0) {
        return;
    }
    const auto vectorOf = [spare](int size) {
        QVector<Point> points;
        points.reserve(
            static_cast<int>(std::min(static_cast<std::size_t>(size) + spare, mostPoints)));
        points.resize(size);
        return points;
    };
    QVector<Point> ordered = vectorOf(known + static_cast<int>(added));
    std::copy(curve.constBegin(), curve.constEnd(), ordered.begin());
    QVector<Point> late;
    Point* end = ordered.data() + known;
    for (std::size_t i = 0; i < added; ++i) {
        const Point point(arrivals[i].key, arrivals[i].value);
        if (end != ordered.data() && point.key < (end - 1)->key) {
            late.append(point);
        } else {
            *end++ = point;
        }
    }
    ordered.resize(static_cast<int>(end - ordered.data()));
    if (!late.isEmpty()) {
        const auto isNan = [](const Point& point) { return std::isnan(point.key); };
        if (std::any_of(ordered.cbegin(), ordered.cend(), isNan)) {
            // Without an order among the keys only the slow way knows where a point goes.
            for (std::size_t i = 0; i < added; ++i) {
                curve.add(Point(arrivals[i].key, arrivals[i].value));
            }
            return;
        }
        const auto isBefore = [](const Point& a, const Point& b) { return a.key < b.key; };
        std::reverse(late.begin(), late.end());
        std::stable_sort(late.begin(), late.end(), isBefore);
        QVector<Point> merged = vectorOf(ordered.size() + late.size());
        std::merge(
            late.cbegin(), late.cend(), ordered.cbegin(), ordered.cend(), merged.begin(), isBefore);
        ordered.swap(merged);
    }
    curve.set(ordered, true);
}
