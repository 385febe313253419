// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "workbench/charts.h"

#include <QGraphicsObject>
#include <QPen>
#include <QVector>
#include <vector>

namespace workbench {

// One curve of a plot. It keeps all points for as long as it lives, 8 bytes each.
//
// A chart lays out and paints a whole series for each new point. This item paints the curve in its
// place, and a new point changes only a narrow strip; the series has no pen, and its signals are
// blocked when points are added.
//
// The series holds all points up to 2,000. Beyond, it holds what can be seen: of each column of
// pixels the first, the lowest, the highest and the last point, so that no peak is lost and a gap
// is crossed as by all points, and where the curve leaves the view and comes back.
class PlotCurve : public QGraphicsObject
{
    Q_OBJECT

public:
    // The series is empty, in the chart, and attached to both axes. The chart owns the curve, which
    // has to go before its series.
    PlotCurve(QLineSeries& lineSeries, QValueAxis& horizontalAxis, QValueAxis& verticalAxis);

    // X need not ascend: a controller that restarts begins its time anew.
    void append(float x, int y);

    QRectF boundingRect() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;

private:
    struct Point
    {
        float x;
        int y;
    };

    void changeView();
    double columnOf(float x) const;
    bool show(int index);
    void fillSeries();
    void updateNewest();
    QPointF at(int index) const { return {history[index].x, qreal(history[index].y)}; }
    QPointF position(const QPointF& value) const
    {
        return series.chart()->mapToPosition(value, &series);
    }

    QLineSeries& series;
    QValueAxis& axisX;
    QPen pen; // which the series had
    QRectF plotArea;
    std::vector<Point> history;
    QVector<QPointF> shown; // what this paints and the series holds
    // The columns of pixels that shown was made for, and the one that the newest point is in:
    double left = 0;   // X values at the ends of the view
    double right = 0;  // X values at the ends of the view
    double width = 0;  // of a column, in X values
    double column = 0; // counted from X = 0; infinite outside the view, NaN up to 2,000 points
    int start = 0;     // in shown; its first point
    int low = 0;       // in history
    int high = 0;      // in history
};

} // namespace workbench
