// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/history.h"

#include <QImage>
#include <QPen>
#include <atomic>
#include <tuple>

namespace chart {

// Turns the coordinates of an axis into pixels of the plot from the edge of a picture on; pixel 0
// lies between 0 and 1. Of a display with a pixel ratio, a picture has more pixels than the plot.
struct Scale
{
    double lower; // the range of the axis
    double upper;
    double lowerPixel; // where it lies; the greater one is `lower` on a reversed axis
    double upperPixel;
    bool isLogarithmic;

    double pixel(double coordinate) const;
    double coordinate(double pixel) const;
    auto tie() const { return std::tie(lower, upper, lowerPixel, upperPixel, isLogarithmic); }
    bool operator==(const Scale& other) const { return tie() == other.tie(); }
};

struct Curve
{
    const History* history;
    int channel;
    bool isThinned; // led through the lowest and highest of each pixel, as QCPGraph does it
    QPen pen;       // solid

    // How far beside a point, in pixels of the plot, the curve may change with it.
    double reach() const { return 1.75 + pen.widthF() / 2; }
    auto tie() const { return std::tie(history, channel, isThinned, pen); }
    bool operator==(const Curve& other) const { return tie() == other.tie(); }
};

struct Scene
{
    QSize size; // of the picture
    double pixelRatio;
    Scale keys; // from left to right
    Scale values;
    std::vector<Curve> curves; // lowest first

    auto tie() const { return std::tie(size, pixelRatio, keys, values, curves); }
    bool operator==(const Scene& other) const { return tie() == other.tie(); }
};

// Paints the columns of a scene's picture from column `first` on: lines through the points, on
// nothing. The curves are those of the scene, or copies. For any thread. Ends soon, with anything,
// once `isCancelled` is set.
void render(
    const Scene& scene, const std::vector<Curve>& curves, int first, QImage& columns,
    const std::atomic<bool>& isCancelled);

} // namespace chart
