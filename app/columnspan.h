// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>
#include <limits>

// Neighbouring pixel columns of a plot, both ends included.
struct ColumnSpan
{
    int first = std::numeric_limits<int>::max();
    int last = std::numeric_limits<int>::min();

    bool isEmpty() const { return first > last; }
    ColumnSpan united(const ColumnSpan& other) const
    {
        return {qMin(first, other.first), qMax(last, other.last)};
    }
    ColumnSpan intersected(const ColumnSpan& other) const
    {
        return {qMax(first, other.first), qMin(last, other.last)};
    }
};
