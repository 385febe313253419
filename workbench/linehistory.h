// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointF>
#include <QVector>
#include <vector>

namespace workbench {

// All points of one line, in the order in which they came. X need not ascend: a controller that
// restarts begins its time anew. 8 bytes a point.
class LineHistory
{
public:
    void append(float x, int y);
    int size() const { return static_cast<int>(points.size()); }
    QPointF at(int index) const { return {points[index].x, qreal(points[index].y)}; }

    // A polyline that looks the same as the whole history between the X values left and right, and
    // ends at the newest point. Of points in a row that lie on the same side of that span only the
    // first and the last remain.
    QVector<QPointF> between(double left, double right) const;

private:
    struct Point
    {
        float x;
        int y;
    };
    struct Span
    {
        float left;
        float right;
    };

    std::vector<Point> points;
    std::vector<Span> blocks; // of X, for each blockSize points
};

// Of neighbouring points that share a column, keeps the first, the lowest, the highest and the last
// one. Columns are width wide and counted from X = 0, so that they stay where they are while the
// view is scrolled; a width that is not positive and finite keeps all points.
void thinColumns(QVector<QPointF>& points, double width);

} // namespace workbench
