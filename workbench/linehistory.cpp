// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/linehistory.h"

#include <algorithm>
#include <cmath>

namespace workbench {

namespace {

constexpr std::size_t blockSize = 256;

enum class Side { Left, Inside, Right };

Side sideOf(double x, double left, double right)
{
    if (x < left) {
        return Side::Left;
    }
    return x > right ? Side::Right : Side::Inside;
}

// Moves what is kept of the column [first, last) down to the end of the kept points.
int keepExtremes(QVector<QPointF>& points, int kept, int first, int last)
{
    const auto below = [](const QPointF& a, const QPointF& b) { return a.y() < b.y(); };
    const auto begin = points.cbegin() + first;
    const auto extremes = std::minmax_element(begin, points.cbegin() + last, below);
    int chosen[] = {
        first, first + static_cast<int>(extremes.first - begin),
        first + static_cast<int>(extremes.second - begin), last - 1};
    std::sort(std::begin(chosen), std::end(chosen));
    int previous = -1;
    for (const int index : chosen) {
        if (index != previous) {
            points[kept++] = points[index];
            previous = index;
        }
    }
    return kept;
}

} // namespace

void LineHistory::append(float x, int y)
{
    if (points.size() % blockSize == 0) {
        blocks.push_back({x, x});
    }
    points.push_back({x, y});
    Span& block = blocks.back();
    block.left = std::min(block.left, x);
    block.right = std::max(block.right, x);
}

QVector<QPointF> LineHistory::between(double left, double right) const
{
    QVector<QPointF> line;
    Side side = Side::Inside; // of the latest point
    std::size_t nextKept = 0; // points before this one are in the line or left out for good
    const auto keep = [&](std::size_t index) {
        line.append(at(static_cast<int>(index)));
        nextKept = index + 1;
    };
    for (std::size_t start = 0; start < points.size(); start += blockSize) {
        const Span& block = blocks[start / blockSize];
        const std::size_t end = std::min(start + blockSize, points.size());
        const Side blockSide = sideOf(block.left, left, right);
        if (side != Side::Inside && blockSide == side && sideOf(block.right, left, right) == side) {
            continue; // all of it goes on where the line has left the span
        }
        for (std::size_t index = start; index < end; ++index) {
            const Side pointSide = sideOf(points[index].x, left, right);
            if (side != Side::Inside && pointSide == side) {
                continue;
            }
            if (index > nextKept) {
                keep(index - 1);
            }
            keep(index);
            side = pointSide;
        }
    }
    if (nextKept < points.size()) {
        keep(points.size() - 1);
    }
    return line;
}

void thinColumns(QVector<QPointF>& points, double width)
{
    if (!(width > 0) || !std::isfinite(width)) {
        return;
    }
    int kept = 0;
    for (int first = 0; first < points.size();) {
        const double column = std::floor(points[first].x() / width);
        int last = first + 1;
        while (last < points.size() && std::floor(points[last].x() / width) == column) {
            ++last;
        }
        kept = keepExtremes(points, kept, first, last);
        first = last;
    }
    points.resize(kept);
}

} // namespace workbench
