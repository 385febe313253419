// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/history.h"

#include <QImage>
#include <atomic>
#include <tuple>

namespace chart {

// Turns the coordinates of an axis into pixels of the plot from the edge of a picture on; pixel 0
// lies between 0 and 1. With a pixel ratio, a picture has more pixels than the plot.
struct Scale
{
    double lower; // the range of the axis
    double upper;
    double lowerPixel; // where it lies
    double upperPixel;

    double pixel(double coordinate) const
    {
        return lowerPixel + (coordinate - lower) / (upper - lower) * (upperPixel - lowerPixel);
    }
    double coordinate(double pixel) const
    {
        return lower + (pixel - lowerPixel) / (upperPixel - lowerPixel) * (upper - lower);
    }
    auto tie() const { return std::tie(lower, upper, lowerPixel, upperPixel); }
    bool operator==(const Scale& other) const { return tie() == other.tie(); }
};

struct Curve
{
    const History* history;
    int channel;
    QRgb colour;
    double width; // pixels of the plot; 0 is as thin as the picture can: faster
    bool isDense;

    // How far beside a point, in pixels of the plot, the curve may change with it.
    double reach() const { return 1.75 + width / 2; }
    auto tie() const { return std::tie(history, channel, colour, width, isDense); }
    bool operator==(const Curve& other) const { return tie() == other.tie(); }
};

struct Scene
{
    QSize size; // of the picture
    double pixelRatio;
    Scale keys;                // from left to right
    Scale values;              // from the bottom up
    std::vector<Curve> curves; // lowest first

    auto tie() const { return std::tie(size, pixelRatio, keys, values, curves); }
    bool operator==(const Scene& other) const { return tie() == other.tie(); }
};

// Whether a curve has two points a pixel or more where it is in view. Such a one is led through the
// lowest and the highest of each column of pixels.
bool isDense(const Curve& curve, const Scale& keys);

// Paints some columns of a scene's picture: lines through the points, on nothing. The curves are
// those of the scene, or copies. `bits` are the picture's, of QImage::Format_ARGB32_Premultiplied.
// For any thread. Ends soon, with anything, once `isCancelled` is set.
void render(
    const Scene& scene, const std::vector<Curve>& curves, int first, int count, uchar* bits,
    const std::atomic<bool>& isCancelled);

} // namespace chart
