// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/history.h"

#include <QImage>
#include <QPen>
#include <atomic>
#include <tuple>

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
    double coordinate(double pixel) const;
    bool operator==(const Scale& other) const
    {
        const auto tie = [](const Scale& s) {
            return std::tie(s.lower, s.upper, s.lowerPixel, s.upperPixel, s.isLogarithmic);
        };
        return tie(*this) == tie(other);
    }
};

struct Curve
{
    const History* history;
    int channel;
    QPen pen; // solid; its width in pixels of the picture

    bool operator==(const Curve& other) const
    {
        return history == other.history && channel == other.channel && pen == other.pen;
    }
};

struct Scene
{
    QSize size; // of the picture
    Scale keys; // from left to right
    Scale values;
    std::vector<Curve> curves; // lowest first

    bool operator==(const Scene& other) const
    {
        return size == other.size && keys == other.keys && values == other.values &&
               curves == other.curves;
    }
};

// Paints the columns of a scene's picture from column `first` on: lines through the points, on
// nothing. The curves are those of the scene, or copies. For any thread. A column shows its points
// from the lowest to the highest, however many they are. Ends soon, with anything, once
// `isCancelled` is set.
void render(
    const Scene& scene, const std::vector<Curve>& curves, int first, QImage& columns,
    const std::atomic<bool>& isCancelled);

} // namespace chart
