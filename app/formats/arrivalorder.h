// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/graphpoint.h"

#include <QVector>
#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

namespace formats {

// Adds points by the chart library's own search: among keys without an order, as NaN has none,
// nothing else tells where a late point goes. The spare room stays where the last one went in. Late
// points come in runs, and to move all that lies behind them for each would take hours.
template <typename Container, typename Points>
void addOneByOne(Container& curve, const Points& arrivals, int added)
{
    using Point = typename std::decay<decltype(*curve.constBegin())>::type;
    int size = curve.size();
    QVector<Point> points(size + added);
    Point* const data = points.data();
    std::copy(curve.constBegin(), curve.constEnd(), data);
    int gap = size; // where the spare room begins
    int room = added;
    const auto keyAt = [&](int i) { return data[i < gap ? i : i + room].key; };
    for (int i = 0; i < added; ++i) {
        const Point point(arrivals[i].key, arrivals[i].value);
        int place = size;
        if (size > 0 && point.key < keyAt(size - 1)) {
            place = 0;
            int rest = point.key < keyAt(0) ? 0 : size;
            while (rest > 0) { // as std::lower_bound halves
                const int half = rest / 2;
                const bool isBefore = keyAt(place + half) < point.key;
                place += isBefore ? half + 1 : 0;
                rest = isBefore ? rest - half - 1 : half;
            }
        }
        if (place < gap) {
            std::move_backward(data + place, data + gap, data + gap + room);
        } else {
            std::move(data + gap + room, data + place + room, data + gap);
        }
        data[place] = point;
        gap = place + 1;
        --room;
        ++size;
    }
    curve.set(points, true);
}

// Adds points to the sorted data of a chart curve and leaves them in the order in which adding one
// by one would: a point that is not before the newest goes behind its equals, a late one before
// them. A bulk insert of the chart library breaks ties the other way, and adding late points one by
// one takes quadratic time.
//
// Container is the chart library's; it is a parameter to keep this layer free of the chart.
template <typename Container, typename Points>
void addInArrivalOrder(Container& curve, const Points& arrivals)
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
    // With room to grow, or the next record of a session would copy all points of all curves. A
    // staircase is drawn anew whenever it changes, and room would only cost time.
    constexpr std::size_t roomFactor = std::is_same<Points, Staircase>::value ? 1 : 2;
    const auto vectorOf = [](int size) {
        QVector<Point> points;
        points.reserve(
            static_cast<int>(std::min(roomFactor * static_cast<std::size_t>(size), mostPoints)));
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
            addOneByOne(curve, arrivals, static_cast<int>(added));
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

} // namespace formats
