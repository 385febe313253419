// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/history.h"

#include <QImage>
#include <QPen>
#include <atomic>

namespace chart {

// Turns the coordinates of an axis into pixels of a picture; pixel 0 lies between 0 and 1.
struct Scale
{
    double lower; // the range of the axis
    double upper;
    double lowerPixel; // where it lies; the greater one is `lower` on a reversed axis
    double upperPixel;
    bool isLogarithmic;

    double pixel(double coordinate) const;
    bool operator==(const Scale& other) const;
};

struct View
{
    QSize size; // of the picture
    Scale keys; // from left to right
    Scale values;

    bool operator==(const View& other) const
    {
        return size == other.size && keys == other.keys && values == other.values;
    }
};

struct Curve
{
    Series series;
    QPen pen; // solid; its width in pixels of the picture
};

// Paints `count` columns of a picture from column `first` on: lines through the points, each curve
// on top of those before it, on nothing. For any thread. A column shows its points from the lowest
// to the highest, however many they are. Ends soon, with anything, once `cancelled` is set.
QImage render(
    const View& view, const std::vector<Curve>& curves, int first, int count,
    const std::atomic<bool>& cancelled);

// Pixels from a place to a curve; infinite if it is more than `reach` away.
double distance(const View& view, const Series& series, QPointF place, int reach);

} // namespace chart
