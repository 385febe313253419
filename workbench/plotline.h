// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "workbench/charts.h"

#include <QPointF>
#include <QVector>
#include <vector>

namespace workbench {

// One line of a plot. It keeps all points for as long as it lives, 8 bytes each; its series, which
// the chart draws anew for each record, holds them all only up to 2,000. Beyond, it holds what can
// be seen: the lowest and the highest point of each column of pixels, so that no peak is lost, and
// where the line leaves the view and comes back.
class PlotLine
{
public:
    // The series is empty, in the chart, and attached to the axis.
    PlotLine(QLineSeries& series, QValueAxis& axisX);

    // X need not ascend: a controller that restarts begins its time anew.
    void append(float x, int y);

    // To be called when the range of the axis or the size of the plot area has changed.
    void changeView();

private:
    struct Point
    {
        float x;
        int y;
    };

    QPointF at(int index) const { return {history[index].x, qreal(history[index].y)}; }
    bool isWhole() const;
    double columnOf(float x) const;
    bool show(int index);
    void fillSeries();

    QLineSeries& series;
    QValueAxis& axisX;
    std::vector<Point> history;
    QVector<QPointF> shown; // what the series holds of a long line
    // The columns of pixels that shown was made for, and the one that the newest point is in:
    double left = 0;   // X values at the ends of the view
    double right = 0;  // X values at the ends of the view
    double width = 0;  // of a column, in X values
    double column = 0; // counted from X = 0; infinite outside the view
    int start = 0;     // in shown
    int low = 0;       // in history
    int high = 0;      // in history
};

} // namespace workbench
