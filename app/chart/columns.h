// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/history.h"

namespace chart {

// The points of a channel in one column of pixels.
struct Column
{
    bool isCluster() const { return count > 1 && !values.isEmpty(); }

    double pixel; // where it begins
    int count = 0;
    Point first = {};
    Point last = {};
    Span values = {}; // of the points that have numbers
};

// Calls use(column) for the points of a channel between two keys and one on either side, column by
// column. columnOf(key) gives where a column begins.
template <typename ColumnOf, typename Use>
void visitColumns(const History& history, int channel, const Span& keys, ColumnOf columnOf, Use use)
{
    Column column{};
    history.visit(channel, keys, [&](const Block& block, int begin, int end) {
        const double* const all = block.keys().data();
        while (begin < end) {
            const double pixel = columnOf(all[begin]);
            const auto isInColumn = [&](double key) { return columnOf(key) == pixel; };
            int stop = begin + 1;
            if (history.isOrdered() && isInColumn(all[end - 1])) {
                stop = end;
            } else if (history.isOrdered()) {
                const double* const next = std::partition_point(all + stop, all + end, isInColumn);
                stop = static_cast<int>(next - all);
            }
            if (column.count > 0 && column.pixel != pixel) {
                use(column);
                column = Column{};
            }
            if (column.count == 0) {
                column.pixel = pixel;
                column.first = block.point(channel, begin);
            }
            column.count += stop - begin;
            column.last = block.point(channel, stop - 1);
            column.values.unite(block.extent(channel, begin, stop));
            begin = stop;
        }
        return true;
    });
    if (column.count > 0) {
        use(column);
    }
}

} // namespace chart
