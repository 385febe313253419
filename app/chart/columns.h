// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/history.h"

#include <QVarLengthArray>

namespace chart {

struct Point
{
    double key;
    double value;
};

// The points of a channel in one column of pixels.
struct Column
{
    static constexpr int Few = 4;

    bool isCrowded() const { return count > Few && !values.isEmpty(); }
    Point last() const { return pointOf(*lastBlock, lastIndex); }
    Point pointOf(const Block& block, int index) const
    {
        return {block.keys()[static_cast<std::size_t>(index)], block.value(channel, index)};
    }
    void add(const Block& block, int begin, int end)
    {
        for (int i = begin; i < end && few.size() < Few; ++i) {
            few.append(pointOf(block, i));
        }
        count += end - begin;
        lastBlock = &block;
        lastIndex = end - 1;
        values.unite(block.extent(channel, begin, end));
    }

    int channel;
    int number = 0;
    int count = 0;
    QVarLengthArray<Point, Few> few = {}; // the first
    const Block* lastBlock = nullptr;
    int lastIndex = 0;
    Span values = {};
};

// Calls use(column) for the points of a channel between two keys and some beside them, column by
// column. columnOf(key) gives the number of a column.
template <typename ColumnOf, typename Use>
void visitColumns(const History& history, int channel, const Span& keys, ColumnOf columnOf, Use use)
{
    Column column{channel};
    history.visit(channel, keys, [&](const Block& block, int begin, int end) {
        const double* const all = block.keys().data();
        while (begin < end) {
            const int next = columnOf(all[begin]);
            const auto isInNext = [&](double key) { return columnOf(key) == next; };
            int stop = begin + 1;
            if (history.isOrdered() && isInNext(all[end - 1])) {
                stop = end;
            } else if (history.isOrdered()) {
                const double* const found = std::partition_point(all + begin, all + end, isInNext);
                stop = static_cast<int>(found - all);
            }
            if (next != column.number && column.count > 0) {
                use(column);
                column = Column{channel};
            }
            column.number = next;
            column.add(block, begin, stop);
            begin = stop;
        }
    });
    if (column.count > 0) {
        use(column);
    }
}

} // namespace chart
