// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QVector>
#include <limits>

// One point of a chart curve.
struct GraphPoint
{
    double key;
    double value;
};
Q_DECLARE_TYPEINFO(GraphPoint, Q_PRIMITIVE_TYPE);

// A QVector holds at most 2 GiB, and ends the program when asked for more.
constexpr int MaxPointCount =
    static_cast<int>((std::numeric_limits<int>::max() - sizeof(QArrayData)) / sizeof(GraphPoint));
