// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "workbench/linehistory.h"

#include <QGraphicsObject>
#include <QImage>
#include <QPen>
#include <QtCharts/QChart>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <vector>

namespace workbench {

// Lets the lines of a chart grow for hours at a cost that does not grow with them. The picture is
// the one that the chart would draw of all points.
//
// A chart lays out and paints a whole line anew for each point that is appended to it. That does
// for short lines. As soon as one line of the chart is long this item, which lies over the plot
// area, draws all of them: each line into a picture of its own, to which a new point adds one
// segment. Their series then have no pen, and the chart is not told of new points. After a change
// of the view a picture of very many points is painted piece by piece, so that the window never
// halts.
//
// A series holds all points of its line up to 10,000; beyond, what the X axis can show, thinned to
// one pixel. The whole line is kept here, and the series is filled again when the view changes.
class PlotLines : public QGraphicsObject
{
    Q_OBJECT

public:
    // The axes belong to the chart, which has to live longer than this.
    PlotLines(
        QtCharts::QChart* plottedIn, QtCharts::QValueAxis* horizontal,
        QtCharts::QValueAxis* vertical);

    // For an empty series that is in the chart and attached to both axes.
    void add(QtCharts::QLineSeries* series);
    // Forgets the line, before its series leaves the chart.
    void remove(QtCharts::QLineSeries* series);

    void append(QtCharts::QLineSeries* series, float x, int y);

    QRectF boundingRect() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;

private:
    struct Line
    {
        QtCharts::QLineSeries* series = nullptr;
        LineHistory history;
        bool whole = true; // the series holds the whole history
        bool left = false; // the newest point lies outside the view and is not in the series
        QPen pen;
        QImage picture; // of the line in the present view; null if it is to be painted anew
        QVector<QPointF> traced; // points that go into the picture
        int painted = 0;         // segments between them that are in it
    };

    bool isSeen(const QPointF& from, const QPointF& to) const;
    QPointF position(const QPointF& value) const; // in the chart
    void takeOver(Line& line);
    void fillSeries(Line& line);
    void addToSeries(Line& line, const QPointF& previous, const QPointF& point, bool seen);
    void trace(Line& line, const QPointF& previous, const QPointF& point);
    void beginPicture(Line& line, qreal pixelRatio) const;
    static void dropPicture(Line& line);
    int paintSegments(Line& line, int most) const;
    void changeView();
    void suspendAnimation();

    QtCharts::QChart* chart;
    QtCharts::QValueAxis* axisX;
    QtCharts::QValueAxis* axisY;
    std::vector<Line> lines; // in the order of the chart
    bool drawing = false;    // this item draws the lines, and not the chart
    QRectF area;             // the plot area in the chart
    double left = 0;         // X values, some pixels beyond the ends of the axis
    double right = 0;
};

} // namespace workbench
